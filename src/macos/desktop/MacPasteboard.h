// The general pasteboard.
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

}  // namespace orvane
