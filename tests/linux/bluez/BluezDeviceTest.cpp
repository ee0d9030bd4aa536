// A device as BlueZ describes it, and the queries on it.
#include "linux/bluez/BluezDevice.h"
#include "support/TestRunLoop.h"
#include "support/TestThreads.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct Target : BluetoothQueryTarget {
    void sdpQueryComplete(const std::shared_ptr<BluetoothDevice>&, BluetoothStatus status) override {
        statuses.push_back(status);
    }
    std::vector<BluetoothStatus> statuses;
};

class BluezDeviceTest : public testing::Test {
  protected:
    BluezDeviceTest() {
        device->update({{"Address", "00:1A:7D:DA:71:13"},
                        {"AddressType", "public"},
                        {"Alias", "Pixel"},
                        {"Name", "Pixel 9"},
                        {"Paired", true},
                        {"Bonded", true},
                        {"Connected", false}});
    }

    /// Lets every query that has been started come to its end; there is no Bluetooth to answer it.
    void endQueries() {
        for (auto& [name, body] : std::exchange(threads.started, {}))
            body();
        mainQueue.runPending();
    }

    TestRunLoop mainQueue;
    TestThreads threads;
    int disconnects = 0;
    std::shared_ptr<BluezDevice> device = std::make_shared<BluezDevice>(
        BluezDevice::Context{mainQueue, threads, [] { return bdaddr_t{}; }, [this] { ++disconnects; }});
};

TEST_F(BluezDeviceTest, ShowsTheNameThatTheUserGaveIt) {
    EXPECT_EQ(device->addressString(), "00:1A:7D:DA:71:13");
    EXPECT_EQ(device->name(), "Pixel");
}

TEST_F(BluezDeviceTest, AnAliasMadeOfTheAddressIsNoName) {
    device->update({{"Alias", "00-1A-7D-DA-71-13"}});
    EXPECT_EQ(device->name(), "Pixel 9");
    const auto nameless = std::make_shared<BluezDevice>(
        BluezDevice::Context{mainQueue, threads, [] { return bdaddr_t{}; }, {}});
    nameless->update({{"Address", "00:1A:7D:DA:71:13"}, {"Alias", "00-1A-7D-DA-71-13"}});
    EXPECT_EQ(nameless->name(), std::nullopt);
}

TEST_F(BluezDeviceTest, ANameIsOneLineWhateverThePhoneCallsItself) {
    device->update({{"Alias", "Pixel\nsessions: 1\u202E"}});
    EXPECT_EQ(device->name(), "Pixel sessions: 1");
    device->update({{"Alias", " \n\t"}});
    EXPECT_EQ(device->name(), "Pixel 9");
}

TEST_F(BluezDeviceTest, AChangeLeavesWhatItDoesNotName) {
    device->update({{"Connected", true}});
    EXPECT_TRUE(device->isConnected());
    EXPECT_TRUE(device->isPaired());
    EXPECT_EQ(device->name(), "Pixel");
}

TEST_F(BluezDeviceTest, APairingForTheMomentIsNone) {
    device->update({{"Bonded", false}});
    EXPECT_FALSE(device->isPaired());
}

TEST_F(BluezDeviceTest, AnOlderBluezThatDoesNotTellOfBondsHasPairedDevices) {
    const auto older = std::make_shared<BluezDevice>(
        BluezDevice::Context{mainQueue, threads, [] { return bdaddr_t{}; }, {}});
    older->update({{"Address", "00:1A:7D:DA:71:13"}, {"Paired", true}});
    EXPECT_TRUE(older->isPaired());
}

TEST_F(BluezDeviceTest, ALowEnergyDeviceIsNotOffered) {
    device->update({{"AddressType", "random"}});
    EXPECT_FALSE(device->isPaired());
}

TEST_F(BluezDeviceTest, ALowEnergyDeviceWithAPublicAddressIsNotOffered) {
    device->update({{"UUIDs", QStringList{"00001800-0000-1000-8000-00805f9b34fb",
                                          "00001812-0000-1000-8000-00805F9B34FB"}}});
    EXPECT_FALSE(device->isPaired()) << "a mouse";
    device->update({{"Class", 0x5A020CU}});
    EXPECT_TRUE(device->isPaired()) << "a class of device is of a classic radio";
}

TEST_F(BluezDeviceTest, ADeviceWithAClassicServiceOrOneOfItsOwnIsOffered) {
    device->update({{"UUIDs", QStringList()}});
    EXPECT_FALSE(device->isPaired());
    device->update({{"UUIDs", QStringList{"00001812-0000-1000-8000-00805f9b34fb",
                                          "0000110a-0000-1000-8000-00805f9b34fb"}}});
    EXPECT_TRUE(device->isPaired());
    device->update({{"UUIDs", QStringList{"4f727661-6e65-0001-8000-00805f9b34fb"}}});
    EXPECT_TRUE(device->isPaired());
}

TEST_F(BluezDeviceTest, WithoutAThreadTheQueryFailsLater) {
    threads.hasThreads = false;
    const auto target = std::make_shared<Target>();
    device->performSdpQuery(target);
    EXPECT_TRUE(target->statuses.empty());
    mainQueue.runPending();
    EXPECT_EQ(target->statuses, std::vector<BluetoothStatus>{EAGAIN});
    threads.hasThreads = true;
    device->performSdpQuery(target);
    EXPECT_EQ(threads.started.size(), 1U) << "the next one may do better";
}

TEST_F(BluezDeviceTest, AForgottenDeviceIsNeitherPairedNorConnectedButKeepsItsName) {
    device->update({{"Connected", true}});
    device->forget();
    EXPECT_FALSE(device->isPaired());
    EXPECT_FALSE(device->isConnected());
    EXPECT_EQ(device->name(), "Pixel");
}

TEST_F(BluezDeviceTest, ClosingTheConnectionAsksBluez) {
    device->closeConnection();
    EXPECT_EQ(disconnects, 1);
}

TEST_F(BluezDeviceTest, AQueryWithoutBluetoothEndsWithAnErrnoAndNeverFromWithinTheCall) {
    const auto target = std::make_shared<Target>();
    device->performSdpQuery(target);
    EXPECT_TRUE(target->statuses.empty());
    endQueries();
    ASSERT_EQ(target->statuses.size(), 1U);
    EXPECT_GT(target->statuses.front(), 0);
    EXPECT_TRUE(device->services().empty());
}

TEST_F(BluezDeviceTest, QueriesForOneDeviceDoNotPileUp) {
    const auto first = std::make_shared<Target>();
    const auto second = std::make_shared<Target>();
    for (int tick = 0; tick < 10; ++tick)
        device->performSdpQuery(first);
    device->performSdpQuery(second);
    EXPECT_EQ(threads.started.size(), 1U);
    endQueries();
    EXPECT_EQ(first->statuses.size(), 1U);
    EXPECT_EQ(second->statuses.size(), 1U);

    device->performSdpQuery(first);
    EXPECT_EQ(threads.started.size(), 1U) << "the next one is a new one";
}

TEST_F(BluezDeviceTest, AFailedQueryKeepsTheRecordsOfTheLastGoodOneWhichTheNextGoodOneReplaces) {
    BluezSdpAnswer answer{bluetoothSuccess, {std::make_shared<BluezSdpRecord>()}};
    const auto played =
        std::make_shared<BluezDevice>(BluezDevice::Context{mainQueue,
                                                           threads,
                                                           [] { return bdaddr_t{{5}}; },
                                                           {},
                                                           [&](const bdaddr_t& local, const bdaddr_t&) {
                                                               EXPECT_EQ(local.b[0], 5);
                                                               return answer;
                                                           }});
    played->update({{"Address", "00:1A:7D:DA:71:13"}});
    const auto target = std::make_shared<Target>();
    const auto query = [&] {
        played->performSdpQuery(target);
        endQueries();
        return played->services().size();
    };
    EXPECT_EQ(query(), 1U);
    answer = {EHOSTDOWN, {}};
    EXPECT_EQ(query(), 1U);
    answer = {bluetoothSuccess, {}};
    EXPECT_EQ(query(), 0U);
    EXPECT_EQ(target->statuses,
              (std::vector<BluetoothStatus>{bluetoothSuccess, EHOSTDOWN, bluetoothSuccess}));
}

TEST_F(BluezDeviceTest, ATargetOrADeviceThatHasGoneHearsNothing) {
    auto target = std::make_shared<Target>();
    device->performSdpQuery(target);
    target.reset();
    endQueries();

    target = std::make_shared<Target>();
    device->performSdpQuery(target);
    device.reset();
    endQueries();
    EXPECT_TRUE(target->statuses.empty());
}

TEST_F(BluezDeviceTest, ADeviceWithoutAddressFailsLater) {
    const auto blank = std::make_shared<BluezDevice>(
        BluezDevice::Context{mainQueue, threads, [] { return bdaddr_t{}; }, {}});
    EXPECT_EQ(blank->addressString(), std::nullopt);
    const auto target = std::make_shared<Target>();
    blank->performSdpQuery(target);
    EXPECT_TRUE(target->statuses.empty());
    endQueries();
    EXPECT_EQ(target->statuses, std::vector<BluetoothStatus>{EINVAL});
    std::shared_ptr<RfcommChannel> channel;
    EXPECT_EQ(blank->openRfcommChannelAsync(channel, 3, {}), EINVAL);
    EXPECT_EQ(channel, nullptr);
}

TEST_F(BluezDeviceTest, AChannelThatCannotBeOpenedIsRefusedAtOnce) {
    std::shared_ptr<RfcommChannel> channel;
    EXPECT_GT(device->openRfcommChannelAsync(channel, 99, {}), 0);
    EXPECT_EQ(channel, nullptr);
}

}  // namespace

}  // namespace orvane::test
