// The system log, by NSLog.
#pragma once

#include "macos/system/Text.h"

#include <string_view>

namespace orvane {

/// A `SystemLog`.
inline void logToSystem(std::string_view line) { NSLog(@"%@", toNSString(line)); }

}  // namespace orvane
