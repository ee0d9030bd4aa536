// What the Bluetooth submenu says. Pure: the offers in, rows out.
#pragma once

#include "model/BluetoothOffer.h"
#include "platform/Menu.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// What the submenu shows.
struct BluetoothChoices {
    std::vector<BluetoothOffer> offering;
    std::optional<std::string> chosenAddress;
    std::string chosenName;
    bool operator==(const BluetoothChoices&) const = default;
    /// True when the rows are the same, in whatever order.
    bool hasRowsOf(const BluetoothChoices& other) const;
};

/// "Off", then a row for each phone on offer, the chosen one checked. The chosen phone is always there, as
/// `chosenName` when it is not on offer. The row's represented object is the phone's address; that of "Off"
/// is empty. `target` carries out `MenuAction::pickBluetooth`; it is not owned.
std::shared_ptr<Menu> makeBluetoothMenu(BluetoothChoices choices, MenuTarget* target);

}  // namespace orvane
