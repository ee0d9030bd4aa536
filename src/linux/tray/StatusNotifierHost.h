// Tells whether some panel shows status icons over D-Bus: the bus name org.kde.StatusNotifierWatcher is owned
// and its property IsStatusNotifierHostRegistered is true
// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/). Main thread only.
#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <functional>

namespace orvane {

class StatusNotifierHost : public QObject {
    Q_OBJECT

  public:
    /// `changed` hears each new answer, the first one too unless it is no. `left` hears that a host has gone,
    /// even when another one remains.
    StatusNotifierHost(std::function<void(bool present)> changed, std::function<void()> left);

    /// False on a machine without a session bus: no host will ever come.
    bool canAppear() const { return bus_.isConnected(); }

  private:
    Q_SLOT void ask();
    Q_SLOT void hostLeft();
    void ownerChanged(const QString& newOwner);
    void followHosts();
    void tell(bool present);

    QDBusConnection bus_;
    QDBusServiceWatcher owner_;
    QDBusServiceWatcher hosts_;
    std::function<void(bool)> changed_;
    std::function<void()> left_;
    int questions_ = 0;
    bool present_ = false;
};

}  // namespace orvane
