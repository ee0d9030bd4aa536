// What a desktop would offer beside the menu, on a terminal: everything is printed. Main thread only.
#pragma once

#include "platform/Surface.h"
#include "terminal/TerminalConsole.h"

namespace orvane {

/// There may be no clipboard, and what was typed from may be another computer: the text is printed on a line
/// of its own, to be copied from there.
class TerminalPasteboard : public Pasteboard {
  public:
    explicit TerminalPasteboard(TerminalConsole& console) : console_(console) {}
    void clearContents() override {}
    void setString(const std::string& text) override;

  private:
    TerminalConsole& console_;
};

/// Prints the address, and also opens it where there is a desktop.
class TerminalWorkspace : public Workspace {
  public:
    explicit TerminalWorkspace(TerminalConsole& console) : console_(console) {}
    void openUrl(const std::string& url, const std::function<void()>& failed) override;

  private:
    TerminalConsole& console_;
};

/// Each time the window would come to the front, the whole log is printed.
class TerminalLogWindows : public LogWindows {
  public:
    explicit TerminalLogWindows(TerminalConsole& console) : console_(console) {}
    std::unique_ptr<LogWindow> make(const LogWindowStyle& style) override;

  private:
    TerminalConsole& console_;
};

/// Images that nobody sees: only their sizes.
class TerminalImages : public Images {
  public:
    std::shared_ptr<Image> load(const std::string& path) override;
    std::shared_ptr<Image> systemSymbol(const std::string& name, const std::string& description) override;
    std::shared_ptr<Image> empty() override;
    std::shared_ptr<Image> filledWithSystemGreen(const Image& image) override;
};

}  // namespace orvane
