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
#include <vector>

class QDBusPendingCallWatcher;
class QDBusServiceWatcher;

namespace orvane {

class BluezBluetooth final : public QObject, public Bluetooth {
    Q_OBJECT

  public:
    /// How often a machine without a system bus is asked for one again, at most; and only when a question
    /// comes.
    static constexpr Duration busRetryInterval{30};

    /// An application object (QCoreApplication) must exist. The roles outlive this one.
    BluezBluetooth(RunLoop& runLoop, Threads& threads, const Clock& clock);
    ~BluezBluetooth() override;

    /// In the order of BlueZ's object paths: by adapter, then by address.
    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override;
    /// Any device that BlueZ knows, a paired one if there are several. Upper and lower case are one.
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string& address) override;

  private:
    // Found by name when BlueZ signals.
    Q_SLOT void interfacesAdded(const QDBusMessage& signal);
    Q_SLOT void interfacesRemoved(const QDBusMessage& signal);
    Q_SLOT void devicePropertiesChanged(const QDBusMessage& signal);
    Q_SLOT void busLost();

    using Interfaces = QMap<QString, QVariantMap>;  ///< Interface name -> its properties.

    void connectToBus();
    void listen();
    void ownerChanged(const QString& newOwner);
    void requestObjects();
    void objectsArrived(QDBusPendingCallWatcher& call);
    void forgetEverything();

    void take(const QString& path, const Interfaces& interfaces);
    std::shared_ptr<BluezDevice> makeDevice(const QString& path);
    void removeDevice(const QString& path);

    RunLoop& runLoop_;
    Threads& threads_;
    const Clock& clock_;
    QDBusConnection bus_;
    std::optional<TimePoint> lastAttempt_;
    std::unique_ptr<QDBusServiceWatcher> serviceWatcher_;
    std::map<QString, bdaddr_t> adapters_;                     ///< By object path.
    std::map<QString, std::shared_ptr<BluezDevice>> devices_;  ///< By object path.
};

}  // namespace orvane
