// The main bundle.
#pragma once

#include "macos/system/Text.h"
#include "platform/Bundle.h"

namespace orvane {

inline Bundle mainBundle() {
    NSBundle* bundle = NSBundle.mainBundle;
    NSURL* folder = bundle.resourceURL;
    return {toString(bundle.executablePath), folder ? std::optional(toString(folder.path)) : std::nullopt};
}

}  // namespace orvane
