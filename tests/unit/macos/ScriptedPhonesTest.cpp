#include "macos/driven/ScriptedPhones.h"
#include "support/TestRunLoop.h"

#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

class Listener : public BluetoothQueryTarget, public RfcommChannelDelegate {
  public:
    void sdpQueryComplete(const std::shared_ptr<BluetoothDevice>&, BluetoothStatus status) override {
        heard += "query " + std::to_string(status) + ";";
    }
    void rfcommChannelOpenComplete(const std::shared_ptr<RfcommChannel>&, BluetoothStatus status) override {
        heard += "open " + std::to_string(status) + ";";
    }
    void rfcommChannelData(const std::shared_ptr<RfcommChannel>&,
                           std::span<const std::uint8_t> bytes) override {
        heard += "data " + std::string(1, static_cast<char>(bytes.front())) + ";";
    }
    void rfcommChannelQueueSpaceAvailable(const std::shared_ptr<RfcommChannel>&) override {}
    void rfcommChannelClosed(const std::shared_ptr<RfcommChannel>&) override { heard += "closed;"; }

    std::string heard;
};

}  // namespace

class ScriptedPhonesTest : public testing::Test {
  protected:
    TestRunLoop loop;
    ScriptedPhones phones{loop};
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

TEST_F(ScriptedPhonesTest, APairedPhoneOffersTheServiceOnceItHasBeenAsked) {
    EXPECT_TRUE(phones.pairedDevices().empty());
    phones.pair("aa", "Pixel");
    const auto device = phones.pairedDevices().at(0);
    EXPECT_EQ(phones.deviceWithAddress("aa"), device);
    EXPECT_TRUE(device->isConnected());
    device->performSdpQuery(listener);
    EXPECT_EQ(listener->heard, "");
    loop.runPending();
    EXPECT_EQ(listener->heard, "query 0;");
    EXPECT_EQ(device->services().at(0)->serviceName(), "Orvane");
}

TEST_F(ScriptedPhonesTest, ItsChannelOpensLaterAndDoesWhatItIsTold) {
    phones.pair("aa", "Pixel");
    const auto phone = phones.phone();
    EXPECT_FALSE(phone->attach());
    std::shared_ptr<RfcommChannel> channel;
    EXPECT_EQ(phone->openRfcommChannelAsync(channel, 7, listener), bluetoothSuccess);
    EXPECT_EQ(listener->heard, "");
    loop.runPending();
    EXPECT_TRUE(phone->attach());
    EXPECT_TRUE(phone->hangUp());
    EXPECT_EQ(listener->heard, "open 0;data A;closed;");
}

TEST_F(ScriptedPhonesTest, NothingIsSaidOnAChannelThatTheAppHasClosed) {
    phones.pair("aa", "Pixel");
    std::shared_ptr<RfcommChannel> channel;
    phones.phone()->openRfcommChannelAsync(channel, 7, listener);
    loop.runPending();
    channel->closeChannel();
    EXPECT_FALSE(phones.phone()->attach());
    EXPECT_FALSE(phones.phone()->hangUp());
}

}  // namespace orvane::test
