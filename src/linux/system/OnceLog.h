// A log that does not say the same again and again: what goes wrong at every look would fill the system's
// log.
#pragma once

#include "platform/RunLoop.h"
#include "platform/SystemLog.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

namespace orvane {

/// Leaves out a line that was heard, said or left out, less than `silence` ago, unless the same subject has
/// had another status since ("query for Pixel -> 112" after "query for Pixel -> 0"; a line without an arrow
/// is its own subject). Any thread.
class OnceLog {
  public:
    static constexpr Duration silence{60.0};
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

    bool isNew(std::string_view line);
    void forgetOldest();

    const SystemLog log_;
    const Clock& clock_;
    std::mutex mutex_;
    std::map<std::string, Heard, std::less<>> heard_;  ///< By subject.
};

}  // namespace orvane
