// The window that shows the server log: not editable, plain text in a monospaced font. Main thread only.
#pragma once

#include <memory>
#include <string>

namespace orvane {

class LogText;

struct LogWindowStyle {
    int width;   ///< Of the content, in points.
    int height;  ///< Of the content, in points.
    std::string title;
    double fontSize;  ///< In points.
};

class LogWindow {
  public:
    virtual ~LogWindow() = default;
    /// Makes the view's text equal to the log's and scrolls it to the end: at once, or before the run loop
    /// next waits. `log` outlives the window.
    virtual void update(const LogText& log) = 0;
    /// Shows the window in front and gives it the keyboard. Closing it hides it; it can be shown again.
    virtual void makeKeyAndOrderFront() = 0;
};

class LogWindows {
  public:
    virtual ~LogWindows() = default;
    /// Makes a window in the middle of the screen, not shown yet.
    virtual std::unique_ptr<LogWindow> make(const LogWindowStyle& style) = 0;
};

}  // namespace orvane
