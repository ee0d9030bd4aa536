#include "terminal/TerminalDesktop.h"

#include "text/HarmlessText.h"
#include "text/LogText.h"

#include <QProcess>
#include <algorithm>
#include <cstdint>

namespace orvane {

namespace {

class TerminalLogWindow : public LogWindow {
  public:
    TerminalLogWindow(TerminalConsole& console, const std::string& title)
        : console_(console), title_(title) {}

    void update(const LogText& log) override {
        log_ = &log;
        if (console_.followsLog()) printNewLines();
    }
    void makeKeyAndOrderFront() override {
        std::string text = "\n" + harmless(title_) + "\n\n";
        if (log_) text += harmless(log_->text(), Layout::lines);
        if (text.back() != '\n') text += '\n';
        console_.print(text + (console_.followsLog() ? "" : "\n"));
        if (log_) printedTo_ = log_->end();
    }

  private:
    // A line that is still growing is left for later.
    void printNewLines() {
        const std::string_view text =
            log_->text().substr(std::max(printedTo_, log_->begin()) - log_->begin());
        const std::string_view lines = text.substr(0, text.rfind('\n') + 1);
        if (lines.empty()) return;
        console_.print(harmless(lines, Layout::lines));
        printedTo_ = log_->end() - (text.size() - lines.size());
    }

    TerminalConsole& console_;
    const std::string title_;
    const LogText* log_ = nullptr;
    std::uint64_t printedTo_ = 0;  ///< A place of the log.
};

class UnseenImage : public Image {
  public:
    explicit UnseenImage(ImageSize size) : size_(size) {}
    ImageSize size() const override { return size_; }
    void setSize(ImageSize size) override { size_ = size; }
    void setTemplate(bool) override {}

  private:
    ImageSize size_;
};

}  // namespace

void TerminalPasteboard::setString(const std::string& text) {
    console_.print("To copy, take the next line:\n" + harmless(text) + "\n");
}

/// The address has been printed: a browser that does not come needs no words.
void TerminalWorkspace::openUrl(const std::string& url, const std::function<void()>&) {
    console_.print("Open in a browser: " + harmless(url) + "\n");
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY")) return;
    QProcess opener;
    opener.setProgram("xdg-open");
    opener.setArguments({QString::fromStdString(url)});
    opener.setStandardOutputFile(QProcess::nullDevice());
    opener.setStandardErrorFile(QProcess::nullDevice());
    opener.startDetached();
}

std::unique_ptr<LogWindow> TerminalLogWindows::make(const LogWindowStyle& style) {
    return std::make_unique<TerminalLogWindow>(console_, style.title);
}

std::shared_ptr<Image> TerminalImages::load(const std::string&) {
    return nullptr;
}

std::shared_ptr<Image> TerminalImages::systemSymbol(const std::string&, const std::string&) {
    return nullptr;
}

std::shared_ptr<Image> TerminalImages::empty() {
    return std::make_shared<UnseenImage>(ImageSize{});
}

std::shared_ptr<Image> TerminalImages::filledWithSystemGreen(const Image& image) {
    return std::make_shared<UnseenImage>(image.size());
}

}  // namespace orvane
