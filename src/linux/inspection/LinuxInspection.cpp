#include "linux/inspection/LinuxInspection.h"

#include "linux/files/Autostart.h"
#include "linux/files/PosixFileManager.h"
#include "linux/files/SettingsUserDefaults.h"
#include "linux/inspection/BluezFacts.h"
#include "linux/inspection/PortHolder.h"
#include "linux/inspection/PulseFacts.h"
#include "linux/inspection/SurfaceChoice.h"
#include "posix/CommandOutput.h"
#include "posix/Deadline.h"
#include "posix/Presence.h"
#include "posix/WritableByAll.h"

namespace orvane {

namespace {

constexpr std::chrono::milliseconds soundPatience{1000};
constexpr std::chrono::milliseconds daemonPatience{300};

}  // namespace

ProgramPresence LinuxInspection::program(const std::string& path) const {
    if (!fileExists(path)) return ProgramPresence::absent;
    if (!isRegularFile(path)) return ProgramPresence::noFile;
    return isExecutableFile(path) ? ProgramPresence::executable : ProgramPresence::notExecutable;
}

std::string LinuxInspection::obstacleToWriting(const std::string& folder,
                                               const std::vector<std::string>& names) const {
    return orvane::obstacleToWriting(folder, names);
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
    return outputOf(path, arguments, Deadline::after(patience));
}

std::optional<std::string> LinuxInspection::setting(const std::string& key) const {
    PosixFileManager files;
    return SettingsUserDefaults(files).string(key);
}

std::string LinuxInspection::settingsPath() const {
    PosixFileManager files;
    return SettingsUserDefaults(files).path();
}

bool LinuxInspection::adbDaemonRuns() const {
    return isListening(adbDaemonPort(), Deadline::after(daemonPatience));
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
