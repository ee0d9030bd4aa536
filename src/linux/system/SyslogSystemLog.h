// The system's log by syslog(3), which the journal collects too; also standard error, when that is a
// terminal.
#pragma once

#include "platform/SystemLog.h"

namespace orvane {

/// At most one in a program: syslog(3) has one state for all.
class SyslogSystemLog : public SystemLog {
  public:
    /// `echoes`: whether a terminal at standard error gets the lines too. Not while the menu is shown there.
    explicit SyslogSystemLog(bool echoes);
    ~SyslogSystemLog() override;

    void log(std::string_view line) override;

  private:
    const bool echoes_;
};

}  // namespace orvane
