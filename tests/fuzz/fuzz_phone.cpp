// A hostile phone from end to end: its name, its service records, how its channel opens and closes, and the
// frames on it, in any order. The row stays one line, one channel is open at a time, and what the phone says
// is nobody else's line.
#include "app/AppDelegate.h"
#include "support/TestBluetooth.h"
#include "support/TestPlatform.h"
#include "text/Characters.h"
#include "text/HarmlessText.h"
#include "text/Lines.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace {

using namespace orvane;

constexpr char address[] = "aa-bb-cc-dd-ee-01";
constexpr std::size_t bluetoothRow = 6;
/// "Bluetooth: streaming from " or the like, and a name.
constexpr std::size_t maxTitle = 64 + maxNameCharacters;
/// Nobody listens there, so an attached phone is told that the receiver is not accepting connections.
constexpr std::uint16_t closedPort = 1;
constexpr BluetoothUuid service{0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                                0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};

void require(bool condition) {
    if (!condition) std::abort();
}

class HostilePhone {
  public:
    HostilePhone() {
        system_.userDefaults.setString(address, "btDevice");
        phone_ = bluetooth_.addDevice(address, "Pixel", true);
        delegate_->applicationDidFinishLaunching();
        system_.runLoop.runPending();
    }

    /// One step: a byte that says what, a byte with a length, and so many bytes to do it with.
    void step(std::span<const std::uint8_t> step) {
        const auto length = std::min<std::size_t>(step.size() > 1 ? step[1] : 0,
                                                  step.size() - std::min<std::size_t>(step.size(), 2));
        const auto bytes = step.subspan(std::min<std::size_t>(step.size(), 2), length);
        const std::uint8_t number = bytes.empty() ? 0 : bytes.front();
        const auto channel = phone_->lastChannel();
        switch (step.front() % 9) {
            case 0:
                phone_->nameValue =
                    nameFromOutside({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
                break;
            case 1:
                phone_->addRecord({service}, "Orvane", number);
                break;
            case 2:
                phone_->records.clear();
                break;
            case 3:
                phone_->completeQuery(number % 4 == 3 ? 1 : bluetoothSuccess);
                break;
            case 4:
                if (channel) channel->openComplete(number % 4 == 3 ? 1 : bluetoothSuccess);
                break;
            case 5:
                if (channel) channel->receive(bytes);
                break;
            case 6:
                if (channel) channel->closedByPhone();
                break;
            case 7:
                if (channel) channel->room = number;
                break;
            default:
                system_.runLoop.advance(3.0);
                break;
        }
        system_.runLoop.runPending();
        check();
    }

    static std::size_t lengthOf(std::span<const std::uint8_t> steps) {
        return std::min<std::size_t>(steps.size(), 2 + (steps.size() > 1 ? steps[1] : 0));
    }

  private:
    void check() {
        const auto& items = system_.application.statusItem->menu->items();
        require(items.size() == 18);
        const std::string& title = items.at(bluetoothRow)->title();
        require(title.starts_with("Bluetooth: "));
        require(std::ranges::none_of(title, [](char c) { return static_cast<unsigned char>(c) < 0x20; }));
        require(CharacterCounter().count(title) <= maxTitle);
        const auto open = std::ranges::count(phone_->channels, 0, &test::TestRfcommChannel::closeCount);
        require(open <= 1);
        forEachLine(delegate_->log().text(),
                    [](std::string_view line) { require(line.starts_with("Bluetooth link live — ")); });
    }

    test::TestPlatform system_;
    test::TestBluetooth bluetooth_;
    std::shared_ptr<test::TestBluetoothDevice> phone_;
    std::shared_ptr<AppDelegate> delegate_ =
        std::make_shared<AppDelegate>(system_.with(system_.threads, bluetooth_), closedPort);
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::span<const std::uint8_t> steps(data, size);
    HostilePhone phone;
    for (int count = 0; count < 200 && !steps.empty(); ++count) {
        phone.step(steps);
        steps = steps.subspan(HostilePhone::lengthOf(steps));
    }
    return 0;
}
