// Bluetooth on Linux: BlueZ's devices over D-Bus (org.freedesktop.DBus.ObjectManager of org.bluez).
// Everything that BlueZ has is kept here and followed by its signals, so that no question waits for it. No
// system bus, no BlueZ and no adapter are normal: then there is no device. Main thread only.
#pragma once

#include "linux/bluez/BluezDevice.h"
#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"
#include "platform/Threads.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QMap>
#include <QObject>
#include <QString>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace orvane {

class BluezBluetooth final : public QObject, public Bluetooth {
    Q_OBJECT

  public:
    /// How often a machine without a system bus is asked for one again, or a BlueZ that gave an error or said
    /// nothing for its devices, at most; and only when a question comes.
    static constexpr Duration retryInterval{30};
    /// How long a BlueZ that says nothing is waited for at the start, when it is worth it: a program that has
    /// just started would not know its phone.
    static constexpr Duration objectsWait{0.25};

    /// An application object (QCoreApplication) must exist. The roles outlive this one.
    BluezBluetooth(RunLoop& runLoop, Threads& threads, const Clock& clock);
    ~BluezBluetooth() override;

    void whenReady(Block ready) override;
    /// In the order of BlueZ's object paths: by adapter, then by address. Of several objects for one address
    /// only the best is there: a connected one, else one whose adapter is powered.
    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override;
    /// Any device that BlueZ knows: of several objects a paired one, and of these the best. Upper and lower
    /// case are one.
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) override;

  private:
    // Found by name when BlueZ signals.
    Q_SLOT void interfacesAdded(const QDBusMessage& signal);
    Q_SLOT void interfacesRemoved(const QDBusMessage& signal);
    Q_SLOT void adapterPropertiesChanged(const QDBusMessage& signal);
    Q_SLOT void devicePropertiesChanged(const QDBusMessage& signal);
    Q_SLOT void busLost();

    using Interfaces = QMap<QString, QVariantMap>;  ///< Interface name -> its properties.

    struct Adapter {
        bdaddr_t address{};
        bool powered = false;
    };
    struct LaterDeleter {
        // The watcher may be dropped by what its own signal has led to.
        void operator()(QDBusPendingCallWatcher* watcher) const;
    };
    using Devices = std::map<QString, std::shared_ptr<BluezDevice>>;  ///< By object path.

    void retry();
    void busAnswered();
    void listen();
    void ownerChanged(const QString& newOwner);
    void requestObjects();
    void objectsArrived();
    void forgetEverything();

    void becomeReady();
    std::shared_ptr<BluezDevice> find(const std::string& address) const;
    const Adapter* adapterOf(const QString& devicePath) const;
    /// The better of two objects for one device has the greater one.
    std::tuple<bool, bool, bool> rank(const Devices::value_type& entry) const;

    void takeAll(const QDBusMessage& reply);
    void take(const QString& path, const Interfaces& interfaces);
    void removeAdapter(const QString& path);
    std::shared_ptr<BluezDevice> makeDevice(const QString& path);
    void removeDevice(const QString& path);

    RunLoop& runLoop_;
    Threads& threads_;
    const Clock& clock_;
    QDBusConnection& bus_;  ///< Of a child.
    std::optional<TimePoint> lastAttempt_;
    std::unique_ptr<QDBusServiceWatcher> serviceWatcher_;
    std::unique_ptr<QDBusPendingCallWatcher, LaterDeleter> asking_;  ///< While the objects are asked for.
    bool objectsFailed_ = false;                                     ///< They are still to be had: ask again.
    Block ready_;                                                    ///< Who waits for them.
    std::map<QString, Adapter> adapters_;                            ///< By object path.
    Devices devices_;
};

}  // namespace orvane
