#include "posix/Presence.h"

#include "posix/Descriptor.h"
#include "posix/Environment.h"

#include <cerrno>
#include <charconv>
#include <filesystem>
#include <system_error>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace orvane {

namespace {

namespace fs = std::filesystem;

bool mayAccess(const std::string& path, int mode) {
    return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

fs::path nearestThere(const fs::path& folder) {
    std::error_code error;
    fs::path there = folder;
    while (!fs::exists(fs::symlink_status(there, error)) && there.has_relative_path())
        there = there.parent_path();
    return there;
}

bool isFull(const std::string& folder) {
    struct statvfs disk = {};
    if (::statvfs(folder.c_str(), &disk) != 0) return false;
    const auto left = ::geteuid() == 0 ? disk.f_bfree : disk.f_bavail;
    return (disk.f_blocks > 0 && left == 0) || (disk.f_files > 0 && disk.f_ffree == 0);
}

}  // namespace

bool fileExists(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0;
}

bool isRegularFile(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

bool isExecutableFile(const std::string& path) {
    return isRegularFile(path) && mayAccess(path, X_OK);
}

std::string obstacleToWriting(const std::string& folder, const std::vector<std::string>& names) {
    const fs::path there = nearestThere(folder);
    std::error_code error;
    if (!fs::is_directory(there, error)) return "cannot be made: " + there.string() + " is no folder";
    if (!mayAccess(there.string(), W_OK | X_OK))
        return "cannot be written: " + std::generic_category().message(errno);
    if (isFull(there.string())) return "cannot be written: the disk is full";
    for (const std::string& name : names)
        if (fs::is_directory(fs::symlink_status(fs::path(folder) / name, error)))
            return "has a folder in the place of the file “" + name + "”";
    return {};
}

bool isListening(std::uint16_t port, Deadline deadline) {
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM, 0));
    if (!socket || ::fcntl(socket.get(), F_SETFD, FD_CLOEXEC) != 0 ||
        ::fcntl(socket.get(), F_SETFL, O_NONBLOCK) != 0)
        return false;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return true;
    if (errno != EINPROGRESS || !pollUntil(socket.get(), POLLOUT, deadline)) return false;
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

std::uint16_t adbDaemonPort() {
    const std::string text = environment("ANDROID_ADB_SERVER_PORT");
    std::uint16_t port = 5037;
    std::from_chars(text.data(), text.data() + text.size(), port);
    return port;
}

}  // namespace orvane
