#include "linux/inspection/LinuxInspection.h"

#include "linux/files/Autostart.h"
#include "linux/files/PosixFileManager.h"
#include "linux/files/SettingsUserDefaults.h"
#include "linux/inspection/BluezFacts.h"
#include "linux/inspection/PortHolder.h"
#include "linux/inspection/PulseFacts.h"
#include "linux/inspection/SurfaceChoice.h"
#include "linux/process/ChildProcess.h"
#include "posix/Deadline.h"
#include "posix/Descriptor.h"
#include "posix/WritableByAll.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::chrono::milliseconds soundPatience{1000};
constexpr std::chrono::milliseconds daemonPatience{300};
constexpr std::chrono::milliseconds killPatience{100};
constexpr std::size_t maxOutput = 1 << 20;

// Until the child has exited, and not until the stream has ended: a process that it left behind may hold it.
std::optional<std::string> readUntilExit(int reading, ChildProcess& child, Deadline deadline) {
    std::string text;
    std::array<char, 4096> buffer;
    while (true) {
        std::array<pollfd, 2> sources = {{{reading, POLLIN, 0}, {child.descriptor(), POLLIN, 0}}};
        if (deadline.hasPassed() || !pollUntil(sources, deadline)) return std::nullopt;
        if ((sources[0].revents & POLLIN) != 0) {
            const ssize_t count = ::read(reading, buffer.data(), buffer.size());
            if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
            if (text.size() > maxOutput) return std::nullopt;
        } else if (sources[1].revents != 0) {
            return text;
        } else if (sources[0].revents != 0) {
            reading = -1;  // The stream has ended before the child.
        }
    }
}

// One that not even SIGKILL ends soon is left to the end of this program.
void reap(ChildProcess& child) {
    pollUntil(child.descriptor(), POLLIN, Deadline::after(killPatience));
    child.hasExited();
}

std::uint16_t adbDaemonPort() {
    const char* variable = std::getenv("ANDROID_ADB_SERVER_PORT");  // NOLINT(concurrency-mt-unsafe)
    const std::string_view text = variable ? variable : "";
    std::uint16_t port = 5037;
    std::from_chars(text.data(), text.data() + text.size(), port);
    return port;
}

}  // namespace

ProgramPresence LinuxInspection::program(const std::string& path) const {
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0) return ProgramPresence::absent;
    const bool canRun = S_ISREG(status.st_mode) && ::faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
    return canRun ? ProgramPresence::executable : ProgramPresence::notExecutable;
}

bool LinuxInspection::canWriteInto(const std::string& folder) const {
    std::filesystem::path existing = folder;
    std::error_code error;
    while (!std::filesystem::exists(existing, error) && existing.has_relative_path())
        existing = existing.parent_path();
    return std::filesystem::is_directory(existing, error) &&
           ::faccessat(AT_FDCWD, existing.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

std::vector<std::string> LinuxInspection::writableByAll(const std::string& folder) const {
    return orvane::writableByAll(folder);
}

std::optional<PortFacts> LinuxInspection::port(std::uint16_t port) const {
    return holderOfPort(port);
}

std::optional<std::string> LinuxInspection::output(const std::string& path,
                                                   const std::vector<std::string>& arguments,
                                                   std::chrono::milliseconds patience) const {
    const auto deadline = Deadline::after(patience);
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const Descriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    const auto started = ChildProcess::start(path, arguments, {writing.get(), nowhere.get()});
    writing.reset();
    if (!started.child) return std::nullopt;
    auto text = readUntilExit(reading.get(), *started.child, deadline);
    if (!text) started.child->signal(SIGKILL);
    reap(*started.child);
    return text;
}

std::optional<std::string> LinuxInspection::setting(const std::string& key) const {
    PosixFileManager files;
    return SettingsUserDefaults(files).string(key);
}

bool LinuxInspection::adbDaemonRuns() const {
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(adbDaemonPort());
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return true;
    if (errno != EINPROGRESS || !pollUntil(socket.get(), POLLOUT, Deadline::after(daemonPatience)))
        return false;
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

std::optional<BluetoothFacts> LinuxInspection::bluetooth() const {
    return bluetoothFacts();
}

std::optional<SoundFacts> LinuxInspection::sound() const {
    return soundFacts(soundPatience);
}

std::optional<SurfaceFacts> LinuxInspection::surface() const {
    return surfaceFacts(chooseSurface(false));
}

std::optional<AutostartFacts> LinuxInspection::autostart() const {
    return Autostart().facts();
}

}  // namespace orvane
