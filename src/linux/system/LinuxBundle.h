// Where the program lies (/proc/self/exe, proc(5)), and where its resources do.
#pragma once

#include "platform/Bundle.h"

namespace orvane {

/// `../share/orvane` from the executable's folder, when the program is installed, else `resources` in it, as
/// a build makes it; nothing when neither exists.
std::optional<std::string> findResources(const std::string& executablePath);

class LinuxBundle : public Bundle {
  public:
    /// Looks once: an upgrade may replace the file while the program runs.
    LinuxBundle();

    std::string executablePath() const override { return executablePath_; }
    std::optional<std::string> resourceDirectory() const override { return resourceDirectory_; }

  private:
    std::string executablePath_;
    std::optional<std::string> resourceDirectory_;
};

}  // namespace orvane
