// Repeats every line entered at the terminal; "later" is repeated a little later, "quit" ends the program.
#include "terminal/TerminalConsole.h"

#include <QCoreApplication>
#include <QTimer>

namespace {

struct Echo : orvane::TerminalListener {
    orvane::TerminalConsole& console;

    explicit Echo(orvane::TerminalConsole& owner) : console(owner) {}
    void lineEntered(const std::string& line) override {
        if (line == "quit") return QCoreApplication::quit();
        if (line == "later") {
            QTimer::singleShot(100, [this] { console.print("now\n"); });
            return;
        }
        console.print("heard " + line + "\n");
    }
    std::vector<std::string> completions(std::string_view typed) override {
        if (typed == "unknown") return {};
        return typed.starts_with('l') ? std::vector<std::string>{"later", "lately"}
                                      : std::vector<std::string>{"menu"};
    }
    void inputEnded() override { QCoreApplication::exit(3); }
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    orvane::TerminalConsole console;
    Echo echo(console);
    console.setListener(&echo);
    console.setPrompt("> ");
    return QCoreApplication::exec();
}
