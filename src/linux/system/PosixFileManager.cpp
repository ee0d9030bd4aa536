#include "linux/system/PosixFileManager.h"

#include "linux/system/AtomicWrite.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
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

PosixFileManager::PosixFileManager(SystemLog* log) : log_(log), home_(findHome()) {}

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
    if (log_) log_->log("Orvane: " + failure);
}

}  // namespace orvane
