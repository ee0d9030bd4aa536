#include "terminal/TerminalDesktop.h"

#include "text/HarmlessText.h"
#include "text/LogText.h"

#include <QProcess>

namespace orvane {

namespace {

class TerminalLogWindow : public LogWindow {
  public:
    TerminalLogWindow(TerminalConsole& console, const std::string& title)
        : console_(console), title_(title) {}

    void update(const LogText& log) override { log_ = &log; }
    void makeKeyAndOrderFront() override {
        std::string text = "\n" + harmless(title_) + "\n\n";
        if (log_) text += harmless(log_->text(), Layout::lines);
        if (text.back() != '\n') text += '\n';
        console_.print(text + "\n");
    }

  private:
    TerminalConsole& console_;
    const std::string title_;
    const LogText* log_ = nullptr;
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

void TerminalWorkspace::openUrl(const std::string& url) {
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
