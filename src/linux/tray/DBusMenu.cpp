#include "linux/tray/DBusMenu.h"

#include "linux/tray/MenuChoice.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QGuiApplication>
#include <utility>

namespace orvane {

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuRow& row) {
    argument.beginStructure();
    argument << row.id << row.properties;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuLayout& layout) {
    argument.beginStructure();
    argument << layout.id << layout.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const DBusMenuLayout& row : layout.rows)
        argument << QDBusVariant(QVariant::fromValue(row));
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuRemoval& removal) {
    argument.beginStructure();
    argument << removal.id << removal.names;
    argument.endStructure();
    return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const DBusMenuEvent& event) {
    argument.beginStructure();
    argument << event.id << event.name << event.data << event.timestamp;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuEvent& event) {
    argument.beginStructure();
    argument >> event.id >> event.name >> event.data >> event.timestamp;
    argument.endStructure();
    return argument;
}

/// Qt asks for both directions; these three are only sent.
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuRow&) {
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuLayout&) {
    return argument;
}
const QDBusArgument& operator>>(const QDBusArgument& argument, DBusMenuRemoval&) {
    return argument;
}

namespace {

void registerTypes() {
    qDBusRegisterMetaType<DBusMenuRow>();
    qDBusRegisterMetaType<QList<DBusMenuRow>>();
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuRemoval>();
    qDBusRegisterMetaType<QList<DBusMenuRemoval>>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
    qDBusRegisterMetaType<QList<QStringList>>();
}

QVariantMap describe(const ShownRow& row, LabelWriter writer) {
    const RowLook& look = row.look;
    QVariantMap says{{QStringLiteral("visible"), !look.hidden}};
    if (look.separator) {
        says[QStringLiteral("type")] = QStringLiteral("separator");
        return says;
    }
    says[QStringLiteral("label")] = writer(look.title);
    says[QStringLiteral("enabled")] = look.isShownEnabled();
    if (look.mark != CheckState::none) {
        says[QStringLiteral("toggle-type")] = QStringLiteral("checkmark");
        says[QStringLiteral("toggle-state")] = look.mark == CheckState::on ? 1 : 0;
    }
    if (look.leadsOn) says[QStringLiteral("children-display")] = QStringLiteral("submenu");
    if (!look.keyEquivalent.empty()) {
        const QStringList keys{QStringLiteral("Control"),
                               QString::fromStdString(look.keyEquivalent).toUpper()};
        says[QStringLiteral("shortcut")] = QVariant::fromValue(QList<QStringList>{keys});
    }
    return says;
}

}  // namespace

DBusMenu::DBusMenu(std::shared_ptr<Menu> model, LabelWriter writer, std::chrono::milliseconds lease,
                   const QDBusConnection& bus)
    : model_(std::move(model)), writer_(writer), mirror_(model_, [this] { refreshSoon(); }) {
    registerTypes();
    lease_.setSingleShot(true);
    lease_.setInterval(lease);
    connect(&lease_, &QTimer::timeout, this, &DBusMenu::assumeClosed);
    panel_.setConnection(bus);
    panel_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&panel_, &QDBusServiceWatcher::serviceUnregistered, this, &DBusMenu::panelLeft);
}

DBusMenu::~DBusMenu() {
    assumeClosed();
}

QString DBusMenu::textDirection() {
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

void DBusMenu::panelLeft() {
    assumeClosed();
    toldOf_.clear();
}

void DBusMenu::assumeClosed() {
    lease_.stop();
    if (std::exchange(open_, false)) model_->didClose();
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                         DBusMenuLayout& layout) {
    refresh();
    if (knows(parentId))
        layout = layoutOf(parentId, recursionDepth, propertyNames);
    else
        refuse(parentId);
    if (recursionDepth > 0) tellOfUnread(layout);
    return revision_;
}

/// Plasma asks for one level and fills a submenu only after it has popped it up: at the first time empty, at
/// the screen's edge, where its rows then stand outside.
void DBusMenu::tellOfUnread(const DBusMenuLayout& read) {
    for (const DBusMenuLayout& row : read.rows) {
        const ShownMenu* below = mirror_.findMenu(row.id);
        if (!below || below->rows.empty()) continue;
        if (!row.rows.isEmpty()) {
            tellOfUnread(row);
        } else if (toldOf_.insert(row.id).second) {
            // After the answer, without which the panel does not know the row.
            QMetaObject::invokeMethod(
                this, [this, id = row.id] { emit LayoutUpdated(revision_, id); }, Qt::QueuedConnection);
        }
    }
}

QList<DBusMenuRow> DBusMenu::GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) {
    refresh();
    QList<DBusMenuRow> rows;
    for (const int id : ids) {
        if (knows(id)) rows.append({id, properties(id, propertyNames)});
    }
    return rows;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    refresh();
    const QVariant value = knows(id) ? properties(id, {}).value(name) : QVariant();
    if (!value.isValid()) refuse(id);
    return QDBusVariant(value.isValid() ? value : QVariant(QString()));
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    if (knows(id)) return handle(id, eventId);
    refuse(id);
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent>& events) {
    QList<int> unknown;
    for (const DBusMenuEvent& event : events) {
        if (knows(event.id))
            handle(event.id, event.name);
        else
            unknown.append(event.id);
    }
    if (!events.isEmpty() && unknown.size() == events.size()) refuse(unknown.front());
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    if (knows(id)) return bringUpToDate(id);
    refuse(id);
    return false;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    QList<int> changed;
    for (const int id : ids) {
        if (!knows(id))
            idErrors.append(id);
        else if (bringUpToDate(id))
            changed.append(id);
    }
    return changed;
}

void DBusMenu::refreshSoon() {
    QMetaObject::invokeMethod(
        this, [this] { refresh(); }, Qt::QueuedConnection);
}

/// True when rows have come, gone or moved, and not only changed.
bool DBusMenu::refresh() {
    QList<DBusMenuRow> changed;
    std::set<int> rebuilt;
    for (const MenuChange& change : mirror_.update()) {
        if (change.kind == MenuChange::Kind::changed)
            changed.append({change.row, properties(change.row, {})});
        else
            rebuilt.insert(change.menu);
    }
    for (const int menu : rebuilt)
        emit LayoutUpdated(++revision_, menu);
    if (!changed.isEmpty()) emit ItemsPropertiesUpdated(changed, {});
    return !rebuilt.empty();
}

/// A panel that looks afresh while the menu counts as open has missed nothing if what was held back comes
/// now.
bool DBusMenu::bringUpToDate(int id) {
    if (id == rootMenu && open_) {
        model_->didClose();
        model_->willOpen();
    }
    if (open_) lease_.start();
    mirror_.refill(id);
    return refresh();
}

void DBusMenu::handle(int id, const QString& event) {
    if (open_) lease_.start();
    if (event == QStringLiteral("opened")) return opened(id);
    if (event == QStringLiteral("clicked")) return click(id);
    if (event == QStringLiteral("closed") && id == rootMenu) assumeClosed();
}

void DBusMenu::opened(int id) {
    bringUpToDate(id);
    if (id != rootMenu) return;
    lease_.start();
    panel_.setWatchedServices(calledFromDBus() ? QStringList{message().service()} : QStringList());
    if (!std::exchange(open_, true)) model_->willOpen();
}

void DBusMenu::click(int id) {
    const ShownRow* row = mirror_.find(id);
    if (!row) return;
    const auto menu = row->menu;
    const auto item = row->item;
    assumeClosed();  // As a click does on the screen, whether the panel says so or not.
    chooseSoon(menu, item);
}

QVariantMap DBusMenu::properties(int id, const QStringList& names) const {
    QVariantMap all;
    if (id == rootMenu)
        all[QStringLiteral("children-display")] = QStringLiteral("submenu");
    else
        all = describe(*mirror_.find(id), writer_);
    if (names.isEmpty()) return all;
    QVariantMap some;
    for (const QString& name : names) {
        if (all.contains(name)) some[name] = all[name];
    }
    return some;
}

DBusMenuLayout DBusMenu::layoutOf(int id, int depth, const QStringList& names) const {
    DBusMenuLayout layout{id, properties(id, names), {}};
    const ShownMenu* menu = mirror_.findMenu(id);
    if (!menu || depth == 0) return layout;
    for (const auto& row : menu->rows)
        layout.rows.append(layoutOf(row->id, depth < 0 ? depth : depth - 1, names));
    return layout;
}

void DBusMenu::refuse(int id) {
    if (calledFromDBus())
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no row %1.").arg(id));
}

}  // namespace orvane
