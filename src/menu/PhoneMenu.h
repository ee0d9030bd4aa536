// What the phones row and its submenus say. Pure: records in, texts and rows out.
#pragma once

#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"
#include "platform/Menu.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace orvane {

/// What of the phones shows in the phone menu itself; statistics are left out, so that they never rebuild it.
std::string phoneSignature(std::span<const PhoneSession> phones);

/// "Phones: 3 connected".
std::string phonesTitle(std::size_t count);

/// "Kitchen   →   ch 3–4  ⚠ 2".
std::string phoneRowTitle(const PhoneSession& phone);

/// A row for each phone with a submenu for its details, filled by `delegate` when it opens. Neither pointer
/// is owned.
std::shared_ptr<Menu> makePhoneMenu(std::span<const PhoneSession> phones, MenuTarget* target,
                                    MenuDelegate* delegate);

/// The stereo pair p as its two channel numbers: "3–4" for pair 1.
std::string pairLabel(std::int64_t pair);

/// How many stereo pairs a phone can be sent to: those of the active device, or one. Never more than a menu
/// can hold, whatever a device claims.
std::int64_t offeredPairs(std::span<const LoopbackDevice> devices);

/// Fills the submenu of `phone` anew: the channel pairs to choose from, then its figures.
void fillPhoneDetailMenu(Menu& menu, const PhoneSession& phone, std::int64_t pairCount);

}  // namespace orvane
