#include "menu/PhoneMenu.h"

#include "menu/DeviceMenu.h"
#include "text/Case.h"
#include "text/Format.h"

#include <algorithm>

namespace orvane {

namespace {

constexpr std::int64_t maxPairs = 512;

void addDisabled(Menu& menu, const std::string& title) {
    menu.add(title)->setEnabled(false);
}

void addChannelRows(Menu& menu, const PhoneSession& phone, std::int64_t pairCount) {
    for (std::int64_t pair = 0; pair < pairCount; ++pair) {
        const auto row = menu.add(pairLabel(pair), MenuAction::pickPhoneChannel);
        row->setChecked(2 * pair + 1 == phone.firstChannel);
        row->setRepresentedObject(ChannelChoice{phone.deviceId, static_cast<int>(pair)});
    }
}

}  // namespace

std::string phoneSignature(std::span<const PhoneSession> phones) {
    std::string signature;
    for (const auto& phone : phones) {
        if (&phone != phones.data()) signature += '|';
        signature += std::to_string(phone.deviceId) + ':' + std::to_string(phone.firstChannel) + ':';
        signature += phone.name;
        signature += phone.xruns >= 1 ? ":true" : ":false";
    }
    return signature;
}

std::string phonesTitle(std::size_t count) {
    return "Phones: " + std::to_string(count) + " connected";
}

std::string phoneRowTitle(const PhoneSession& phone) {
    std::string title = phone.name + "   →   ch " + phone.channelLabel();
    if (phone.xruns >= 1) title += "  ⚠ " + std::to_string(phone.xruns);
    return title;
}

std::shared_ptr<Menu> makePhoneMenu(std::span<const PhoneSession> phones, MenuTarget* target,
                                    MenuDelegate* delegate) {
    auto menu = std::make_shared<Menu>();
    for (const auto& phone : phones) {
        const auto details = std::make_shared<PhoneDetailMenu>();
        details->deviceId = phone.deviceId;
        details->setTarget(target);
        details->setDelegate(delegate);
        menu->add(phoneRowTitle(phone))->setSubmenu(details);
    }
    return menu;
}

std::string pairLabel(std::int64_t pair) {
    return std::to_string(2 * pair + 1) + "–" + std::to_string(2 * pair + 2);
}

std::int64_t offeredPairs(std::span<const LoopbackDevice> devices) {
    const auto* active = activeDevice(devices);
    return active ? std::min(active->stereoPairs(), maxPairs) : 1;
}

void fillPhoneDetailMenu(Menu& menu, const PhoneSession& phone, std::int64_t pairCount) {
    menu.removeAllItems();
    addDisabled(menu, "Send to channels");
    addChannelRows(menu, phone, pairCount);
    menu.addSeparator();
    addDisabled(menu, "Buffer " + std::to_string(phone.bufferMs) + " ms (target " +
                          std::to_string(phone.targetMs) + " ms)");
    addDisabled(menu, "Profile: " + phone.preset + " · " + uppercased(phone.format));
    if (phone.netDelayMs >= 0)
        addDisabled(menu, "Network delay " + fixedDecimal(phone.netDelayMs, 1) + " ms");
    if (phone.rttMs > 0) addDisabled(menu, "Round trip " + fixedDecimal(phone.rttMs, 1) + " ms");
    addDisabled(menu,
                "Dropouts " + std::to_string(phone.xruns) + " · packets " + std::to_string(phone.packets));
    addDisabled(menu, "Address " + phone.label);
}

}  // namespace orvane
