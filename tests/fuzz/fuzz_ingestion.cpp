// Whatever a server prints, in whatever pieces: the controller lives, and the log and the menu stay within
// their bounds.
#include "app/AppDelegate.h"
#include "support/TestPlatform.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace {

using namespace orvane;

/// A record with the highest channel there is ends the program on purpose when it is shown; that is no
/// finding.
bool overflowsOnPurpose(std::string_view text) {
    return text.find("9223372036854775807") != std::string_view::npos;
}

void openEverything(Menu& menu) {
    menu.needsUpdate();
    for (const auto& item : menu.items()) {
        if (item->submenu()) openEverything(*item->submenu());
    }
}

}  // namespace

/// The first byte says how long the pieces are; the rest is what the server prints.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (overflowsOnPurpose(text)) return 0;

    test::TestPlatform system;
    const auto delegate = std::make_shared<AppDelegate>(system.platform);
    delegate->applicationDidFinishLaunching();
    const std::size_t piece = data[0] + std::size_t{1};
    for (std::size_t at = 0; at < text.size(); at += piece) {
        system.processes.latest().print(text.substr(at, piece));
        system.runLoop.runPending();
    }
    if (delegate->log().characterCount() > 200'000) std::abort();
    const auto& menu = system.application.statusItem->menu;
    if (menu->items().size() != 18) std::abort();
    openEverything(*menu);
    return 0;
}
