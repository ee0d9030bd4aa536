#include "linux/system/LinuxBundle.h"

#include <filesystem>

namespace orvane {

namespace fs = std::filesystem;

std::optional<std::string> findResources(const std::string& executablePath) {
    const fs::path folder = fs::path(executablePath).parent_path();
    for (const fs::path& candidate : {folder.parent_path() / "share" / "orvane", folder / "resources"}) {
        std::error_code error;
        if (fs::is_directory(candidate, error)) return candidate.string();
    }
    return std::nullopt;
}

LinuxBundle::LinuxBundle() {
    std::error_code error;
    executablePath_ = fs::read_symlink("/proc/self/exe", error).string();
    resourceDirectory_ = findResources(executablePath_);
}

}  // namespace orvane
