#include "linux/files/SingleInstance.h"

#include "linux/files/PosixFileManager.h"
#include "posix/Environment.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr const char* lockName = "orvane.lock";
constexpr const char* socketName = "orvane.socket";
constexpr int maxCallers = 8;
/// Milliseconds: the main thread may be waiting for a server to end, at most six seconds.
constexpr int answerPatience = 7000;

std::string hostName() {
    std::array<char, 256> name{};
    if (gethostname(name.data(), name.size() - 1) != 0 || name[0] == '\0') return "localhost";
    return name.data();
}

std::string folderOfLastResort() {
    return "/tmp/orvane-" + std::to_string(getuid());
}

/// The folder, opened; none when it is not there or another user's.
Descriptor openFolder(const std::string& path) {
    Descriptor folder(open(path.c_str(), O_DIRECTORY | O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (folder && (fstat(folder.get(), &status) != 0 || status.st_uid != geteuid())) folder.reset();
    return folder;
}

/// The file, which must be this user's own: whoever else may open it could hold its lock, and with it us up.
Descriptor openLock(const Descriptor& folder) {
    constexpr int flags = O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    Descriptor file(openat(folder.get(), lockName, flags, 0600));
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) return {};
    const bool isOurs = S_ISREG(status.st_mode) && status.st_uid == geteuid();
    return isOurs ? std::move(file) : Descriptor();
}

/// A child that an instance was starting when it was killed holds the lock until it runs its own program.
bool lockSoon(const Descriptor& file) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

/// By the descriptor of the folder: the address of a socket has room for short paths only.
sockaddr_un addressIn(const Descriptor& folder) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(folder.get()) + "/" + socketName;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

Descriptor listenIn(const Descriptor& folder) {
    unlinkat(folder.get(), socketName, 0);  // Left by an instance that has gone: we hold the lock.
    Descriptor listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = addressIn(folder);
    if (bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening.get(), maxCallers) != 0)
        listening.reset();
    return listening;
}

std::optional<ucred> peerOf(int socket) {
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return std::nullopt;
    return peer;
}

/// One that does not take its callers lets them wait for a place in its queue.
void limitWaiting(const Descriptor& caller) {
    const timeval limit{.tv_sec = answerPatience / 1000, .tv_usec = 0};
    setsockopt(caller.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

/// An instance that has just taken its lock may not be listening yet.
Descriptor connectIn(const std::string& path) {
    const Descriptor folder = openFolder(path);
    if (!folder) return {};
    const sockaddr_un address = addressIn(folder);
    for (int attempt = 0; attempt < 20; ++attempt) {
        Descriptor caller(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        limitWaiting(caller);
        if (connect(caller.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return caller;
        if (errno != ECONNREFUSED) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return {};
}

std::string readAnswer(const Descriptor& caller) {
    std::string text;
    std::array<char, 256> buffer;
    pollfd source = {caller.get(), POLLIN, 0};
    while (poll(&source, 1, answerPatience) > 0) {
        const ssize_t count = recv(caller.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) break;
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

std::vector<std::string> instanceFolders() {
    std::vector<std::string> folders;
    const std::string runtimeFolder = environment("XDG_RUNTIME_DIR");
    if (runtimeFolder.starts_with('/')) folders.push_back(runtimeFolder);
    PosixFileManager files;
    const std::string inHome = files.homeDirectory() + "/.local/state/orvane/" + hostName();
    if (!files.homeDirectory().empty() && files.createDirectory(inHome)) folders.push_back(inHome);
    return folders;
}

std::optional<SingleInstance> SingleInstance::acquire(const std::vector<std::string>& folders) {
    SingleInstance instance;
    for (const std::string& path : folders) {
        const Descriptor folder = openFolder(path);
        if (!folder) continue;
        Descriptor file = openLock(folder);
        if (!file) continue;
        if (!lockSoon(file)) return std::nullopt;
        instance.places_.push_back({std::move(file), listenIn(folder)});
    }
    const std::string last = folderOfLastResort();
    if (!instance.places_.empty() || (folders.size() == 1 && folders.front() == last)) return instance;
    mkdir(last.c_str(), 0700);
    return acquire({last});
}

std::vector<int> SingleInstance::listeningSockets() const {
    std::vector<int> sockets;
    for (const Place& place : places_)
        if (place.socket) sockets.push_back(place.socket.get());
    return sockets;
}

Descriptor SingleInstance::takeCaller(int listeningSocket) {
    Descriptor caller(accept4(listeningSocket, nullptr, nullptr, SOCK_CLOEXEC));
    if (!caller) return caller;
    const auto peer = peerOf(caller.get());
    if (!peer || peer->uid != geteuid()) caller.reset();
    return caller;
}

void SingleInstance::answer(const Descriptor& caller, const std::string& text) {
    send(caller.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

InstanceAnswer callRunningInstance(const std::vector<std::string>& folders) {
    auto all = folders;
    all.push_back(folderOfLastResort());
    for (const std::string& folder : all) {
        const Descriptor caller = connectIn(folder);
        if (!caller) continue;
        const auto peer = peerOf(caller.get());
        if (!peer || peer->uid != geteuid()) continue;
        return {peer->pid, readAnswer(caller)};
    }
    return {};
}

}  // namespace orvane
