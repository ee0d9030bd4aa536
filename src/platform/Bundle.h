// Where the program lies, and where its resources do. Any thread.
#pragma once

#include <optional>
#include <string>

namespace orvane {

class Bundle {
  public:
    virtual ~Bundle() = default;
    /// Absolute path of the running executable.
    virtual std::string executablePath() const = 0;
    /// Absolute path of the folder of resources; nothing when the program was installed without one.
    virtual std::optional<std::string> resourceDirectory() const = 0;
};

}  // namespace orvane
