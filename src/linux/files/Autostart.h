// Whether the program starts when the user logs in: an entry of the desktop's autostart
// (https://specifications.freedesktop.org/autostart-spec/). Any thread.
#pragma once

#include "platform/Inspection.h"

#include <string>

namespace orvane {

class Autostart {
  public:
    /// Where the user's entry is, by the environment.
    Autostart();

    AutostartFacts facts() const;
    /// Has the program at that absolute path started. Why it cannot be, as a sentence; empty when it is done.
    std::string turnOn(const std::string& executable) const;
    /// Removes the user's entry; one that all users have is hidden by an entry of the user's own. Why that
    /// cannot be, as a sentence; empty when it is done.
    std::string turnOff() const;

    const std::string& path() const { return path_; }

  private:
    std::string systemEntry() const;
    std::string write(const std::string& entry) const;

    std::string path_;
};

/// The text of the entry.
std::string autostartEntry(const std::string& executable);

}  // namespace orvane
