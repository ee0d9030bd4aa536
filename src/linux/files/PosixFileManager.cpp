#include "linux/files/PosixFileManager.h"

#include "linux/files/AtomicWrite.h"
#include "posix/Environment.h"
#include "posix/WritableByAll.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

/// Of a new folder: the user's alone, whatever the umask.
constexpr mode_t privateFolderMode = 0700;

std::string homeInUserDatabase() {
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    return found->pw_dir ? found->pw_dir : "";
}

std::string findHome() {
    std::string home = environment("HOME");
    if (!home.starts_with('/')) home = homeInUserDatabase();
    while (!home.empty() && home.back() == '/')
        home.pop_back();
    return home;
}

}  // namespace

PosixFileManager::PosixFileManager(SystemLog log) : log_(std::move(log)), home_(findHome()) {}

bool PosixFileManager::isExecutableFile(const std::string& path) const {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

bool PosixFileManager::createDirectory(const std::string& path) {
    int firstError = 0;  // Those after it only say that the folder above is missing.
    const auto make = [&](const std::string& folder) {
        if (::mkdir(folder.c_str(), privateFolderMode) != 0 && errno != EEXIST && firstError == 0)
            firstError = errno;
    };
    for (auto slash = path.find('/', 1); slash != path.npos; slash = path.find('/', slash + 1))
        make(path.substr(0, slash));
    make(path);
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        const int error = firstError != 0 ? firstError : ENOTDIR;
        tell(path + " could not be made: " + std::generic_category().message(error));
        errno = error;
        return false;
    }
    std::error_code error;
    close(std::filesystem::canonical(path, error).string());
    return true;
}

void PosixFileManager::closeToOthers(const std::string& folder) {
    for (const std::string& path : writableByAll(folder))
        close(path);
}

void PosixFileManager::close(const std::string& path) {
    if (orvane::closeToOthers(path)) tell(path + " was open to everybody's writing; not any more");
}

bool PosixFileManager::writeAtomically(const std::string& path, std::string_view text) {
    close(path);
    const int error = replaceFile(path, text);
    if (error != 0) tell(path + " could not be written: " + std::generic_category().message(error));
    return error == 0;
}

bool PosixFileManager::removeItem(const std::string& path) {
    std::error_code error;
    const bool isRemoved = std::filesystem::remove(path, error);
    if (error) tell(path + " could not be removed: " + error.message());
    return isRemoved;
}

void PosixFileManager::tell(const std::string& failure) {
    if (log_) log_("Orvane: " + failure);
}

std::string configurationFolder(const FileManager& files) {
    const std::string folder = environment("XDG_CONFIG_HOME");
    return folder.starts_with('/') ? folder : files.homeDirectory() + "/.config";
}

}  // namespace orvane
