// A bridge on scripted Bluetooth, virtual time and real reader threads: what the tests of the bridge share.
#pragma once

#include "bluetooth/BluetoothBridge.h"
#include "support/LoopbackBluetoothServer.h"
#include "support/TestBluetooth.h"
#include "support/TestPlatform.h"

#include <condition_variable>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <mutex>
#include <string_view>

namespace orvane::test {

/// Real threads that end by themselves, counted. Its end waits for theirs.
class CountedThreads : public RealThreads {
  public:
    bool start(const std::string& name, Block body) override;
    /// Waits until `count` threads run. False when that takes more than ten seconds.
    bool waitForRunning(int count);

    std::vector<std::string> names;  ///< Of all threads ever started.

    ~CountedThreads() override { waitForRunning(0); }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int running_ = 0;
};

using Bytes = std::vector<std::uint8_t>;

/// A frame as the phone sends it.
Bytes frame(char type, std::string_view payload = {});
Bytes operator+(Bytes left, const Bytes& right);
Bytes bytesOf(std::string_view text);

inline constexpr char pixelAddress[] = "aa-bb-cc-dd-ee-01";

class BluetoothBridgeSetup {
  protected:
    static constexpr BluetoothUuid serviceUuid{0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                                               0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};

    /// Makes the bridge, with "btDevice" set beforehand when an address is given.
    void make(const std::optional<std::string>& chosen = std::nullopt);
    /// Starts the bridge; what its handler hears is kept in `heard`.
    void start();
    /// A paired, connected phone "Pixel" at `pixelAddress` whose record shows the service on `channelIds`.
    std::shared_ptr<TestBluetoothDevice> addPixel(std::initializer_list<std::uint8_t> channelIds = {7});
    /// The usual way to an open channel: Pixel is chosen, queried and opened.
    void openPixel();
    void receive(const Bytes& bytes) { channel->receive(bytes); }
    /// Runs the main queue until `condition` holds. False after ten seconds without.
    bool eventually(const std::function<bool()>& condition);
    bool waitForState(const BtState& state) {
        return eventually([&] { return bridge->state() == state; });
    }
    bool logged(std::string_view line) const;

    TestPlatform roles;
    LoopbackBluetoothServer server;
    CountedThreads threads;
    TestBluetooth bluetooth;
    TestRunLoop& loop = roles.runLoop;
    Platform platform = roles.with(threads, bluetooth);
    BluetoothBridge::Roles bridgeRoles{loop, loop, threads, roles.userDefaults, roles.systemLog, bluetooth};
    std::shared_ptr<BluetoothBridge> bridge;
    std::shared_ptr<TestBluetoothDevice> pixel;
    std::shared_ptr<TestRfcommChannel> channel;
    std::vector<BtState> heard;
};

}  // namespace orvane::test

namespace orvane {
/// For the messages of failed tests.
void PrintTo(const BtState& state, std::ostream* out);
}  // namespace orvane
