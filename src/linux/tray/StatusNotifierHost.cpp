#include "linux/tray/StatusNotifierHost.h"

#include "linux/system/MessageBus.h"
#include "posix/Deadline.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <chrono>
#include <utility>

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr auto rejoinInterval = 3s;
/// What the menu in the window stands still for at each attempt, if the new bus is silent: nobody notices.
constexpr auto rejoinPatience = 100ms;

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString path = QStringLiteral("/StatusNotifierWatcher");
const QString interface = service;

}  // namespace

StatusNotifierHost::StatusNotifierHost(std::function<void(bool)> changed, std::function<void()> left)
    : bus_(QDBusConnection::sessionBus()), changed_(std::move(changed)), left_(std::move(left)) {
    owner_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    owner_.addWatchedService(service);
    hosts_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&hosts_, &QDBusServiceWatcher::serviceUnregistered, this, &StatusNotifierHost::hostLeft);
    connect(&owner_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& newOwner) { ownerChanged(newOwner); });
    rejoin_.setInterval(rejoinInterval);
    connect(&rejoin_, &QTimer::timeout, this, &StatusNotifierHost::rejoin);
    if (canAppear()) join();
}

StatusNotifierHost::~StatusNotifierHost() {
    leaveOwnBus();
}

void StatusNotifierHost::join() {
    owner_.setConnection(bus_);
    hosts_.setConnection(bus_);
    bus_.connect(service, path, interface, QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(ask()));
    bus_.connect(service, path, interface, QStringLiteral("StatusNotifierHostUnregistered"), this,
                 SLOT(hostLeft()));
    bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SLOT(busLost()));
    ask();
}

void StatusNotifierHost::busLost() {
    ++questions_;
    tell(false);
    leaveOwnBus();
    rejoin_.start();
}

/// Qt's own connection to the bus stays a dead one for ever, so that a new bus gets one of our own.
void StatusNotifierHost::rejoin() {
    if (!busAnswers(sessionBusAddress(), Deadline::after(rejoinPatience))) return;
    static int count = 0;
    ownBus_ = QStringLiteral("orvane-session-%1").arg(++count);
    bus_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, ownBus_);
    if (!canAppear()) return leaveOwnBus();
    rejoin_.stop();
    join();
}

void StatusNotifierHost::leaveOwnBus() {
    if (!ownBus_.isEmpty()) QDBusConnection::disconnectFromBus(std::exchange(ownBus_, {}));
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
