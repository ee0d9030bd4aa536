#include "linux/inspection/BluezFacts.h"

#include "linux/system/MessageBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMap>
#include <chrono>
#include <filesystem>
#include <fstream>

namespace orvane {

namespace {

namespace fs = std::filesystem;

using Interfaces = QMap<QString, QVariantMap>;

constexpr int bluezPatience = 1000;  // milliseconds
constexpr std::chrono::milliseconds systemBusPatience{500};
constexpr auto systemConnection = "orvane-check";
constexpr auto bluez = "org.bluez";

std::string firstWord(const fs::path& file) {
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

QDBusMessage ask(const QDBusConnection& bus, const char* service, const char* path, const char* interface,
                 const char* method, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, bluezPatience);
}

void take(BluetoothFacts& facts, const Interfaces& interfaces) {
    if (const auto found = interfaces.find("org.bluez.Adapter1"); found != interfaces.end()) {
        const auto name = found->value("Alias").toString().toStdString();
        facts.adapters.push_back({name.empty() ? found->value("Address").toString().toStdString() : name,
                                  found->value("Powered").toBool()});
    }
    const auto device = interfaces.find("org.bluez.Device1");
    if (device == interfaces.end() || !device->value("Paired").toBool()) return;
    const auto address = device->value("Address").toString().toStdString();
    const auto name = device->value("Alias").toString().toStdString();
    facts.paired.push_back({name.empty() ? address : name, address});
}

void askBluez(BluetoothFacts& facts) {
    const auto bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, systemConnection);
    facts.busAnswers = bus.isConnected();
    if (!facts.busAnswers) return;
    const QDBusMessage owned = ask(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "NameHasOwner", {QString(bluez)});
    facts.serviceRuns = owned.type() == QDBusMessage::ReplyMessage && owned.arguments().value(0).toBool();
    if (!facts.serviceRuns) return;
    const QDBusMessage reply =
        ask(bus, bluez, "/", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects");
    if (reply.signature() != "a{oa{sa{sv}}}") return;
    for (const auto& object : qdbus_cast<QMap<QDBusObjectPath, Interfaces>>(reply.arguments().front()))
        take(facts, object);
}

}  // namespace

RadioSwitches readRadioSwitches(const std::string& folder) {
    RadioSwitches switches;
    bool anyIsFree = false;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        if (firstWord(entry->path() / "type") != "bluetooth") continue;
        switches.hasBluetooth = true;
        anyIsFree |= firstWord(entry->path() / "soft") != "1" && firstWord(entry->path() / "hard") != "1";
    }
    switches.isBlocked = switches.hasBluetooth && !anyIsFree;
    return switches;
}

BluetoothFacts bluetoothFacts() {
    BluetoothFacts facts;
    const RadioSwitches switches = readRadioSwitches("/sys/class/rfkill");
    std::error_code error;
    facts.hasHardware = switches.hasBluetooth || (fs::is_directory("/sys/class/bluetooth", error) &&
                                                  !fs::is_empty("/sys/class/bluetooth", error));
    facts.isBlocked = switches.isBlocked;
    if (busAnswers(systemBusAddress(), Deadline::after(systemBusPatience))) askBluez(facts);
    return facts;
}

}  // namespace orvane
