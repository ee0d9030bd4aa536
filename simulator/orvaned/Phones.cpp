#include "Phones.h"

#include <algorithm>
#include <cstdio>
#include <set>

namespace orvaned {

namespace {

std::string decimal(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", number);
    return text;
}

std::string record(const Phone& phone) {
    std::string line = "session:";
    const auto field = [&](const std::string& text) { line += "\t" + text; };
    field(std::to_string(phone.slot));
    field(std::to_string(2 * phone.pair + 1));
    field(std::to_string(phone.packets));
    field(std::to_string(phone.bufferMs));
    field(std::to_string(phone.targetMs));
    field(std::to_string(phone.dropouts));
    field(decimal(phone.roundTripMs));
    field(decimal(phone.networkDelayMs));
    field("voice");
    field(phone.silent ? "(silent)" : phone.address);
    field("48k s16 mono");
    field(std::to_string(phone.deviceId));
    field(phone.name);
    return line + "\n";
}

}  // namespace

void Phones::add(Phone phone) {
    auto place = phones_.begin();
    for (phone.slot = 0; place != phones_.end() && place->slot == phone.slot; ++place)
        ++phone.slot;
    phones_.insert(place, std::move(phone));
}

void Phones::remove(std::uint32_t deviceId) {
    std::erase_if(phones_, [&](const Phone& phone) { return phone.deviceId == deviceId; });
}

Phone* Phones::find(std::uint32_t deviceId) {
    const auto found = std::find_if(phones_.begin(), phones_.end(),
                                    [&](const Phone& phone) { return phone.deviceId == deviceId; });
    return found == phones_.end() ? nullptr : &*found;
}

void Phones::arrange(const std::map<std::uint32_t, int>& pinned, int firstPair, int pairs) {
    std::set<int> taken;
    const auto pinOf = [&](const Phone& phone) {
        const auto pin = pinned.find(phone.deviceId);
        return pin != pinned.end() && pin->second < pairs ? pin->second : -1;
    };
    for (Phone& phone : phones_) {
        phone.pair = pinOf(phone);
        if (phone.pair >= 0) taken.insert(phone.pair);
    }
    for (Phone& phone : phones_) {
        if (phone.pair >= 0) continue;
        phone.pair = (firstPair + phone.slot) % pairs;
        for (int step = 0; step < pairs; ++step) {
            const int pair = (firstPair + step) % pairs;
            if (!taken.insert(pair).second) continue;
            phone.pair = pair;
            break;
        }
    }
}

std::string Phones::block() const {
    std::string text = "sessions: " + std::to_string(phones_.size()) + "\n";
    for (const Phone& phone : phones_)
        text += record(phone);
    return text + (phones_.empty() ? "phone=waiting\n" : "phone=yes\n");
}

}  // namespace orvaned
