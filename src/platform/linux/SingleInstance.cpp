#include "platform/linux/SingleInstance.h"

#include <cstddef>

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

}  // namespace

std::optional<SingleInstance> SingleInstance::acquire(const std::string& runtimeFolder) {
    if (!runtimeFolder.empty()) {
        const std::string path = runtimeFolder + "/orvane.lock";
        Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (file) {
            if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) return std::nullopt;
            return SingleInstance(std::move(file));
        }
    }
    Descriptor name(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!name || !takeName(name.get())) return std::nullopt;
    return SingleInstance(std::move(name));
}

}  // namespace orvane
