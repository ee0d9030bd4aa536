// The few settings that the program keeps for itself between runs. Main thread only.
#pragma once

#include <optional>
#include <string>

namespace orvane {

class UserDefaults {
  public:
    virtual ~UserDefaults() = default;
    virtual std::optional<std::string> string(const std::string& key) const = 0;
    /// Stores the value; none removes the key.
    virtual void setString(const std::optional<std::string>& value, const std::string& key) = 0;
};

}  // namespace orvane
