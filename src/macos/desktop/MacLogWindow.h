// The log window: a text view in a scroll view.
#pragma once

#include "platform/Surface.h"

#include <memory>

#import <AppKit/AppKit.h>

namespace orvane {

class MacLogWindow : public LogWindow {
  public:
    explicit MacLogWindow(const LogWindowStyle& style);

    void update(const LogText& log) override;
    void makeKeyAndOrderFront() override;

  private:
    class View;

    NSWindow* window_;
    std::shared_ptr<View> view_;
};

class MacLogWindows : public LogWindows {
  public:
    std::unique_ptr<LogWindow> make(const LogWindowStyle& style) override;
};

}  // namespace orvane
