#include "linux/tray/StatusNotifierHost.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

namespace orvane {

namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");
const QString interface = service;

}  // namespace

StatusNotifierHost::StatusNotifierHost(std::function<void(bool)> changed, std::function<void()> left)
    : bus_(QDBusConnection::sessionBus()),
      owner_(service, bus_, QDBusServiceWatcher::WatchForOwnerChange),
      changed_(std::move(changed)),
      left_(std::move(left)) {
    if (!canAppear()) return;
    hosts_.setConnection(bus_);
    hosts_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&hosts_, &QDBusServiceWatcher::serviceUnregistered, this, &StatusNotifierHost::hostLeft);
    connect(&owner_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { ownerChanged(newOwner); });
    bus_.connect(service, path, interface, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(ask()));
    bus_.connect(service, path, interface, QStringLiteral("StatusNotifierHostUnregistered"), this,
                 SLOT(hostLeft()));
    ask();
}

void StatusNotifierHost::ask() {
    auto get = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    get.setArguments({interface, QStringLiteral("IsStatusNotifierHostRegistered")});
    get.setAutoStartService(false);
    auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(get), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer, question = ++questions_] {
        const QDBusPendingReply<QDBusVariant> reply = *answer;
        answer->deleteLater();
        if (question == questions_) tell(reply.isValid() && reply.value().variant().toBool());
    });
}

void StatusNotifierHost::hostLeft() {
    left_();
    ask();
}

void StatusNotifierHost::ownerChanged(const QString& newOwner) {
    ++questions_;  // What the old owner still answers counts no more.
    tell(false);
    if (!newOwner.isEmpty()) ask();
}

/// Plasma's watcher says nothing when a host has gone, but each host has a name of its own on the bus.
void StatusNotifierHost::followHosts() {
    const auto list = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ListNames"));
    auto* answer = new QDBusPendingCallWatcher(bus_.asyncCall(list), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        const QDBusPendingReply<QStringList> names = *answer;
        answer->deleteLater();
        if (names.isValid())
            hosts_.setWatchedServices(names.value().filter(QStringLiteral(".StatusNotifierHost-")));
    });
}

void StatusNotifierHost::tell(bool present) {
    if (present) followHosts();
    if (std::exchange(present_, present) != present) changed_(present);
}

}  // namespace orvane
