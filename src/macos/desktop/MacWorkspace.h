// The shared workspace.
#pragma once

#include "macos/system/Text.h"
#include "platform/Surface.h"

#import <AppKit/AppKit.h>

namespace orvane {

class MacWorkspace : public Workspace {
   public:
    /// macOS always has a browser.
    void openUrl(const std::string& url, const std::function<void()>&) override {
        if (NSURL* page = [NSURL URLWithString:toNSString(url)]) [NSWorkspace.sharedWorkspace openURL:page];
    }
};

}  // namespace orvane
