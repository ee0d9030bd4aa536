// Whatever adb and the phone behind it print: the USB row stays one line of bounded length, and the phone can
// neither speak for the server nor stop the program.
#include "app/AppDelegate.h"
#include "support/ScriptedAdb.h"
#include "text/Characters.h"
#include "text/Lines.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

namespace {

using namespace orvane;

constexpr std::size_t usbRow = 5;
/// "USB: standing aside for Bluetooth — " and a name.
constexpr std::size_t maxTitle = 36 + 128;

void require(bool condition) {
    if (!condition) std::abort();
}

/// Cuts what the next command prints off the front of `script`: a byte with its length, then the text.
std::string takeAnswer(std::string_view& script) {
    if (script.empty()) return {};
    const auto length = static_cast<unsigned char>(script.front());
    script.remove_prefix(1);
    const std::string answer(script.substr(0, length));
    script.remove_prefix(answer.size());
    return answer;
}

void check(test::TestPlatform& system, const AppDelegate& delegate) {
    const std::string& title = system.application.statusItem->menu->items().at(usbRow)->title();
    require(title.starts_with("USB: "));
    require(std::ranges::none_of(title, [](char c) { return static_cast<unsigned char>(c) < 0x20; }));
    require(CharacterCounter().count(title) <= maxTitle);
    forEachLine(delegate.log().text(),
                [](std::string_view line) { require(line.starts_with("USB tunnel ready — ")); });
    require(delegate.phones().empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view script(reinterpret_cast<const char*>(data), size);
    test::TestPlatform system;
    system.fileManager.executables.insert(test::ScriptedAdb::path);
    system.processes.onLaunch = [&script](test::ScriptedTask& task) {
        if (task.executable != test::ScriptedAdb::path) return;
        task.print(takeAnswer(script));
        task.exit(0);
    };
    const auto delegate = std::make_shared<AppDelegate>(system.platform);
    delegate->applicationDidFinishLaunching();
    for (int probes = 0; probes < 16 && !script.empty(); ++probes) {
        system.threads.runQueued();
        system.runLoop.advance(2.0);
        check(system, *delegate);
    }
    return 0;
}
