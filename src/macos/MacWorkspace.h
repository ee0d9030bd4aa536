// The shared workspace.
#pragma once

#include "macos/Text.h"
#include "platform/Surface.h"

#import <AppKit/AppKit.h>

namespace orvane {

class MacWorkspace : public Workspace {
   public:
    void openUrl(const std::string& url) override {
        if (NSURL* page = [NSURL URLWithString:toNSString(url)]) [NSWorkspace.sharedWorkspace openURL:page];
    }
};

}  // namespace orvane
