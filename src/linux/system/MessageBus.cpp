#include "linux/system/MessageBus.h"

#include "posix/Descriptor.h"
#include "posix/Environment.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

#include <sys/socket.h>
#include <sys/un.h>

namespace orvane {

namespace {

constexpr std::chrono::seconds busPatience{5};

/// Addresses write bytes of a path as "%" and two hexadecimal digits where they need to.
std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const std::string_view digits = text.substr(i + 1, 2);
        const bool isEscape =
            text[i] == '%' && digits.size() == 2 &&
            std::from_chars(digits.data(), digits.data() + 2, byte, 16).ptr == digits.data() + 2;
        result += isEscape ? static_cast<char>(byte) : text[i];
        if (isEscape) i += 2;
    }
    return result;
}

/// The value of `key` in "unix:key=value,key=value".
std::optional<std::string> valueOf(std::string_view key, std::string_view address) {
    address.remove_prefix(address.find(':') + 1);
    while (true) {
        const std::string_view pair = address.substr(0, address.find(','));
        if (pair.size() > key.size() && pair.starts_with(key) && pair[key.size()] == '=')
            return unescaped(pair.substr(key.size() + 1));
        if (pair.size() == address.size()) return std::nullopt;
        address.remove_prefix(pair.size() + 1);
    }
}

Descriptor connectTo(const std::string& name, Deadline deadline) {
    Descriptor bus(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    if (!bus || name.size() >= sizeof address.sun_path) return {};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size() +
                                             (name.starts_with('\0') ? 0 : 1));
    // EAGAIN: the queue of those who wait to be let in is full, and nothing tells when that changes.
    while (::connect(bus.get(), reinterpret_cast<const sockaddr*>(&address), size) != 0) {
        if (errno != EAGAIN || deadline.hasPassed()) return {};
        pollUntil({}, std::min(deadline, Deadline::after(std::chrono::milliseconds(50))));
    }
    return bus;
}

/// The first words of the protocol: who we are, and the daemon's "OK". That is as far as a daemon has to be
/// alive for.
bool letsIn(const Descriptor& bus, Deadline deadline) {
    std::string greeting("\0AUTH EXTERNAL ", 15);
    for (const char digit : std::to_string(::getuid())) {
        constexpr std::string_view hexadecimal = "0123456789abcdef";
        greeting += hexadecimal[static_cast<unsigned char>(digit) >> 4];
        greeting += hexadecimal[static_cast<unsigned char>(digit) & 15];
    }
    greeting += "\r\n";
    if (::send(bus.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(greeting.size()))
        return false;

    std::string answer;
    std::array<char, 256> buffer;
    while (answer.find('\n') == answer.npos && answer.size() < buffer.size()) {
        if (!pollUntil(bus.get(), POLLIN, deadline)) return false;
        const ssize_t count = ::recv(bus.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0) return false;
        answer.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return answer.starts_with("OK");
}

bool oneAnswers(std::string_view address, Deadline deadline) {
    if (!address.starts_with("unix:")) return !address.empty() && !address.starts_with("disabled");
    std::string name = valueOf("path", address).value_or("");
    if (const auto abstractName = valueOf("abstract", address)) name = '\0' + *abstractName;
    if (const auto folder = valueOf("runtime", address); folder == "yes")
        name = environment("XDG_RUNTIME_DIR") + "/bus";
    if (name.empty()) return false;
    const Descriptor bus = connectTo(name, deadline);
    return bus && letsIn(bus, deadline);
}

}  // namespace

std::string systemBusAddress() {
    const std::string told = environment("DBUS_SYSTEM_BUS_ADDRESS");
    return told.empty() ? "unix:path=/var/run/dbus/system_bus_socket" : told;
}

std::string sessionBusAddress() {
    const std::string told = environment("DBUS_SESSION_BUS_ADDRESS");
    return told.empty() ? "unix:runtime=yes" : told;
}

bool busAnswers(const std::string& addresses, Deadline deadline) {
    for (std::string_view rest = addresses; !rest.empty();) {
        const std::string_view address = rest.substr(0, rest.find(';'));
        if (oneAnswers(address, deadline)) return true;
        rest.remove_prefix(std::min(address.size() + 1, rest.size()));
    }
    return false;
}

void askSystemBus(RunLoop& runLoop, Threads& threads, std::function<void(bool)> answered) {
    const auto tell = [&runLoop, answered = std::move(answered)](bool isThere) {
        runLoop.async([answered, isThere] { answered(isThere); });
    };
    const bool isAsking = threads.start("orvane.bus", [tell, address = systemBusAddress()] {
        tell(busAnswers(address, Deadline::after(busPatience)));
    });
    if (!isAsking) tell(false);
}

}  // namespace orvane
