// The user defaults in the program's own file `~/.config/Orvane/Orvane.conf` (below `$XDG_CONFIG_HOME`, where
// that is set), written as each value is set.
#pragma once

#include "platform/UserDefaults.h"

#include <QSettings>

namespace orvane {

class SettingsUserDefaults : public UserDefaults {
  public:
    SettingsUserDefaults();

    std::optional<std::string> string(const std::string& key) const override;
    void setString(const std::optional<std::string>& value, const std::string& key) override;

  private:
    QSettings settings_;
};

}  // namespace orvane
