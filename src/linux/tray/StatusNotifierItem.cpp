#include "linux/tray/StatusNotifierItem.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <chrono>
#include <utility>

namespace orvane {

QDBusArgument& operator<<(QDBusArgument& argument, const DBusPixmap& pixmap) {
    argument.beginStructure();
    argument << pixmap.width << pixmap.height << pixmap.pixels;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusToolTip& toolTip) {
    argument.beginStructure();
    argument << toolTip.iconName << toolTip.icon << toolTip.title << toolTip.text;
    argument.endStructure();
    return argument;
}

/// Qt asks for both directions; these two are only sent.
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusPixmap&) {
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusToolTip&) {
    return argument;
}

namespace {

using namespace std::chrono_literals;

const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");
const QString watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");

/// Longer than anybody reads a menu without moving the pointer over it.
constexpr auto lease = 60s;

/// Real ones have less than a hundred characters.
constexpr qsizetype maxToken = 4096;

constexpr auto exported = QDBusConnection::ExportAllProperties | QDBusConnection::ExportAllSlots |
                          QDBusConnection::ExportAllSignals;

DBusPixmap pixmapOf(const QImage& drawn) {
    const QImage image = drawn.convertToFormat(QImage::Format_RGBA8888);
    DBusPixmap result{image.width(), image.height(), {}};
    result.pixels.reserve(image.sizeInBytes());
    for (int y = 0; y < image.height(); ++y) {
        const uchar* line = image.constScanLine(y);
        for (int x = 0; x < image.width(); ++x, line += 4) {
            result.pixels.append(static_cast<char>(line[3]));
            result.pixels.append(reinterpret_cast<const char*>(line), 3);
        }
    }
    return result;
}

}  // namespace

StatusNotifierItem::StatusNotifierItem(QDBusConnection bus, const std::shared_ptr<Menu>& menu,
                                       LabelWriter writer, Reports reports)
    : bus_(std::move(bus)), reports_(std::move(reports)), menu_(menu, writer, lease, bus_) {
    qDBusRegisterMetaType<DBusPixmap>();
    qDBusRegisterMetaType<QList<DBusPixmap>>();
    qDBusRegisterMetaType<DBusToolTip>();

    static int count = 0;
    service_ = QStringLiteral("org.kde.StatusNotifierItem-%1-%2")
                   .arg(QCoreApplication::applicationPid())
                   .arg(++count);
    bus_.registerObject(itemPath, this, exported);
    bus_.registerObject(menuPath, &menu_, exported);
    tellBus(QStringLiteral("RequestName"), {service_, 0U});
    auto offer = QDBusMessage::createMethodCall(watcher, watcherPath, watcher,
                                                QStringLiteral("RegisterStatusNotifierItem"));
    offer.setArguments({service_});
    offer.setAutoStartService(false);
    bus_.send(offer);
}

StatusNotifierItem::~StatusNotifierItem() {
    bus_.unregisterObject(itemPath);
    bus_.unregisterObject(menuPath);
    tellBus(QStringLiteral("ReleaseName"), {service_});
}

/// Qt's own calls for this wait for the answer, on a bus that hangs for 25 s.
void StatusNotifierItem::tellBus(const QString& method, const QVariantList& arguments) {
    const QString bus = QStringLiteral("org.freedesktop.DBus");
    auto call = QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, method);
    call.setArguments(arguments);
    bus_.send(call);
}

void StatusNotifierItem::setIcon(const QString& name, Drawing drawing) {
    show(name, std::move(drawing));
    setAttention(false);
}

void StatusNotifierItem::demandAttention(Drawing drawing) {
    show({}, std::move(drawing));
    setAttention(true);
}

void StatusNotifierItem::setAttention(bool demanded) {
    if (demanded) emit NewAttentionIcon();
    if (std::exchange(demandsAttention_, demanded) != demanded) emit NewStatus(status());
}

void StatusNotifierItem::show(const QString& name, Drawing drawing) {
    iconName_ = name;
    drawing_ = std::move(drawing);
    emit NewIcon();
}

QList<DBusPixmap> StatusNotifierItem::drawn() const {
    QList<DBusPixmap> pixmaps;
    if (!drawing_) return pixmaps;
    for (const QImage& image : drawing_())
        pixmaps.append(pixmapOf(image));
    return pixmaps;
}

void StatusNotifierItem::setToolTip(const QString& text) {
    if (std::exchange(toolTip_, text) != text) emit NewToolTip();
}

/// A panel that is still there reads the icon again when it is said to have changed.
void StatusNotifierItem::panelLeft() {
    menu_.panelLeft();
    seen_ = false;
    emit NewIcon();
}

QDBusObjectPath StatusNotifierItem::menu() {
    return QDBusObjectPath(menuPath);
}

QString StatusNotifierItem::id() {
    looked();
    return QCoreApplication::applicationName();
}

QString StatusNotifierItem::status() const {
    return demandsAttention_ ? QStringLiteral("NeedsAttention") : QStringLiteral("Active");
}

QString StatusNotifierItem::iconName() {
    looked();
    return iconName_;
}

QList<DBusPixmap> StatusNotifierItem::iconPixmap() {
    looked();
    return drawn();
}

QList<DBusPixmap> StatusNotifierItem::attentionIconPixmap() const {
    return demandsAttention_ ? drawn() : QList<DBusPixmap>();
}

DBusToolTip StatusNotifierItem::toolTip() const {
    return {{}, {}, toolTip_, {}};
}

void StatusNotifierItem::looked() {
    if (std::exchange(seen_, true)) return;
    QMetaObject::invokeMethod(
        this, [this] { reports_.seen(); }, Qt::QueuedConnection);
}

void StatusNotifierItem::Activate(int, int) {
    reports_.activated();
}

void StatusNotifierItem::SecondaryActivate(int, int) {
    reports_.activated();
}

/// Asked for by panels that cannot show the menu themselves.
void StatusNotifierItem::ContextMenu(int, int) {
    reports_.activated();
}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    if (token.size() > maxToken) return;  // Children get it, too, and the system has a limit for that.
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());  // Where Qt looks for it.
}

}  // namespace orvane
