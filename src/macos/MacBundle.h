// The main bundle.
#pragma once

#include "macos/Text.h"
#include "platform/Bundle.h"

namespace orvane {

class MacBundle : public Bundle {
   public:
    std::string executablePath() const override { return toString(NSBundle.mainBundle.executablePath); }
    std::optional<std::string> resourceDirectory() const override {
        NSURL* folder = NSBundle.mainBundle.resourceURL;
        return folder ? std::optional(toString(folder.path)) : std::nullopt;
    }
};

}  // namespace orvane
