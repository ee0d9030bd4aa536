#include "check/CheckReport.h"

#include "text/Case.h"
#include "text/HarmlessText.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace orvane {

namespace {

using Verdict = CheckLine::Verdict;

constexpr const char* noAnswer = "did not answer in time";
constexpr std::uint32_t pairOfChannels = 2;

struct Finding {
    Verdict verdict;
    std::string found;
    std::string advice = {};
};

std::string inOneLine(std::string_view commands) {
    std::string line(commands);
    for (auto at = line.find('\n'); at != line.npos; at = line.find('\n', at))
        line.replace(at, 1, "; ");
    return line;
}

std::string count(std::size_t number, const std::string& thing) {
    return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

Finding judgeServer(const std::string& path, ProgramPresence presence) {
    switch (presence) {
        case ProgramPresence::executable:
            return {Verdict::ok, path};
        case ProgramPresence::notExecutable:
            return {Verdict::missing, path + " may not be executed", "chmod +x '" + path + "'"};
        case ProgramPresence::noFile:
            return {Verdict::missing, path + " is no file",
                    "remove it, and install the server \"orvaned\" there"};
        case ProgramPresence::absent:
            break;
    }
    return {Verdict::missing, "there is no " + path, "install the server \"orvaned\" there"};
}

Finding judgePort(std::uint16_t number, const PortFacts& port) {
    if (port.isFree) return {Verdict::ok, std::to_string(number) + " is free"};
    const bool isForeign = !port.user.empty();
    if (port.holder == "orvaned" && !isForeign)
        return {Verdict::ok,
                "held by the running server (orvaned, process " + std::to_string(port.process) + ")"};
    std::string found = std::to_string(number) + " is held by ";
    found += port.holder.empty() ? "a program" : port.holder;
    if (port.process != 0) found += " (process " + std::to_string(port.process) + ")";
    if (isForeign)
        return {Verdict::missing, found + " of the user " + port.user,
                "have " + port.user + " or an administrator end it"};
    if (port.process == 0) return {Verdict::missing, found + " that cannot be told", "end that program"};
    return {Verdict::missing, found, "end that program: kill " + std::to_string(port.process)};
}

Finding judgeSettings(const std::string& folder, const std::string& obstacle,
                      const std::optional<std::vector<std::string>>& openToAll) {
    if (openToAll && !openToAll->empty())
        return {Verdict::missing, openToAll->front() + " may be written to by every user",
                "start Orvane, which closes it, or: chmod -R o-w '" + folder + "'"};
    if (obstacle.empty()) return {Verdict::ok, folder};
    return {Verdict::missing, obstacle,
            "what is chosen in the menu is not kept until the folder can be written"};
}

std::string listOf(const std::vector<AdbFacts::Phone>& phones) {
    std::string text;
    for (const auto& phone : phones)
        text += (text.empty() ? "" : ", ") + phone.serial + " (" + phone.state + ")";
    return text;
}

Finding judgeAdb(const AdbFacts& adb, const Remedies& remedies) {
    if (adb.path.empty())
        return {
            Verdict::missing, "adb is not installed: no phone on a USB cable",
            remedies.installAdb.empty() ? "brew install --cask android-platform-tools" : remedies.installAdb};
    if (adb.version.empty())
        return {Verdict::unknown, adb.path + " " + noAnswer, "try: " + adb.path + " version"};
    return {Verdict::ok, adb.path + ", " + adb.version};
}

Finding judgePhones(const AdbFacts& adb, const Remedies& remedies) {
    if (adb.path.empty()) return {Verdict::unknown, "cannot be listed without adb"};
    if (!adb.daemonRuns)
        return {Verdict::unknown, "adb's daemon does not run", "start Orvane, or: " + adb.path + " devices"};
    if (!adb.phones) return {Verdict::unknown, "adb " + std::string(noAnswer)};
    if (adb.phones->empty())
        return {Verdict::missing, "no phone on a cable",
                "enable USB debugging on the phone, and use a cable that carries data"};
    const std::string list = listOf(*adb.phones);
    const auto anyIs = [&](std::string_view state) {
        return std::ranges::any_of(*adb.phones,
                                   [&](const auto& phone) { return phone.state.starts_with(state); });
    };
    if (anyIs("device")) return {Verdict::ok, list};
    if (anyIs("unauthorized"))
        return {Verdict::missing, list, "unlock the phone and allow USB debugging from this computer"};
    if (anyIs("no permissions")) return {Verdict::missing, list, inOneLine(remedies.allowPhones)};
    return {Verdict::missing, list, "unplug the phone, and plug it in again"};
}

std::string adaptersOf(const BluetoothFacts& bluetooth) {
    std::string text;
    for (const auto& adapter : bluetooth.adapters)
        text += (text.empty() ? "" : ", ") + adapter.name + (adapter.isPowered ? " (on)" : " (off)");
    return text;
}

Finding judgeBluetooth(const BluetoothFacts& bluetooth, const Remedies& remedies) {
    if (bluetooth.isRefused) return {Verdict::missing, "refused to Orvane", remedies.allowBluetooth};
    if (!bluetooth.busAnswers)
        return {Verdict::missing, "the system bus does not answer", "start the service dbus"};
    if (!bluetooth.hasHardware && bluetooth.adapters.empty())
        return {Verdict::missing, "no adapter", "plug one in, or use Wi-Fi or USB"};
    if (!bluetooth.serviceRuns)
        return {Verdict::missing, "the Bluetooth service does not run",
                "install BlueZ, then: sudo systemctl enable --now bluetooth"};
    if (bluetooth.isBlocked)
        return {Verdict::missing, "the adapter is blocked",
                "rfkill unblock bluetooth, or the computer's radio switch"};
    if (bluetooth.adapters.empty())
        return {Verdict::missing, "the Bluetooth service has no adapter", "sudo systemctl restart bluetooth"};
    const bool isOn = std::ranges::any_of(bluetooth.adapters, &AdapterFacts::isPowered);
    if (!isOn) return {Verdict::missing, adaptersOf(bluetooth), remedies.switchBluetoothOn};
    return {Verdict::ok, adaptersOf(bluetooth)};
}

Finding judgePairing(const BluetoothFacts& bluetooth, const std::optional<std::string>& chosen) {
    if (!bluetooth.serviceRuns) return {Verdict::unknown, "cannot be told without the Bluetooth service"};
    std::string list;
    bool chosenIsPaired = false;
    for (const auto& phone : bluetooth.paired) {
        const bool isChosen = chosen && uppercased(phone.address) == uppercased(*chosen);
        chosenIsPaired |= isChosen;
        list += (list.empty() ? "" : ", ") + phone.name + (isChosen ? " (chosen)" : "");
    }
    if (chosen && !chosenIsPaired)
        return {Verdict::missing, "the chosen phone " + *chosen + " is not paired",
                "pair it again, or choose another in the menu"};
    if (list.empty())
        return {Verdict::missing, "no phone is paired", "pair it in the system's Bluetooth settings"};
    if (!chosen)
        return {Verdict::missing, list + "; none is chosen", "choose one in the menu's Bluetooth row"};
    return {Verdict::ok, list};
}

Finding judgeSoundServer(const SoundFacts& sound) {
    if (sound.server.empty())
        return {Verdict::missing, "no sound server answers",
                "start PipeWire or PulseAudio: systemctl --user start pipewire-pulse"};
    return {Verdict::ok, sound.server};
}

Finding judgeLoopback(const SoundFacts& sound, const Remedies& remedies) {
    std::string list;
    std::uint32_t most = 0;
    for (const auto& device : sound.devices) {
        if (!device.isLoopback || device.channels < pairOfChannels) continue;
        list += (list.empty() ? "" : ", ") + device.name + " (" + std::to_string(device.channels) +
                " channels, " + count(device.channels / pairOfChannels, "phone") + ")";
        most = std::max(most, device.channels);
    }
    if (most > 0) return {Verdict::ok, list};
    return {Verdict::missing, "no loopback device to record from",
            remedies.makeLoopbackDevice.empty() ? "brew install --cask blackhole-16ch"
                                                : remedies.makeLoopbackDevice};
}

Finding judgeSurface(const SurfaceFacts& surface) {
    const std::string found = surface.kind + ": " + surface.reason;
    if (surface.isVisible) return {Verdict::ok, found};
    return {Verdict::missing, found, "start it on a desktop or on a terminal"};
}

Finding judgeAutostart(const AutostartFacts& autostart) {
    if (autostart.isOn) return {Verdict::ok, "starts when you log in: " + autostart.path};
    return {Verdict::ok, "does not start by itself when you log in (orvane --autostart on)"};
}

class Lines {
  public:
    /// `judge` is given the fact, when there is one; a question without a meaning here gets no line.
    template <typename Fact, typename Judge>
    void add(const char* id, const char* title, bool isRequired, const Answer<Fact>& answer, Judge judge) {
        if (!answer.fact && !answer.isLate) return;
        Finding finding = answer.fact ? judge(*answer.fact) : Finding{Verdict::unknown, noAnswer};
        lines_.push_back(
            {id, title, finding.verdict, std::move(finding.found), std::move(finding.advice), isRequired});
    }
    std::vector<CheckLine> take() { return std::move(lines_); }

  private:
    std::vector<CheckLine> lines_;
};

const char* word(Verdict verdict) {
    switch (verdict) {
        case Verdict::ok:
            return "ok";
        case Verdict::missing:
            return "missing";
        case Verdict::unknown:
            break;
    }
    return "unknown";
}

std::string padded(std::string text, std::size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

std::string jsonText(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : harmless(text)) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
}

}  // namespace

CheckReport CheckReport::judge(const CheckFacts& facts) {
    Lines lines;
    const Remedies& remedies = facts.remedies;
    lines.add("server", "Audio server", true, facts.server,
              [&](ProgramPresence presence) { return judgeServer(facts.serverPath, presence); });
    lines.add("port", "TCP port", true, facts.port,
              [&](const PortFacts& port) { return judgePort(facts.portNumber, port); });
    lines.add("settings", "Settings folder", true, facts.settingsObstacle, [&](const std::string& obstacle) {
        return judgeSettings(facts.settingsFolder, obstacle, facts.settingsWritableByAll.fact);
    });
    lines.add("sound", "Sound server", true, facts.sound, judgeSoundServer);
    lines.add("loopback", "Loopback device", true, facts.sound,
              [&](const SoundFacts& sound) { return judgeLoopback(sound, remedies); });
    lines.add("surface", "Shown as", true, facts.surface, judgeSurface);
    lines.add("adb", "Android tools", false, facts.adb,
              [&](const AdbFacts& adb) { return judgeAdb(adb, remedies); });
    lines.add("phones", "Phones on USB", false, facts.adb,
              [&](const AdbFacts& adb) { return judgePhones(adb, remedies); });
    lines.add("bluetooth", "Bluetooth", false, facts.bluetooth,
              [&](const BluetoothFacts& bluetooth) { return judgeBluetooth(bluetooth, remedies); });
    lines.add("pairing", "Paired phones", false, facts.bluetooth, [&](const BluetoothFacts& bluetooth) {
        return judgePairing(bluetooth, facts.chosenPhone.fact);
    });
    lines.add("autostart", "At login", false, facts.autostart, judgeAutostart);
    return {lines.take()};
}

bool CheckReport::canRun() const {
    return std::ranges::all_of(
        lines, [](const CheckLine& line) { return !line.isRequired || line.verdict == Verdict::ok; });
}

std::string CheckReport::table() const {
    constexpr std::size_t verdictWidth = 9;
    constexpr std::size_t titleWidth = 17;
    std::string text;
    for (const CheckLine& line : lines) {
        text +=
            padded(word(line.verdict), verdictWidth) + padded(line.title, titleWidth) + harmless(line.found);
        if (!line.advice.empty()) text += "  →  " + harmless(line.advice);
        text += '\n';
    }
    return text;
}

std::string CheckReport::json() const {
    std::string text = std::string("{\"canRun\": ") + (canRun() ? "true" : "false") + ", \"things\": [";
    const char* separator = "\n";
    for (const CheckLine& line : lines) {
        text += separator;
        text += "  {\"id\": " + jsonText(line.id) + ", \"title\": " + jsonText(line.title) +
                ", \"verdict\": " + jsonText(word(line.verdict)) +
                ", \"required\": " + (line.isRequired ? "true" : "false") +
                ", \"found\": " + jsonText(line.found) + ", \"advice\": " + jsonText(line.advice) + "}";
        separator = ",\n";
    }
    return text + "\n]}\n";
}

}  // namespace orvane
