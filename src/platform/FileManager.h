// Files and folders, as far as the core needs them. Any thread. Errors are results, never messages.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

class FileManager {
  public:
    virtual ~FileManager() = default;

    /// Absolute path of the current user's home folder, without a slash at its end.
    virtual std::string homeDirectory() const = 0;
    /// True when `path` is a regular file, or a link to one, that the current user may execute.
    virtual bool isExecutableFile(const std::string& path) const = 0;
    /// Creates the folder and those above it. True also when it exists already.
    virtual bool createDirectory(const std::string& path) = 0;
    /// Takes from every other user the right to write to the folder and to what lies in it; the system's log
    /// is told of what was open to all.
    virtual void closeToOthers(const std::string& folder) = 0;
    /// Replaces the file at `path` by one that holds `text`: a reader sees the old file or the new one,
    /// whole. On failure the old file stays and nothing else is left behind.
    virtual bool writeAtomically(const std::string& path, std::string_view text) = 0;
    /// False when there is nothing at `path` or it cannot be removed.
    virtual bool removeItem(const std::string& path) = 0;
};

}  // namespace orvane
