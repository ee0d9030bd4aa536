#include "linux/system/LinuxRemedies.h"

#include "posix/FileText.h"

#include <array>
#include <sstream>

namespace orvane {

namespace {

struct Distribution {
    std::string_view name;  ///< In ID or ID_LIKE.
    const char* installAdb;
    const char* allowPhones;
};

constexpr const char* joinPlugdev =
    "sudo apt install android-sdk-platform-tools-common\nsudo usermod -aG plugdev $USER";

constexpr std::array<Distribution, 8> distributions = {
    {{"debian", "sudo apt install adb", joinPlugdev},
     {"ubuntu", "sudo apt install adb", joinPlugdev},
     {"fedora", "sudo dnf install android-tools", "sudo dnf reinstall android-tools\nsudo udevadm trigger"},
     {"rhel", "sudo dnf install android-tools", "sudo dnf reinstall android-tools\nsudo udevadm trigger"},
     {"arch", "sudo pacman -S android-tools", "sudo pacman -S android-udev\nsudo usermod -aG adbusers $USER"},
     {"suse", "sudo zypper install android-tools", "sudo zypper install android-tools\nsudo udevadm trigger"},
     {"opensuse", "sudo zypper install android-tools",
      "sudo zypper install android-tools\nsudo udevadm trigger"},
     {"sles", "sudo zypper install android-tools",
      "sudo zypper install android-tools\nsudo udevadm trigger"}}};

constexpr std::string_view moduleArguments =
    "module-null-sink sink_name=orvane channels=16 sink_properties=device.description=Orvane";

/// The value of a key, without the quotes around it; empty when there is none.
std::string value(std::string_view release, std::string_view key) {
    std::istringstream lines{std::string(release)};
    for (std::string line; std::getline(lines, line);) {
        if (!line.starts_with(key) || line.size() <= key.size() || line[key.size()] != '=') continue;
        std::string text = line.substr(key.size() + 1);
        const bool isQuoted =
            text.size() >= 2 && (text.front() == '"' || text.front() == '\'') && text.back() == text.front();
        return isQuoted ? text.substr(1, text.size() - 2) : text;
    }
    return {};
}

const Distribution* distributionOf(std::string_view release) {
    // The distribution's own name before those that it is like, which are in the order of likeness.
    std::istringstream names(value(release, "ID") + " " + value(release, "ID_LIKE"));
    for (std::string name; names >> name;)
        for (const Distribution& known : distributions)
            if (known.name == name || (known.name == "opensuse" && name.starts_with("opensuse-")))
                return &known;
    return nullptr;
}

}  // namespace

Remedies remediesFor(std::string_view release) {
    const Distribution* distribution = distributionOf(release);
    Remedies remedies;
    remedies.system = value(release, "PRETTY_NAME");
    if (remedies.system.empty()) remedies.system = "Linux";
    remedies.installAdb =
        distribution ? distribution->installAdb : "install the package that holds Android's adb";
    remedies.allowPhones = distribution ? distribution->allowPhones
                                        : "install the udev rules for Android phones\nsudo udevadm trigger";
    remedies.switchBluetoothOn = "bluetoothctl power on";
    remedies.makeLoopbackDevice = "pactl load-module " + std::string(moduleArguments);
    remedies.keepLoopbackDevice =
        "With PipeWire, put into ~/.config/pipewire/pipewire-pulse.conf.d/orvane.conf:\n"
        "    pulse.cmd = [ { cmd = \"load-module\" args = \"" +
        std::string(moduleArguments) +
        "\" } ]\n"
        "and run: systemctl --user restart pipewire-pulse\n"
        "With PulseAudio, put into ~/.config/pulse/default.pa:\n"
        "    .include /etc/pulse/default.pa\n"
        "    load-module " +
        std::string(moduleArguments) + "\nand run: pulseaudio -k";
    return remedies;
}

Remedies linuxRemedies() {
    const std::string release = fileText("/etc/os-release");
    return remediesFor(release.empty() ? fileText("/usr/lib/os-release") : release);
}

}  // namespace orvane
