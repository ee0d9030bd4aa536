#include "menu/BluetoothMenu.h"

#include <algorithm>
#include <utility>

namespace orvane {

namespace {

void addChoice(Menu& menu, const std::string& title, const std::string& address, bool chosen) {
    const auto row = menu.add(title, MenuAction::pickBluetooth);
    row->setRepresentedObject(address);
    row->setChecked(chosen);
}

}  // namespace

bool BluetoothChoices::hasRowsOf(const BluetoothChoices& other) const {
    return chosenAddress == other.chosenAddress && chosenName == other.chosenName &&
           std::ranges::is_permutation(offering, other.offering);
}

std::shared_ptr<Menu> makeBluetoothMenu(BluetoothChoices choices, MenuTarget* target) {
    auto offering = std::move(choices.offering);
    const auto& chosenAddress = choices.chosenAddress;
    auto menu = std::make_shared<Menu>();
    menu->setTarget(target);
    addChoice(*menu, "Off", "", !chosenAddress);
    menu->addSeparator();

    const auto isChosen = [&](const BluetoothOffer& offer) {
        return chosenAddress && sameAddress(offer.address, *chosenAddress);
    };
    if (chosenAddress && std::ranges::none_of(offering, isChosen))
        offering.push_back({*chosenAddress, choices.chosenName});
    for (const auto& offer : offering)
        addChoice(*menu, offer.name, offer.address, isChosen(offer));

    if (offering.empty()) {
        menu->add("No phone is offering Orvane")->setEnabled(false);
        menu->add("Open Orvane on the phone and choose Bluetooth")->setEnabled(false);
    }
    return menu;
}

}  // namespace orvane
