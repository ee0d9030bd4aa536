// The system's log: datagrams to /dev/log as syslog(3) sends them, which the journal takes too. syslog(3)
// itself waits for a daemon that hangs, and the menu would wait with it. Also standard error, when that is a
// terminal.
#pragma once

#include "posix/Descriptor.h"

#include <mutex>
#include <string>
#include <string_view>

namespace orvane {

/// Any thread.
class SyslogSystemLog {
  public:
    /// `echoes`: whether a terminal at standard error gets the lines too. Not while the menu is shown there.
    explicit SyslogSystemLog(bool echoes, std::string socketPath = "/dev/log");

    /// Never waits. A line that the daemon does not take at once is lost; the next one that it takes is
    /// preceded by a line that tells how many were.
    void log(std::string_view line);

  private:
    bool send(const std::string& text);
    void connect();

    const bool echoes_;
    const std::string socketPath_;
    std::mutex mutex_;
    Descriptor socket_;
    std::size_t lost_ = 0;
};

}  // namespace orvane
