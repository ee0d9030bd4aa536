// Diagnostic lines for the system's log. Any thread.
#pragma once

#include <string_view>

namespace orvane {

class SystemLog {
  public:
    virtual ~SystemLog() = default;
    /// Writes one line; `line` is text, never a format, and has no line feed at its end.
    virtual void log(std::string_view line) = 0;
};

}  // namespace orvane
