// The server log in a window of the desktop. Main thread only.
#pragma once

#include "platform/Surface.h"

#include <QPlainTextEdit>
#include <QTimer>
#include <cstdint>
#include <string_view>

namespace orvane {

/// Follows the log by appending what is new, once per turn of the event loop and only while it is shown; the
/// text is the same as if all of it had been replaced.
class QtLogWindow : public QPlainTextEdit, public LogWindow {
  public:
    explicit QtLogWindow(const LogWindowStyle& style);

    void update(const LogText& log) override;
    void makeKeyAndOrderFront() override;

  protected:
    void showEvent(QShowEvent* event) override;

  private:
    void catchUp();
    void append(std::string_view text);
    void scrollToEnd();

    const LogText* log_ = nullptr;
    std::uint64_t shownFrom_ = 0;  ///< Places of the log, in bytes.
    std::uint64_t shownTo_ = 0;
    bool endsWithReturn_ = false;
    QTimer soon_;
};

class QtLogWindows : public LogWindows {
  public:
    std::unique_ptr<LogWindow> make(const LogWindowStyle& style) override;
};

}  // namespace orvane
