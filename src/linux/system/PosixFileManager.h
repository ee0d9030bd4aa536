// Files and folders by POSIX calls.
#pragma once

#include "platform/FileManager.h"

namespace orvane {

class PosixFileManager : public FileManager {
  public:
    /// The home folder is `$HOME`, else the one in the user database, as found at this moment.
    PosixFileManager();

    std::string homeDirectory() const override { return home_; }
    bool isExecutableFile(const std::string& path) const override;
    bool createDirectory(const std::string& path) override;
    /// A link at `path` is replaced itself; what it leads to stays as it is. A folder there is an error.
    bool writeAtomically(const std::string& path, std::string_view text) override;
    /// A file, a link (itself) or an empty folder.
    bool removeItem(const std::string& path) override;

  private:
    std::string home_;
};

}  // namespace orvane
