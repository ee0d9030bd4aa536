// The main menu. An accessory shows none; it is there for its keys, which work in the log window.
#pragma once

namespace orvane {

void installMainMenu();

}  // namespace orvane
