// The user defaults in the program's own file `~/.config/Orvane/Orvane.conf` (below `$XDG_CONFIG_HOME`, where
// that is set), replaced as a whole as each value is set: no lock, and nothing that waits for one.
#pragma once

#include "platform/FileManager.h"
#include "platform/UserDefaults.h"

namespace orvane {

/// The file is an INI file with one group, `[General]`, as QSettings writes it. Lines that this program does
/// not know stay as they are.
class SettingsUserDefaults : public UserDefaults {
  public:
    /// `files` outlives this object.
    explicit SettingsUserDefaults(FileManager& files);

    std::optional<std::string> string(const std::string& key) const override;
    std::string path() const { return path_; }
    /// A file that cannot be written stays as it is; the value is known until the end of the program all the
    /// same.
    void setString(const std::optional<std::string>& value, const std::string& key) override;

  private:
    FileManager& files_;
    std::string path_;
    std::string text_;  ///< Of the whole file.
};

}  // namespace orvane
