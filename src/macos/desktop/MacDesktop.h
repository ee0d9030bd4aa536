// The general pasteboard and the shared workspace. Main thread only.
#pragma once

#include "macos/system/Text.h"
#include "platform/Surface.h"

#import <AppKit/AppKit.h>

namespace orvane {

class MacPasteboard : public Pasteboard {
   public:
    void clearContents() override { [NSPasteboard.generalPasteboard clearContents]; }
    void setString(const std::string& text) override {
        [NSPasteboard.generalPasteboard setString:toNSString(text) forType:NSPasteboardTypeString];
    }
};

class MacWorkspace : public Workspace {
   public:
    /// macOS always has a browser.
    void openUrl(const std::string& url, const std::function<void()>&) override {
        if (NSURL* page = [NSURL URLWithString:toNSString(url)]) [NSWorkspace.sharedWorkspace openURL:page];
    }
};

}  // namespace orvane
