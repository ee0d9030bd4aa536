#include "linux/bluez/BluezBluetooth.h"

#include "linux/bluez/BluezSocket.h"
#include "linux/system/MessageBus.h"
#include "model/BluetoothOffer.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <chrono>
#include <utility>

namespace orvane {

namespace {

constexpr auto service = "org.bluez";
constexpr auto adapterInterface = "org.bluez.Adapter1";
constexpr auto deviceInterface = "org.bluez.Device1";
constexpr auto objectManager = "org.freedesktop.DBus.ObjectManager";
constexpr auto propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr std::chrono::seconds firstPatience{1};
constexpr auto connectionName = "orvane-bluez";

// BlueZ is never started by asking for it: whoever runs the machine has decided that.
QDBusMessage call(const QString& path, const char* interface, const char* method) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setAutoStartService(false);
    return message;
}

/// True for an error that may pass without a sign. When a BlueZ that is away comes, the bus tells; who may
/// not ask would only fill the system's log.
bool mayPass(const QDBusMessage& error) {
    const QString name = error.errorName();
    return name != "org.freedesktop.DBus.Error.ServiceUnknown" &&
           name != "org.freedesktop.DBus.Error.NameHasNoOwner" &&
           name != "org.freedesktop.DBus.Error.AccessDenied";
}

/// A connection that stays until its parent is no receiver any more, which is when Qt deletes children. Qt's
/// thread may just be handing a signal over, which holds the connection, too, and takes it for alive.
class KeptConnection : public QObject {
  public:
    explicit KeptConnection(QObject* parent) : QObject(parent) {}

    QDBusConnection connection{QString()};
};

}  // namespace

BluezBluetooth::BluezBluetooth(RunLoop& runLoop, Threads& threads, const Clock& clock)
    : runLoop_(runLoop), threads_(threads), clock_(clock), bus_((new KeptConnection(this))->connection) {
    // Here and now, since a bus that lives answers at once; one that does not is asked elsewhere from then
    // on.
    lastAttempt_ = clock_.now();
    if (busAnswers(systemBusAddress(), Deadline::after(firstPatience))) busAnswered();
}

BluezBluetooth::~BluezBluetooth() {
    QDBusConnection::disconnectFromBus(connectionName);
}

void BluezBluetooth::retry() {
    if (bus_.isConnected() && !objectsFailed_) return;
    const TimePoint now = clock_.now();
    if (lastAttempt_ && now - *lastAttempt_ < retryInterval) return;
    lastAttempt_ = now;
    if (bus_.isConnected()) return requestObjects();
    askSystemBus(runLoop_, threads_, [weak = QPointer(this)](bool answers) {
        if (weak && answers) weak->busAnswered();
    });
}

void BluezBluetooth::busAnswered() {
    QDBusConnection::disconnectFromBus(connectionName);
    bus_ = QDBusConnection::connectToBus(QDBusConnection::SystemBus, connectionName);
    if (bus_.isConnected()) listen();
}

// The signals first, the snapshot after them: nothing falls in between.
void BluezBluetooth::listen() {
    bus_.connect(service, "/", objectManager, "InterfacesAdded", {}, "oa{sa{sv}}", this,
                 SLOT(interfacesAdded(QDBusMessage)));
    bus_.connect(service, "/", objectManager, "InterfacesRemoved", {}, "oas", this,
                 SLOT(interfacesRemoved(QDBusMessage)));
    bus_.connect(service, QString(), propertiesInterface, "PropertiesChanged", {adapterInterface}, "sa{sv}as",
                 this, SLOT(adapterPropertiesChanged(QDBusMessage)));
    bus_.connect(service, QString(), propertiesInterface, "PropertiesChanged", {deviceInterface}, "sa{sv}as",
                 this, SLOT(devicePropertiesChanged(QDBusMessage)));
    bus_.connect(QString(), "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local", "Disconnected", this,
                 SLOT(busLost()));

    serviceWatcher_ =
        std::make_unique<QDBusServiceWatcher>(service, bus_, QDBusServiceWatcher::WatchForOwnerChange);
    connect(serviceWatcher_.get(), &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { ownerChanged(newOwner); });
    requestObjects();
}

void BluezBluetooth::ownerChanged(const QString& newOwner) {
    forgetEverything();
    if (!newOwner.isEmpty()) requestObjects();
}

void BluezBluetooth::requestObjects() {
    objectsFailed_ = false;
    asking_.reset(new QDBusPendingCallWatcher(bus_.asyncCall(call("/", objectManager, "GetManagedObjects"))));
    connect(asking_.get(), &QDBusPendingCallWatcher::finished, this, &BluezBluetooth::objectsArrived);
}

void BluezBluetooth::whenReady(Block ready) {
    if (!asking_) return ready();
    ready_ = std::move(ready);
    runLoop_.asyncAfter(objectsWait, [weak = QPointer(this)] {
        if (weak) weak->becomeReady();
    });
}

void BluezBluetooth::becomeReady() {
    if (const Block ready = std::exchange(ready_, {})) ready();
}

void BluezBluetooth::LaterDeleter::operator()(QDBusPendingCallWatcher* watcher) const {
    watcher->disconnect();
    watcher->deleteLater();
}

void BluezBluetooth::objectsArrived() {
    const auto ended = std::exchange(asking_, nullptr);
    const QDBusMessage reply = ended->reply();
    objectsFailed_ = reply.type() == QDBusMessage::ErrorMessage && mayPass(reply);
    takeAll(reply);
    becomeReady();
}

void BluezBluetooth::takeAll(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ReplyMessage || reply.signature() != "a{oa{sa{sv}}}") return;
    const auto objects = qdbus_cast<QMap<QDBusObjectPath, Interfaces>>(reply.arguments().front());
    // An adapter's path sorts before those of its devices.
    for (auto object = objects.begin(); object != objects.end(); ++object) {
        take(object.key().path(), object.value());
    }
}

void BluezBluetooth::interfacesAdded(const QDBusMessage& signal) {
    take(signal.arguments().at(0).value<QDBusObjectPath>().path(),
         qdbus_cast<Interfaces>(signal.arguments().at(1)));
}

void BluezBluetooth::interfacesRemoved(const QDBusMessage& signal) {
    const QString path = signal.arguments().at(0).value<QDBusObjectPath>().path();
    const QStringList interfaces = signal.arguments().at(1).toStringList();
    if (interfaces.contains(deviceInterface)) removeDevice(path);
    if (interfaces.contains(adapterInterface)) removeAdapter(path);
}

void BluezBluetooth::adapterPropertiesChanged(const QDBusMessage& signal) {
    const auto adapter = adapters_.find(signal.path());
    if (adapter == adapters_.end()) return;
    const auto changed = qdbus_cast<QVariantMap>(signal.arguments().at(1));
    adapter->second.powered = changed.value("Powered", adapter->second.powered).toBool();
}

void BluezBluetooth::devicePropertiesChanged(const QDBusMessage& signal) {
    const auto device = devices_.find(signal.path());
    if (device != devices_.end()) device->second->update(qdbus_cast<QVariantMap>(signal.arguments().at(1)));
}

void BluezBluetooth::busLost() {
    forgetEverything();
}

void BluezBluetooth::forgetEverything() {
    for (const auto& [path, device] : devices_)
        device->forget();
    devices_.clear();
    adapters_.clear();
}

void BluezBluetooth::take(const QString& path, const Interfaces& interfaces) {
    if (const auto adapter = interfaces.find(adapterInterface); adapter != interfaces.end()) {
        const auto address = parseBluetoothAddress(adapter->value("Address").toString().toStdString());
        adapters_[path] = {address.value_or(bdaddr_t{}), adapter->value("Powered").toBool()};
    }
    if (const auto device = interfaces.find(deviceInterface); device != interfaces.end()) {
        auto& known = devices_[path];
        if (known == nullptr) known = makeDevice(path);
        known->update(*device);
    }
}

std::shared_ptr<BluezDevice> BluezBluetooth::makeDevice(const QString& path) {
    return std::make_shared<BluezDevice>(BluezDevice::Context{
        .runLoop = runLoop_,
        .threads = threads_,
        .adapter =
            [this, path] {
                const Adapter* adapter = adapterOf(path);
                return adapter ? adapter->address : bdaddr_t{};
            },
        .disconnect = [bus = bus_, path] { bus.send(call(path, deviceInterface, "Disconnect")); },
    });
}

void BluezBluetooth::removeDevice(const QString& path) {
    const auto device = devices_.find(path);
    if (device == devices_.end()) return;
    device->second->forget();
    devices_.erase(device);
}

/// An adapter that goes takes its devices along, also those of which BlueZ says nothing.
void BluezBluetooth::removeAdapter(const QString& path) {
    adapters_.erase(path);
    std::erase_if(devices_, [&](const auto& entry) {
        const bool isOn = entry.first.startsWith(path + '/');
        if (isOn) entry.second->forget();
        return isOn;
    });
}

const BluezBluetooth::Adapter* BluezBluetooth::adapterOf(const QString& devicePath) const {
    const auto adapter = adapters_.find(devicePath.section('/', 0, -2));
    return adapter == adapters_.end() ? nullptr : &adapter->second;
}

std::tuple<bool, bool, bool> BluezBluetooth::rank(const Devices::value_type& entry) const {
    const auto& [path, device] = entry;
    const Adapter* adapter = adapterOf(path);
    return {device->isPaired(), device->isConnected(), adapter && adapter->powered};
}

std::vector<std::shared_ptr<BluetoothDevice>> BluezBluetooth::pairedDevices() {
    retry();
    std::vector<std::shared_ptr<BluetoothDevice>> paired;
    for (const auto& [path, device] : devices_) {
        const auto address = device->addressString();
        if (device->isPaired() && (!address || find(*address) == device)) paired.push_back(device);
    }
    return paired;
}

std::shared_ptr<BluetoothDevice> BluezBluetooth::deviceWithAddress(const std::string& address) {
    retry();
    return find(address);
}

std::shared_ptr<BluezDevice> BluezBluetooth::find(const std::string& address) const {
    const Devices::value_type* best = nullptr;
    for (const auto& entry : devices_) {
        const bool matches = sameAddress(entry.second->addressString().value_or(""), address);
        if (matches && (best == nullptr || rank(entry) > rank(*best))) best = &entry;
    }
    return best ? best->second : nullptr;
}

}  // namespace orvane
