// The status menu on the session bus, for a panel that draws it: com.canonical.dbusmenu
// (https://github.com/AyatanaIndicators/libdbusmenu/blob/master/libdbusmenu-glib/dbus-menu.xml).
// Main thread only.
#pragma once

#include "linux/desktop/MenuLabel.h"
#include "menu/MenuMirror.h"

#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QList>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <chrono>
#include <memory>
#include <set>

namespace orvane {

/// (ia{sv}): a row and what is said of it.
struct DBusMenuRow {
    int id = 0;
    QVariantMap properties;
};

/// (ia{sv}av): a row and, if asked for, the rows below it.
struct DBusMenuLayout {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayout> rows;
};

/// (ias): a row and what is no longer said of it.
struct DBusMenuRemoval {
    int id = 0;
    QStringList names;
};

/// (isvu): something that the user did in a panel.
struct DBusMenuEvent {
    int id = 0;
    QString name;
    QDBusVariant data;
    uint timestamp = 0;
};

/// Panels differ in their manners. Some never say that they open or close the menu: they hold nothing back.
/// One that has said `opened` counts as showing the menu until it says `closed`, a row is clicked, it leaves
/// the bus, or nothing has been heard of it for `lease`: so a lost word heals. `AboutToShow` never opens
/// anything: it brings everything up to date. Nothing is said on the bus when nothing has changed, but for
/// one thing: a panel that reads only one level of the menu is told once of each submenu below, so that it
/// has read them before somebody opens them.
class DBusMenu : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)

  public:
    /// `bus` is where panels are followed.
    DBusMenu(std::shared_ptr<Menu> model, LabelWriter writer, std::chrono::milliseconds lease,
             const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~DBusMenu() override;

    /// Whoever showed the menu has gone.
    void panelLeft();

    static uint version() { return 3; }
    static QString textDirection();
    static QString status() { return QStringLiteral("normal"); }
    static QStringList iconThemePath() { return {}; }

    // NOLINTBEGIN(readability-identifier-naming): the names are the interface's.
  public Q_SLOTS:
    uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                   orvane::DBusMenuLayout& layout);
    QList<orvane::DBusMenuRow> GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
    QList<int> EventGroup(const QList<orvane::DBusMenuEvent>& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

  Q_SIGNALS:
    void ItemsPropertiesUpdated(const QList<orvane::DBusMenuRow>& updated,
                                const QList<orvane::DBusMenuRemoval>& removed);
    void LayoutUpdated(uint revision, int parent);
    // NOLINTEND(readability-identifier-naming)

  private:
    bool knows(int id) const { return id == rootMenu || mirror_.find(id); }
    void refreshSoon();
    bool refresh();
    bool bringUpToDate(int id);
    void handle(int id, const QString& event);
    void opened(int id);
    void click(int id);
    QVariantMap properties(int id, const QStringList& names) const;
    DBusMenuLayout layoutOf(int id, int depth, const QStringList& names) const;
    void tellOfUnread(const DBusMenuLayout& read);
    void assumeClosed();
    void refuse(int id);

    std::shared_ptr<Menu> model_;
    LabelWriter writer_;
    MenuMirror mirror_;
    QTimer lease_;
    QDBusServiceWatcher panel_;  ///< Follows who has opened the menu.
    std::set<int> toldOf_;       ///< Submenus that a panel has been told of before it has read them.
    uint revision_ = 1;
    bool open_ = false;
};

}  // namespace orvane
