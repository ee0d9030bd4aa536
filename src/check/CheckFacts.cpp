#include "check/CheckFacts.h"

#include "model/SettingsFiles.h"
#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/Threads.h"
#include "text/Lines.h"
#include "text/Trim.h"
#include "usb/AdbBridge.h"

#include <future>
#include <memory>
#include <utility>

namespace orvane {

namespace {

using Deadline = std::chrono::steady_clock::time_point;

constexpr std::chrono::milliseconds adbPatience{1000};  // For each of two commands.

template <typename Fact>
using Pending = std::future<std::optional<Fact>>;

template <typename Fact, typename Question>
Pending<Fact> ask(Threads& threads, const char* name, Question question) {
    auto promise = std::make_shared<std::promise<std::optional<Fact>>>();
    auto pending = promise->get_future();
    const bool isAsked =
        threads.start(name, [promise, question = std::move(question)] { promise->set_value(question()); });
    return isAsked ? std::move(pending) : Pending<Fact>();
}

template <typename Fact>
Answer<Fact> await(Pending<Fact>& pending, Deadline deadline) {
    const bool isAsked = pending.valid();  // Not where the system had no thread left.
    if (!isAsked || pending.wait_until(deadline) != std::future_status::ready)
        return {.isLate = true, .fact = {}};
    return {.isLate = false, .fact = pending.get()};
}

AdbFacts askAdb(const Inspection& inspection, const std::string& path) {
    AdbFacts facts;
    facts.path = path;
    if (path.empty()) return facts;
    if (const auto version = inspection.output(path, {"version"}, adbPatience))
        facts.version = trimWhitespaceAndNewlines(std::string_view(*version).substr(0, version->find('\n')));
    facts.daemonRuns = inspection.adbDaemonRuns();
    if (!facts.daemonRuns) return facts;
    if (const auto listing = inspection.output(path, {"devices"}, adbPatience))
        facts.phones = listedPhones(*listing);
    return facts;
}

std::string folderOf(const std::string& path) {
    return path.substr(0, path.rfind('/'));
}

std::string obstacleToSettings(const Inspection& look, const std::string& folder) {
    const auto obstacleIn = [&](const std::string& path, const std::vector<std::string>& names) {
        const std::string obstacle = look.obstacleToWriting(path, names);
        return obstacle.empty() ? "" : path + " " + obstacle;
    };
    const std::string own = look.settingsPath();
    if (auto obstacle = obstacleIn(folder, {"device", "channels", "pairing"});
        !obstacle.empty() || own.empty())
        return obstacle;
    return obstacleIn(folderOf(own), {own.substr(folderOf(own).size() + 1)});
}

}  // namespace

std::vector<AdbFacts::Phone> listedPhones(std::string_view listing) {
    std::vector<AdbFacts::Phone> phones;
    bool isHeader = true;
    forEachLine(listing, [&](std::string_view line) {
        const auto tab = line.find('\t');
        if (std::exchange(isHeader, false) || tab == std::string_view::npos || tab == 0) return;
        phones.push_back(
            {std::string(line.substr(0, tab)), std::string(trimWhitespaceAndNewlines(line.substr(tab + 1)))});
    });
    return phones;
}

CheckFacts collectFacts(const CheckSources& sources, std::uint16_t port, std::chrono::milliseconds patience) {
    const Deadline deadline = std::chrono::steady_clock::now() + patience;
    const Inspection& look = sources.inspection;
    Threads& threads = sources.threads;
    FileManager& files = sources.fileManager;
    const Bundle& bundle = sources.bundle;

    CheckFacts facts;
    facts.serverPath = folderOf(bundle.executablePath) + "/orvaned";
    facts.portNumber = port;
    facts.settingsFolder = SettingsFiles(files).folder();

    auto server = ask<ProgramPresence>(threads, "check.server",
                                       [&look, path = facts.serverPath] { return look.program(path); });
    auto holder = ask<PortFacts>(threads, "check.port", [&look, port] { return look.port(port); });
    auto settings = ask<std::string>(threads, "check.folder", [&look, path = facts.settingsFolder] {
        return obstacleToSettings(look, path);
    });
    auto openToAll = ask<std::vector<std::string>>(
        threads, "check.modes", [&look, path = facts.settingsFolder] { return look.writableByAll(path); });
    auto adb = ask<AdbFacts>(threads, "check.adb", [&look, &bundle, &files] {
        return askAdb(look, AdbBridge::findAdb(bundle, files).value_or(""));
    });
    auto bluetooth = ask<BluetoothFacts>(threads, "check.bluetooth", [&look] { return look.bluetooth(); });
    // The key under which the Bluetooth bridge keeps it.
    auto chosen = ask<std::string>(threads, "check.settings", [&look] { return look.setting("btDevice"); });
    auto sound = ask<SoundFacts>(threads, "check.sound", [&look] { return look.sound(); });
    auto surface = ask<SurfaceFacts>(threads, "check.surface", [&look] { return look.surface(); });
    auto autostart = ask<AutostartFacts>(threads, "check.autostart", [&look] { return look.autostart(); });

    facts.server = await(server, deadline);
    facts.port = await(holder, deadline);
    facts.settingsObstacle = await(settings, deadline);
    facts.settingsWritableByAll = await(openToAll, deadline);
    facts.adb = await(adb, deadline);
    facts.bluetooth = await(bluetooth, deadline);
    facts.chosenPhone = await(chosen, deadline);
    facts.sound = await(sound, deadline);
    facts.surface = await(surface, deadline);
    facts.autostart = await(autostart, deadline);
    return facts;
}

}  // namespace orvane
