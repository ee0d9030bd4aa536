#include "linux/system/SingleInstance.h"

#include <chrono>
#include <cstddef>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace orvane {

namespace {

/// True unless another process has the name.
bool takeName(int socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = "audio.orvane.Orvane/" + std::to_string(getuid());
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0;
}

/// A child that an instance was starting when it was killed holds the lock until it runs its own program.
template <typename Take>
bool takenSoon(Take take) {
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (take()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

}  // namespace

std::optional<SingleInstance> SingleInstance::acquire(const std::string& runtimeFolder) {
    if (!runtimeFolder.empty()) {
        const std::string path = runtimeFolder + "/orvane.lock";
        Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file) {
            if (!takenSoon([&] { return flock(file.get(), LOCK_EX | LOCK_NB) == 0; })) return std::nullopt;
            return SingleInstance(std::move(file));
        }
    }
    Descriptor name(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!name || !takenSoon([&] { return takeName(name.get()); })) return std::nullopt;
    return SingleInstance(std::move(name));
}

}  // namespace orvane
