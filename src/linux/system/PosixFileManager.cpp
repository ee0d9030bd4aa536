#include "linux/system/PosixFileManager.h"

#include "linux/system/AtomicWrite.h"

#include <cstdlib>
#include <filesystem>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

std::string homeInUserDatabase() {
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return {};
    return found->pw_dir ? found->pw_dir : "";
}

std::string findHome() {
    const char* variable = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe): no thread has begun yet.
    std::string home = variable ? variable : "";
    if (home.empty()) home = homeInUserDatabase();
    while (!home.empty() && home.back() == '/')
        home.pop_back();
    return home;
}

}  // namespace

PosixFileManager::PosixFileManager() : home_(findHome()) {}

bool PosixFileManager::isExecutableFile(const std::string& path) const {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
}

bool PosixFileManager::createDirectory(const std::string& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    return std::filesystem::is_directory(path, error);
}

bool PosixFileManager::writeAtomically(const std::string& path, std::string_view text) {
    return replaceFile(path, text);
}

bool PosixFileManager::removeItem(const std::string& path) {
    std::error_code error;
    return std::filesystem::remove(path, error);
}

}  // namespace orvane
