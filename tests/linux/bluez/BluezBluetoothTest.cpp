// The devices that BlueZ has, followed over a D-Bus daemon of the test's own on which the test plays BlueZ.
#include "linux/EventLoop.h"
#include "linux/SpawnedProgram.h"
#include "linux/bluez/BluezBluetooth.h"
#include "support/TestRunLoop.h"
#include "support/TestThreads.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Interfaces = QMap<QString, QVariantMap>;
using Objects = QMap<QDBusObjectPath, Interfaces>;
Q_DECLARE_METATYPE(Interfaces)
Q_DECLARE_METATYPE(Objects)

namespace orvane::test {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const QString adapter = "/org/bluez/hci0";
const QString pixel = adapter + "/dev_00_1A_7D_DA_71_13";
const QString galaxy = adapter + "/dev_00_1A_7D_DA_71_05";

/// Where the system bus of these tests is. The D-Bus library reads it once, at its first use: so before main.
class BusAddress {
  public:
    BusAddress() { qputenv("DBUS_SYSTEM_BUS_ADDRESS", text().toUtf8()); }
    QString path() const { return folder_.filePath("bus"); }
    QString text() const { return "unix:path=" + path(); }

  private:
    QTemporaryDir folder_;
};
const BusAddress busAddress;

/// A system bus that can be stopped and started again.
class Bus {
  public:
    Bus() { start(); }
    ~Bus() { stop(); }
    void start() {
        daemon_.start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                       "--address=" + busAddress.text().toStdString()});
        EXPECT_NE(daemon_.firstLine(), "") << "dbus-daemon does not start";
    }
    void stop() {
        daemon_.end(SIGTERM);
        QFile::remove(busAddress.path());
    }

  private:
    SpawnedProgram daemon_;
};

/// BlueZ, as far as it is asked.
class PlayedBluez : public QDBusVirtualObject {
  public:
    PlayedBluez() : bus_(QDBusConnection::connectToBus(QDBusConnection::SystemBus, "played-bluez")) {
        qDBusRegisterMetaType<Interfaces>();
        qDBusRegisterMetaType<Objects>();
        bus_.registerVirtualObject("/", this, QDBusConnection::SubPath);
        bus_.registerService("org.bluez");
    }
    ~PlayedBluez() override {
        bus_.unregisterObject("/", QDBusConnection::UnregisterTree);
        // Calls that are given up are refused, by this connection.
        QCoreApplication::removePostedEvents(this);
        QDBusConnection::disconnectFromBus("played-bluez");
    }

    void addDevice(const QString& path, QVariantMap properties) {
        properties.insert("Paired", properties.value("Paired", true));
        const Interfaces interfaces = {{"org.bluez.Device1", properties}};
        objects[QDBusObjectPath(path)] = interfaces;
        signal("/", "org.freedesktop.DBus.ObjectManager", "InterfacesAdded",
               {QVariant::fromValue(QDBusObjectPath(path)), QVariant::fromValue(interfaces)});
    }
    void addAdapter(const QString& path, const QVariantMap& properties) {
        const Interfaces interfaces = {{"org.bluez.Adapter1", properties}};
        objects[QDBusObjectPath(path)] = interfaces;
        signal("/", "org.freedesktop.DBus.ObjectManager", "InterfacesAdded",
               {QVariant::fromValue(QDBusObjectPath(path)), QVariant::fromValue(interfaces)});
    }
    void removeAdapter(const QString& path) {
        objects.remove(QDBusObjectPath(path));
        signal("/", "org.freedesktop.DBus.ObjectManager", "InterfacesRemoved",
               {QVariant::fromValue(QDBusObjectPath(path)), QStringList("org.bluez.Adapter1")});
    }
    void removeDevice(const QString& path) {
        objects.remove(QDBusObjectPath(path));
        signal("/", "org.freedesktop.DBus.ObjectManager", "InterfacesRemoved",
               {QVariant::fromValue(QDBusObjectPath(path)), QStringList("org.bluez.Device1")});
    }
    void change(const QString& path, const QVariantMap& properties,
                const QString& interface = "org.bluez.Device1") {
        signal(path, "org.freedesktop.DBus.Properties", "PropertiesChanged",
               {interface, properties, QStringList()});
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        calls << message.member() + " " + message.path();
        if (message.member() == "GetManagedObjects") {
            if (!error.isEmpty()) return connection.send(message.createErrorReply(error, "in a test"));
            return connection.send(
                message.createReply(QVariantList{QVariant::fromValue(objects)} + behindTheObjects));
        }
        return connection.send(message.createReply());
    }
    QString introspect(const QString&) const override { return {}; }

    Objects objects = {
        {QDBusObjectPath(adapter), {{"org.bluez.Adapter1", {{"Address", "00:11:22:33:44:55"}}}}}};
    QStringList calls;
    QString error;                  ///< Given instead of the objects, if any.
    QVariantList behindTheObjects;  ///< In the answer.

  private:
    void signal(const QString& path, const QString& interface, const QString& name,
                const QVariantList& values) {
        QDBusMessage message = QDBusMessage::createSignal(path, interface, name);
        message.setArguments(values);
        bus_.send(message);
    }

    QDBusConnection bus_;
};

const QVariantMap pixelProperties = {{"Address", "00:1A:7D:DA:71:13"}, {"Alias", "Pixel"}};
const QVariantMap galaxyProperties = {{"Address", "00:1A:7D:DA:71:05"}, {"Alias", "Galaxy"}};

class BluezBluetoothTest : public testing::Test {
  protected:
    void restart() {
        bluetooth.reset();
        bluetooth = std::make_unique<BluezBluetooth>(mainQueue, threads, mainQueue);
    }

    /// Lets a question for the bus come to its answer.
    void settle() {
        for (auto& [name, body] : std::exchange(threads.started, {}))
            body();
        mainQueue.runPending();
    }

    std::vector<std::string> names() {
        settle();
        std::vector<std::string> found;
        for (const auto& device : bluetooth->pairedDevices())
            found.push_back(device->name().value_or("?"));
        return found;
    }
    bool becomes(const std::vector<std::string>& expected) {
        return runUntil([&] { return names() == expected; });
    }

    /// Begins anew with a BlueZ that has a device, but gives an error instead.
    void restartWithError(const QString& error) {
        ASSERT_TRUE(runUntil([&] { return asked() > 0; })) << "what came before asks no more";
        bluez->calls.clear();
        bluez->objects[QDBusObjectPath(pixel)] = {
            {"org.bluez.Device1", {{"Address", "00:1A:7D:DA:71:13"}, {"Alias", "Pixel"}, {"Paired", true}}}};
        bluez->error = error;
        restart();
        const auto answered = std::make_shared<bool>(false);
        bluetooth->whenReady([answered] { *answered = true; });
        ASSERT_TRUE(runUntil([&] { return *answered; }));
    }
    /// How often BlueZ was asked for its objects.
    qsizetype asked() const { return bluez->calls.count("GetManagedObjects /"); }
    /// The same after a question, and time for what that leads to.
    qsizetype askedAfterAQuestion() {
        names();
        runFor(std::chrono::milliseconds(100));
        return asked();
    }

    TestRunLoop mainQueue;
    TestThreads threads;
    Bus bus;
    std::unique_ptr<PlayedBluez> bluez = std::make_unique<PlayedBluez>();
    std::unique_ptr<BluezBluetooth> bluetooth =
        std::make_unique<BluezBluetooth>(mainQueue, threads, mainQueue);
};

TEST_F(BluezBluetoothTest, WhatBluezHasAtTheStartIsThereInTheOrderOfItsPaths) {
    bluez->addDevice(pixel, pixelProperties);
    bluez->addDevice(galaxy, galaxyProperties);
    restart();
    EXPECT_THAT(names(), IsEmpty()) << "nothing waits for BlueZ, which is played in this very thread";
    EXPECT_TRUE(becomes({"Galaxy", "Pixel"}));
}

TEST_F(BluezBluetoothTest, DevicesThatComeChangeAndGoAreFollowed) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));
    const auto device = bluetooth->pairedDevices().front();
    EXPECT_FALSE(device->isConnected());

    bluez->change(pixel, {{"Connected", true}, {"Alias", "My Pixel"}});
    EXPECT_TRUE(runUntil([&] { return device->isConnected(); }));
    EXPECT_EQ(device->name(), "My Pixel");

    bluez->addDevice(galaxy, galaxyProperties);
    EXPECT_TRUE(becomes({"Galaxy", "My Pixel"}));

    bluez->removeDevice(pixel);
    EXPECT_TRUE(becomes({"Galaxy"}));
    EXPECT_FALSE(device->isConnected()) << "whoever holds it sees that it has gone";
}

TEST_F(BluezBluetoothTest, ADeviceThatIsNotPairedIsKnownByItsAddressOnly) {
    QVariantMap properties = pixelProperties;
    properties["Paired"] = false;
    bluez->addDevice(pixel, properties);
    ASSERT_TRUE(runUntil([&] { return bluetooth->deviceWithAddress("00:1A:7D:DA:71:13") != nullptr; }));
    EXPECT_THAT(names(), IsEmpty());

    bluez->change(pixel, {{"Paired", true}});
    EXPECT_TRUE(becomes({"Pixel"}));
}

TEST_F(BluezBluetoothTest, AddressesAreFoundInEitherCaseAndUnknownOnesAreNot) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));
    const auto device = bluetooth->deviceWithAddress("00:1a:7d:da:71:13");
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->addressString(), "00:1A:7D:DA:71:13");
    EXPECT_EQ(bluetooth->deviceWithAddress("00:1A:7D:DA:71:14"), nullptr);
    EXPECT_EQ(bluetooth->deviceWithAddress(""), nullptr);
}

TEST_F(BluezBluetoothTest, OfTwoDevicesWithOneAddressThePairedOneIsMeant) {
    QVariantMap unpaired = pixelProperties;
    unpaired["Paired"] = false;
    unpaired["Alias"] = "Seen by another adapter";
    bluez->addDevice(pixel, unpaired);
    bluez->addDevice("/org/bluez/hci1/dev_00_1A_7D_DA_71_13", pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));
    EXPECT_EQ(bluetooth->deviceWithAddress("00:1A:7D:DA:71:13")->name(), "Pixel");
}

TEST_F(BluezBluetoothTest, IsReadyOnceTheDevicesAreKnown) {
    bluez->addDevice(pixel, pixelProperties);
    restart();
    std::vector<std::vector<std::string>> known;
    bluetooth->whenReady([&] { known.push_back(names()); });
    EXPECT_THAT(known, IsEmpty()) << "later";
    ASSERT_TRUE(runUntil([&] { return !known.empty(); }));
    EXPECT_THAT(known, ElementsAre(ElementsAre("Pixel")));
    mainQueue.advance(1);
    EXPECT_EQ(known.size(), 1U) << "once";
    bluetooth->whenReady([&] { known.push_back(names()); });
    EXPECT_EQ(known.size(), 2U) << "there is nothing to wait for";
}

TEST_F(BluezBluetoothTest, IsReadyWithoutTheDevicesOfABluezThatIsSilent) {
    restart();
    int readyCount = 0;
    bluetooth->whenReady([&] { ++readyCount; });
    mainQueue.advance(BluezBluetooth::objectsWait.count() - 0.01);
    EXPECT_EQ(readyCount, 0);
    mainQueue.advance(0.01);
    EXPECT_EQ(readyCount, 1);
    bluez->addDevice(pixel, pixelProperties);
    EXPECT_TRUE(becomes({"Pixel"}));
    EXPECT_EQ(readyCount, 1);
}

TEST_F(BluezBluetoothTest, WithoutASystemBusItIsReadyAtOnce) {
    bluetooth.reset();
    bluez.reset();
    bus.stop();
    bluetooth = std::make_unique<BluezBluetooth>(mainQueue, threads, mainQueue);
    bool ready = false;
    bluetooth->whenReady([&] { ready = true; });
    EXPECT_TRUE(ready);
}

TEST_F(BluezBluetoothTest, OfTwoPairingsTheConnectedOneIsMeantElseTheOneOnAPoweredAdapter) {
    const QString second = "/org/bluez/hci1";
    const QString there = second + "/dev_00_1A_7D_DA_71_13";
    QVariantMap properties = pixelProperties;
    properties["Alias"] = "On the second";
    bluez->addAdapter(second, {{"Address", "00:11:22:33:44:66"}, {"Powered", true}});
    bluez->addDevice(pixel, pixelProperties);
    bluez->addDevice(there, properties);
    ASSERT_TRUE(becomes({"On the second"}));

    bluez->change(second, {{"Powered", false}}, "org.bluez.Adapter1");
    bluez->change(adapter, {{"Powered", true}}, "org.bluez.Adapter1");
    EXPECT_TRUE(becomes({"Pixel"}));

    bluez->change(there, {{"Connected", true}});
    EXPECT_TRUE(becomes({"On the second"}));
    EXPECT_TRUE(bluetooth->deviceWithAddress("00:1A:7D:DA:71:13")->isConnected());
}

TEST_F(BluezBluetoothTest, AnAdapterThatGoesTakesItsDevicesAlong) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));
    bluez->removeAdapter(adapter);
    EXPECT_TRUE(becomes({}));
}

TEST_F(BluezBluetoothTest, NothingOfAnAdapterThatHasGoneIsRemembered) {
    const QString second = "/org/bluez/hci1";
    QVariantMap properties = pixelProperties;
    properties["Alias"] = "On the second";
    bluez->addDevice(pixel, pixelProperties);
    bluez->addAdapter(second, {{"Address", "00:11:22:33:44:66"}, {"Powered", true}});
    bluez->removeAdapter(second);
    bluez->addDevice(second + "/dev_00_1A_7D_DA_71_13", properties);
    bluez->addDevice(second + "/dev_00_1A_7D_DA_71_14",
                     {{"Address", "00:1A:7D:DA:71:14"}, {"Alias", "Last"}});
    EXPECT_TRUE(becomes({"Pixel", "Last"})) << "no adapter here is powered: the first one is meant";
}

TEST_F(BluezBluetoothTest, AnAnswerOfAnotherKindIsNotRead) {
    bluez->behindTheObjects = {"of which nobody knows what it means"};
    bluez->addDevice(pixel, pixelProperties);
    restart();
    ASSERT_TRUE(runUntil([&] { return bluez->calls.count("GetManagedObjects /") >= 2; }));
    runFor(std::chrono::milliseconds(100));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(BluezBluetoothTest, ABluezThatGaveAnErrorIsAskedAgainOnceInAWhileWhenThereIsNeed) {
    constexpr double interval = BluezBluetooth::retryInterval.count();
    restartWithError("org.freedesktop.DBus.Error.NoReply");
    mainQueue.advance(interval - 1);
    EXPECT_EQ(askedAfterAQuestion(), 1) << "too early";
    mainQueue.advance(1);
    EXPECT_EQ(asked(), 1) << "nobody has asked for a device";
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_TRUE(runUntil([&] { return asked() == 2; }));
    EXPECT_EQ(askedAfterAQuestion(), 2) << "too early";

    bluez->error.clear();
    mainQueue.advance(interval);
    EXPECT_TRUE(becomes({"Pixel"}));
    mainQueue.advance(interval);
    EXPECT_EQ(askedAfterAQuestion(), 3) << "there is nothing left to ask for";
}

TEST_F(BluezBluetoothTest, ABluezThatIsAwayOrForbiddenIsNotAskedAgain) {
    for (const std::string error : {"ServiceUnknown", "NameHasNoOwner", "AccessDenied"}) {
        restartWithError("org.freedesktop.DBus.Error." + QString::fromStdString(error));
        mainQueue.advance(BluezBluetooth::retryInterval.count());
        EXPECT_EQ(askedAfterAQuestion(), 1) << error;
    }
}

TEST_F(BluezBluetoothTest, DisconnectingIsAskedOfTheDeviceWithoutWaiting) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));
    bluetooth->pairedDevices().front()->closeConnection();
    EXPECT_TRUE(runUntil([&] { return bluez->calls.contains("Disconnect " + pixel); }));
}

TEST_F(BluezBluetoothTest, ABluezThatEndsTakesItsDevicesAlongAndBringsThemBack) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));

    bluez.reset();
    EXPECT_TRUE(becomes({}));
    EXPECT_EQ(bluetooth->deviceWithAddress("00:1A:7D:DA:71:13"), nullptr);

    bluez = std::make_unique<PlayedBluez>();
    bluez->addDevice(galaxy, galaxyProperties);
    EXPECT_TRUE(becomes({"Galaxy"}));
}

TEST_F(BluezBluetoothTest, WithoutBluezThereIsNoDevice) {
    bluez.reset();
    restart();
    runFor(std::chrono::milliseconds(100));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(BluezBluetoothTest, AMissingSystemBusIsAskedForAgainOnceInAWhileWhenThereIsNeed) {
    bluetooth.reset();
    bluez.reset();
    bus.stop();
    bluetooth = std::make_unique<BluezBluetooth>(mainQueue, threads, mainQueue);
    EXPECT_THAT(names(), IsEmpty());

    bus.start();
    bluez = std::make_unique<PlayedBluez>();
    bluez->addDevice(pixel, pixelProperties);
    mainQueue.advance(BluezBluetooth::retryInterval.count() - 1);
    EXPECT_THAT(names(), IsEmpty());
    runFor(std::chrono::milliseconds(100));
    EXPECT_THAT(names(), IsEmpty()) << "too early";

    mainQueue.advance(1);
    EXPECT_TRUE(becomes({"Pixel"}));
}

TEST_F(BluezBluetoothTest, ASystemBusThatIsLostTakesTheDevicesAlongAndIsFoundAgain) {
    bluez->addDevice(pixel, pixelProperties);
    ASSERT_TRUE(becomes({"Pixel"}));

    bluez.reset();
    bus.stop();
    EXPECT_TRUE(becomes({}));

    bus.start();
    bluez = std::make_unique<PlayedBluez>();
    bluez->addDevice(galaxy, galaxyProperties);
    mainQueue.advance(BluezBluetooth::retryInterval.count());
    EXPECT_TRUE(becomes({"Galaxy"}));
}

}  // namespace

}  // namespace orvane::test
