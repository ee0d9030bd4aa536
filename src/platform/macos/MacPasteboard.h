// The general pasteboard.
#pragma once

#include "platform/Pasteboard.h"
#include "platform/macos/Text.h"

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
