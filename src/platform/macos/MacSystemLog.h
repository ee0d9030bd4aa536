// The system log, by NSLog.
#pragma once

#include "platform/SystemLog.h"
#include "platform/macos/Text.h"

namespace orvane {

class MacSystemLog : public SystemLog {
   public:
    void log(std::string_view line) override { NSLog(@"%@", toNSString(line)); }
};

}  // namespace orvane
