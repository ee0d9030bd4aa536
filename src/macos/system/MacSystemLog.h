// The system log, by NSLog.
#pragma once

#include "macos/system/Text.h"
#include "platform/SystemLog.h"

namespace orvane {

class MacSystemLog : public SystemLog {
   public:
    void log(std::string_view line) override { NSLog(@"%@", toNSString(line)); }
};

}  // namespace orvane
