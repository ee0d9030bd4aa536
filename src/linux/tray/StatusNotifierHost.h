// Tells whether some panel shows status icons over D-Bus: the bus name org.kde.StatusNotifierWatcher is owned
// and its property IsStatusNotifierHostRegistered is true
// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/). Main thread only.
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>
#include <functional>

namespace orvane {

/// Outlives its bus: when that dies there is no panel, and from then on it looks every few seconds whether a
/// new one is to be had at the old address.
class StatusNotifierHost : public QObject {
    Q_OBJECT

  public:
    /// `changed` hears each new answer, the first one too unless it is no. `left` hears that a host has gone,
    /// even when another one remains.
    StatusNotifierHost(std::function<void(bool present)> changed, std::function<void()> left);
    ~StatusNotifierHost() override;

    /// False while there is no session bus.
    bool canAppear() const { return bus_.isConnected(); }
    /// Where the panels are: another connection after the bus has been lost.
    const QDBusConnection& bus() const { return bus_; }

  private:
    Q_SLOT void ask();
    Q_SLOT void hostLeft();
    Q_SLOT void busLost();
    void join();
    void rejoin();
    void leaveOwnBus();
    void ownerChanged(const QString& newOwner);
    void followHosts();
    void tell(bool present);

    QDBusConnection bus_;
    QDBusServiceWatcher owner_;
    QDBusServiceWatcher hosts_;
    std::function<void(bool)> changed_;
    std::function<void()> left_;
    QTimer rejoin_;   ///< Runs while the bus is lost.
    QString ownBus_;  ///< Name of the connection, unless it is Qt's own.
    int questions_ = 0;
    bool present_ = false;
};

}  // namespace orvane
