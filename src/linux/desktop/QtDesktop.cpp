#include "linux/desktop/QtDesktop.h"

#include "linux/desktop/Display.h"

#include <QClipboard>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QEvent>
#include <QGuiApplication>
#include <QProcess>
#include <QWindow>

#include <unistd.h>

namespace orvane {

namespace {

/// GNOME's Shell passes on what any program on X11 copies.
bool takesFromAnyWindow() {
    return !isWaylandDesktop() ||
           (QGuiApplication::platformName() == QStringLiteral("xcb") && desktopNames().contains("GNOME"));
}

}  // namespace

QtPasteboard::QtPasteboard() {
    qGuiApp->installEventFilter(this);
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this] { isInUse_ = false; });
}

bool QtPasteboard::isWithinReach() const {
    return takesFromAnyWindow() || isInUse_;
}

bool QtPasteboard::eventFilter(QObject* receiver, QEvent* event) {
    switch (event->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::KeyPress:
        case QEvent::KeyRelease:
            if (receiver->isWindowType() && QGuiApplication::focusWindow()) isInUse_ = true;
            return false;
        default:
            return false;
    }
}

void QtPasteboard::clearContents() {
    QGuiApplication::clipboard()->clear();
}

void QtPasteboard::setString(const std::string& text) {
    QGuiApplication::clipboard()->setText(QString::fromStdString(text));
}

void QtWorkspace::openUrl(const std::string& url, const std::function<void()>& failed) {
    // Never destroyed before it has ended: that would end a browser that runs in the foreground of it.
    auto* opener = new QProcess;
    opener->setProgram(QStringLiteral("xdg-open"));
    opener->setArguments({QString::fromStdString(url)});
    opener->setStandardInputFile(QProcess::nullDevice());
    opener->setStandardOutputFile(QProcess::nullDevice());
    opener->setStandardErrorFile(QProcess::nullDevice());
    opener->setChildProcessModifier([] { ::setsid(); });
    QObject::connect(opener, &QProcess::errorOccurred, opener,
                     [opener, failed](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart) return;
                         opener->deleteLater();
                         failed();
                     });
    QObject::connect(opener, &QProcess::finished, opener, [opener, failed](int status) {
        opener->deleteLater();
        if (status != 0) failed();
    });
    opener->start();
}

/// https://specifications.freedesktop.org/notification-spec/
void notify(const std::string& sentence) {
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    auto call = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"),
                                               service, QStringLiteral("Notify"));
    constexpr uint replacesNone = 0;
    constexpr int usualTime = -1;
    call.setArguments({QStringLiteral("Orvane"), replacesNone, QStringLiteral("audio.orvane.Orvane"),
                       QStringLiteral("Orvane"), QString::fromStdString(sentence).toHtmlEscaped(),
                       QStringList(), QVariantMap(), usualTime});
    QDBusConnection::sessionBus().send(call);
}

}  // namespace orvane
