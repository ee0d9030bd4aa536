#include "terminal/TerminalApplication.h"

#include "terminal/TerminalCommand.h"
#include "terminal/TerminalStatusItem.h"
#include "text/HarmlessText.h"
#include "text/Trim.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace orvane {

namespace {

constexpr const char* questionPrompt = "answer> ";
constexpr const char* menuPrompt = "orvane> ";

std::string choices(const Alert& alert) {
    std::string text;
    for (std::size_t i = 0; i < alert.buttons.size(); ++i)
        text += std::to_string(i + 1) + ")  " + harmless(alert.buttons[i]) + "\n";
    return text;
}

/// Waits for an answer in place of the menu, which goes on being shown.
class Question : public TerminalListener {
  public:
    Question(TerminalConsole& console, const Alert& alert)
        : console_(console), alert_(alert), menu_(console.setListener(this)) {
        console_.setPrompt(questionPrompt);
        console_.print(questionText(alert_));
    }
    ~Question() override {
        console_.setListener(menu_);
        console_.setPrompt(menuPrompt);
    }

    int run() {
        loop_.exec();
        return answer_;
    }

    void lineEntered(const std::string& line) override {
        if (TerminalCommand::parse(line).verb == TerminalCommand::Verb::quit) {
            if (menu_) menu_->lineEntered(line);
        } else if (const auto answer = answerOf(alert_, line)) {
            answer_ = *answer;
            loop_.quit();
        } else {
            console_.print("Please answer with one of these:\n" + choices(alert_));
        }
    }
    std::vector<std::string> completions(std::string_view typed) override {
        std::vector<std::string> titles;
        for (const std::string& button : alert_.buttons)
            if (equalsIgnoringCase(std::string_view(button).substr(0, typed.size()), typed))
                titles.push_back(harmless(button));
        return titles;
    }
    void inputEnded() override { loop_.quit(); }

  private:
    TerminalConsole& console_;
    const Alert& alert_;
    TerminalListener* const menu_;
    QEventLoop loop_;
    int answer_ = Alert::aborted;
};

}  // namespace

std::string questionText(const Alert& alert) {
    std::string text = "\n" + harmless(alert.messageText, Layout::lines) + "\n\n";
    if (!alert.informativeText.empty()) text += harmless(alert.informativeText, Layout::lines) + "\n\n";
    if (!alert.furtherText.empty()) text += harmless(alert.furtherText, Layout::lines) + "\n\n";
    return text + choices(alert);
}

std::optional<int> answerOf(const Alert& alert, std::string_view line) {
    line = trimSpacesAndTabs(line);
    std::optional<int> answer;
    for (std::size_t i = 0; i < alert.buttons.size(); ++i) {
        const int button = Alert::firstButtonReturn + static_cast<int>(i);
        const std::string title = harmless(alert.buttons[i]);
        if (line == std::to_string(i + 1) || equalsIgnoringCase(line, title)) return button;
        if (line.empty() || !equalsIgnoringCase(std::string_view(title).substr(0, line.size()), line))
            continue;
        if (answer) return std::nullopt;
        answer = button;
    }
    return answer;
}

void TerminalApplication::terminate() {
    QCoreApplication::quit();
}

std::unique_ptr<StatusItem> TerminalApplication::makeStatusItem() {
    auto item = std::make_unique<TerminalStatusItem>(console_);
    console_.setPrompt(menuPrompt);
    return item;
}

int TerminalApplication::runModal(const Alert& alert) {
    return Question(console_, alert).run();
}

std::string TerminalApplication::comeForward() {
    console_.print("Orvane was started once more; it goes on here.\n");
    if (!console_.isOnTerminal()) return "it runs without a terminal";
    const std::string name = console_.terminalName();
    return "its menu is on " + (name.empty() ? "another terminal" : "the terminal " + name);
}

}  // namespace orvane
