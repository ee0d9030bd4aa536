#include "Simulator.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>

#include <unistd.h>

namespace orvaned {

namespace {

/// Real connections count from here, so that their ids never meet those of pretended phones.
constexpr std::uint32_t firstConnectionId = 1001;
constexpr std::array names = {"Kitchen", "Desk",        "Studio", "R&D _spare",
                              "Balcony", "Zoë’s phone", "Hall 🎤", "Car"};

std::uint32_t phoneId(Listener::Id connection) {
    return firstConnectionId + static_cast<std::uint32_t>(connection);
}

/// A reader that has gone needs no server any more.
void say(const std::string& lines) {
    for (std::size_t written = 0; written < lines.size();) {
        const ssize_t count = write(STDOUT_FILENO, lines.data() + written, lines.size() - written);
        if (count < 0 && errno != EINTR) std::_Exit(0);
        if (count > 0) written += static_cast<std::size_t>(count);
    }
}

Phone pretendedPhone(int index) {
    Phone phone;
    phone.deviceId = static_cast<std::uint32_t>(index + 1);
    phone.name = index < static_cast<int>(names.size()) ? names[static_cast<std::size_t>(index)]
                                                        : "Phone " + std::to_string(index + 1);
    phone.address = "192.0.2." + std::to_string(10 + index % 240);
    phone.networkDelayMs = index % 3 == 2 ? -1 : 4;
    return phone;
}

}  // namespace

Simulator::Simulator(Options options)
    : options_(std::move(options)),
      listener_({.joined =
                     [this](Listener::Id id, const std::string& address) {
                         Phone phone;
                         phone.deviceId = phoneId(id);
                         phone.name = "Phone at " + address;
                         phone.address = address;
                         phone.silent = true;
                         phones_.add(phone);
                         say("orvaned: a phone has connected from " + address + "\n");
                         rearrange();
                     },
                 .sent =
                     [this](Listener::Id id, std::size_t bytes) {
                         Phone* phone = phones_.find(phoneId(id));
                         phone->packets += bytes;
                         phone->silent = false;
                     },
                 .left =
                     [this](Listener::Id id) {
                         say("orvaned: " + phones_.find(phoneId(id))->name + " has gone\n");
                         phones_.remove(phoneId(id));
                         rearrange();
                     }},
                options_.echo) {}

int Simulator::run() {
    introduce();
    if (const auto error = listener_.open(options_.port)) {
        say("orvaned: cannot listen on 127.0.0.1:" + std::to_string(options_.port) + ": " + *error +
            ". Is another server running?\n");
        return 1;
    }
    output_ = settings_.output();
    settings_.channelsChanged();
    lateDeviceThere_ = options_.lateDeviceAfter == 0;

    say("pairing code: " + settings_.pairingCode() + "\n");
    say(output_.alignment ? "orvaned: align=on\n" : "orvaned: align=off\n");
    reportRouting();
    reportDevices();
    rearrange();

    timers_.every(options_.reportEvery, [this] { reportPhones(); });
    timers_.every(5, [this] { reportDevices(); });
    timers_.every(0.2, [this] { followChannels(); });
    if (options_.wrongCodeEvery > 0) timers_.every(options_.wrongCodeEvery, [this] { rejectCode(); });
    if (!lateDeviceThere_) {
        timers_.after(options_.lateDeviceAfter, [this] {
            lateDeviceThere_ = true;
            reportRouting();
            reportDevices();
            rearrange();
        });
    }
    for (int index = 0; index < options_.phones; ++index) {
        timers_.after(options_.arriveEvery * (index + 1), [this, index] { pretendPhone(index); });
    }
    while (true) {
        listener_.wait(timers_.untilNext());
        timers_.runDue();
    }
}

void Simulator::introduce() {
    std::string text =
        "orvaned: this is a SIMULATOR of the audio server: it receives no sound and plays none.\n"
        "orvaned: what it pretends is set by environment variables (default in parentheses):\n" +
        describeVariables();
    for (const auto& complaint : options_.complaints)
        text += "orvaned: " + complaint + "\n";
    say(text);
}

std::vector<Device> Simulator::presentDevices() const {
    auto devices = options_.devices;
    if (!lateDeviceThere_ && !devices.empty()) devices.pop_back();
    return devices;
}

/// The chosen device, or the first one while that is not there.
std::optional<Device> Simulator::activeDevice() const {
    const auto devices = presentDevices();
    if (devices.empty()) return std::nullopt;
    const auto chosen = std::find_if(devices.begin(), devices.end(),
                                     [&](const Device& device) { return device.uid == output_.uid; });
    return chosen == devices.end() ? devices.front() : *chosen;
}

void Simulator::reportRouting() {
    const auto device = activeDevice();
    say(device ? "orvaned: routing to VIRTUAL " + device->name + "\n"
               : "orvaned: routing to default-output\n");
}

void Simulator::reportDevices() {
    const auto devices = presentDevices();
    const auto active = activeDevice();
    std::string text = "devices: " + std::to_string(devices.size()) + "\n";
    for (const Device& device : devices) {
        const bool isActive = active && active->uid == device.uid;
        text += std::string("device:\t") + (isActive ? "1" : "0") + "\t" + std::to_string(device.channels) +
                "\t" + std::to_string(output_.firstChannel) + "\t" + device.uid + "\t" + device.name + "\n";
    }
    say(text);
}

void Simulator::reportPhones() {
    movePretendedFigures();
    if (reportsToSkip_ > 0) {
        --reportsToSkip_;
        return;
    }
    say(phones_.block());
    if (++ticks_ % 10 == 0) say("orvaned: mixing, " + std::to_string(phones_.all().size()) + " on air\n");
}

void Simulator::rejectCode() {
    const bool locked = ++wrongCodes_ % 3 == 0;
    say(locked ? "orvaned: pairing: too many wrong codes from 192.0.2.99\n"
               : "orvaned: pairing: REJECTED 192.0.2.99\n");
    reportsToSkip_ = 3;
}

void Simulator::followChannels() {
    if (!settings_.channelsChanged()) return;
    say("orvaned: the file \"channels\" has changed\n");
    rearrange();
}

void Simulator::pretendPhone(int index) {
    const Phone phone = pretendedPhone(index);
    phones_.add(phone);
    say("orvaned: " + phone.name + " has connected\n");
    rearrange();
    if (options_.stay == 0) return;
    timers_.after(options_.stay, [this, index, phone] {
        phones_.remove(phone.deviceId);
        say("orvaned: " + phone.name + " has gone\n");
        rearrange();
        timers_.after(options_.arriveEvery, [this, index] { pretendPhone(index); });
    });
}

/// Figures that move as those of a real phone would; every third phone drops out now and then.
void Simulator::movePretendedFigures() {
    for (const Phone& each : phones_.all()) {
        if (each.deviceId >= firstConnectionId) continue;
        Phone& phone = *phones_.find(each.deviceId);
        const double wave = std::sin(ticks_ * 0.7 + phone.deviceId);
        phone.packets += static_cast<std::uint64_t>(100 * options_.reportEvery);
        phone.bufferMs = phone.targetMs + static_cast<int>(4 * wave);
        phone.roundTripMs = 9 + 3 * wave;
        if (phone.networkDelayMs >= 0) phone.networkDelayMs = 4 + 1.5 * wave;
        if (phone.deviceId % 3 == 2 && ticks_ % 20 == 19) ++phone.dropouts;
    }
}

void Simulator::rearrange() {
    const auto device = activeDevice();
    const int pairs = device ? std::max(1, device->channels / 2) : 1;
    phones_.arrange(settings_.pinnedPairs(), (output_.firstChannel - 1) / 2 % pairs, pairs);
    say(phones_.block());
}

}  // namespace orvaned
