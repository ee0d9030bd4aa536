// The system's log: datagrams to /dev/log as syslog(3) sends them, which the journal takes too. syslog(3)
// itself waits for a daemon that hangs, and the menu would wait with it. Also standard error, when that is a
// terminal. Before it, what is said again and again is left out.
#pragma once

#include "platform/RunLoop.h"
#include "platform/SystemLog.h"
#include "posix/Descriptor.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

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
    Descriptor socket_;  ///< Had from the beginning: that no more are to be had must be told, too.
    std::size_t lost_ = 0;
};

/// In front of a log: what goes wrong at every look would fill the system's.
///
/// Leaves out a line that was heard, said or left out, less than `silence` ago, unless the same subject has
/// had another status since ("query for Pixel -> 112" after "query for Pixel -> 0"; a line without an arrow
/// is its own subject). A phone can make up lines as fast as it sends: those beyond `maxASecond` are left
/// out, too, and how many is told before the next line after. Any thread.
class OnceLog {
  public:
    static constexpr Duration silence{60.0};
    static constexpr std::size_t maxASecond = 50;
    /// Subjects remembered; the one heard longest ago is forgotten for a new one.
    static constexpr std::size_t maxSubjects = 64;

    /// `clock` outlives this one.
    OnceLog(SystemLog log, const Clock& clock) : log_(std::move(log)), clock_(clock) {}

    void log(std::string_view line);

  private:
    struct Heard {
        std::string status;
        TimePoint when;
    };

    bool isRepeated(std::string_view subject, std::string_view status, TimePoint now);
    void remember(std::string_view subject, std::string_view status, TimePoint now);
    void forgetOldest();

    const SystemLog log_;
    const Clock& clock_;
    std::mutex mutex_;
    std::map<std::string, Heard, std::less<>> heard_;  ///< By subject.
    TimePoint secondBegan_{};
    std::size_t newInSecond_ = 0;
};

}  // namespace orvane
