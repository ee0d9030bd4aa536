#include "linux/inspection/BluezFacts.h"

#include "posix/Descriptor.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMap>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace orvane {

namespace {

namespace fs = std::filesystem;

using Interfaces = QMap<QString, QVariantMap>;

constexpr int patience = 1000;    // milliseconds
constexpr int busPatience = 500;  // milliseconds
constexpr auto connectionName = "orvane-check";
constexpr auto bluez = "org.bluez";

std::string environment(const char* name) {
    const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody changes it.
    return value ? value : "";
}

std::string firstWord(const fs::path& file) {
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

// The value of a key in a D-Bus address. Escapes (%2f) do not occur in the addresses that systems hand out.
std::string addressValue(std::string_view address, std::string_view key) {
    if (!address.starts_with("unix:")) return {};
    address.remove_prefix(std::string_view("unix:").size());
    while (!address.empty()) {
        const std::string_view pair = address.substr(0, address.find_first_of(",;"));
        if (pair.starts_with(key) && pair.substr(key.size()).starts_with('='))
            return std::string(pair.substr(key.size() + 1));
        if (pair.size() == address.size() || address[pair.size()] == ';') break;
        address.remove_prefix(pair.size() + 1);
    }
    return {};
}

bool connectTo(int socket, const std::string& name, bool isAbstract) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::size_t start = isAbstract ? 1 : 0;
    if (name.empty() || name.size() + start >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path + start, name.data(), name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + start + name.size());
    return connect(socket, reinterpret_cast<const sockaddr*>(&address), size) == 0;
}

QDBusMessage ask(const QDBusConnection& bus, const char* service, const char* path, const char* interface,
                 const char* method, const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return bus.call(message, QDBus::Block, patience);
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
    const auto bus = QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
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

bool busAnswers(const std::string& address) {
    const Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const bool isConnected = connectTo(socket.get(), addressValue(address, "path"), false) ||
                             connectTo(socket.get(), addressValue(address, "abstract"), true);
    // An AUTH without a mechanism is answered with the mechanisms there are, and commits to none.
    constexpr std::string_view greeting("\0AUTH\r\n", 7);
    if (!isConnected || ::send(socket.get(), greeting.data(), greeting.size(), MSG_NOSIGNAL) < 0)
        return false;
    pollfd source = {socket.get(), POLLIN, 0};
    char byte = 0;
    return ::poll(&source, 1, busPatience) > 0 && ::recv(socket.get(), &byte, 1, 0) == 1;
}

std::string systemBusAddress() {
    const std::string address = environment("DBUS_SYSTEM_BUS_ADDRESS");
    return address.empty() ? "unix:path=/run/dbus/system_bus_socket" : address;
}

std::string sessionBusAddress() {
    const std::string address = environment("DBUS_SESSION_BUS_ADDRESS");
    if (!address.empty()) return address;
    const std::string folder = environment("XDG_RUNTIME_DIR");
    return folder.empty() ? "" : "unix:path=" + folder + "/bus";
}

BluetoothFacts bluetoothFacts() {
    BluetoothFacts facts;
    const RadioSwitches switches = readRadioSwitches("/sys/class/rfkill");
    std::error_code error;
    facts.hasHardware = switches.hasBluetooth || (fs::is_directory("/sys/class/bluetooth", error) &&
                                                  !fs::is_empty("/sys/class/bluetooth", error));
    facts.isBlocked = switches.isBlocked;
    if (busAnswers(systemBusAddress())) askBluez(facts);
    return facts;
}

}  // namespace orvane
