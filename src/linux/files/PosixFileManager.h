// Files and folders by POSIX calls.
#pragma once

#include "platform/FileManager.h"
#include "platform/SystemLog.h"

namespace orvane {

class PosixFileManager : public FileManager {
  public:
    /// The home folder is `$HOME`, unless that is relative, else the one in the user database, as found at
    /// this moment. `log`, if there is one, is told of what fails, with the reason: a choice that does not
    /// survive the program must not be lost without a word.
    explicit PosixFileManager(SystemLog log = {});

    std::string homeDirectory() const override { return home_; }
    bool isExecutableFile(const std::string& path) const override;
    /// New folders are the user's alone. One that everybody may write into is closed to others, and that is
    /// told. On failure errno says why, as that of mkdir.
    bool createDirectory(const std::string& path) override;
    void closeToOthers(const std::string& folder) override;
    /// A file that everybody may write to is closed to others, and that is told. A link at `path` is replaced
    /// itself; what it leads to stays as it is. A folder there is an error.
    bool writeAtomically(const std::string& path, std::string_view text) override;
    /// A file, a link (itself) or an empty folder. That there is nothing is no failure worth a line.
    bool removeItem(const std::string& path) override;

  private:
    void close(const std::string& path);
    void tell(const std::string& failure);

    SystemLog log_;
    std::string home_;
};

/// Where programs keep what their user has set: `$XDG_CONFIG_HOME`, unless that is relative, which is to be
/// ignored, else `.config` in the home folder (https://specifications.freedesktop.org/basedir-spec/).
std::string configurationFolder(const FileManager& files);

}  // namespace orvane
