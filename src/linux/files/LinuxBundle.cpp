#include "linux/files/LinuxBundle.h"

#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace fs = std::filesystem;

namespace {

/// Whoever may rename or replace an entry of the folder. What a group may do, its administrator has decided;
/// Debian gives each user a group of the same number.
bool othersMayWrite(const struct stat& folder) {
    const bool groupIsTrusted = folder.st_uid == 0 || folder.st_gid == folder.st_uid;
    return (folder.st_mode & S_IWOTH) != 0 || ((folder.st_mode & S_IWGRP) != 0 && !groupIsTrusted);
}

bool belongsToUserOrRoot(const struct stat& folder) {
    return folder.st_uid == 0 || folder.st_uid == geteuid();
}

/// That nobody else has put the folder there, or can put something in it. In a sticky folder above it, such
/// as /tmp, others may only touch what is theirs.
bool isTrusted(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
    if (!belongsToUserOrRoot(status) || othersMayWrite(status)) return false;
    for (fs::path parent = folder.parent_path();; parent = parent.parent_path()) {
        if (::stat(parent.c_str(), &status) != 0 || !belongsToUserOrRoot(status)) return false;
        if (othersMayWrite(status) && (status.st_mode & S_ISVTX) == 0) return false;
        if (parent == parent.root_path()) return true;
    }
}

}  // namespace

std::optional<std::string> findResources(const std::string& executablePath) {
    const fs::path folder = fs::path(executablePath).parent_path();
    const fs::path installed = folder.parent_path() / "share" / "orvane";
    std::error_code error;
    for (const fs::path& candidate :
         {folder.filename() == "bin" ? installed : fs::path(), folder / "resources"}) {
        const fs::path resolved = fs::canonical(candidate, error);
        if (!error && isTrusted(resolved)) return candidate.string();
    }
    return std::nullopt;
}

Bundle findBundle() {
    std::error_code error;
    const std::string executable = fs::read_symlink("/proc/self/exe", error).string();
    return {executable, findResources(executable)};
}

}  // namespace orvane
