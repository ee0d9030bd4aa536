// The status icon on the session bus, for a panel that draws it
// (https://www.freedesktop.org/wiki/Specifications/StatusNotifierItem/). Main thread only.
#pragma once

#include "linux/tray/DBusMenu.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QImage>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <vector>

namespace orvane {

/// (iiay): the pixels as ARGB32 in network byte order.
struct DBusPixmap {
    int width = 0;
    int height = 0;
    QByteArray pixels;
};

/// (sa(iiay)ss)
struct DBusToolTip {
    QString iconName;
    QList<DBusPixmap> icon;
    QString title;
    QString text;
};

/// Offers itself to the panels while it lives. Panels are told that the icon is its menu (`ItemIsMenu`), so
/// that they open it themselves, in the right place, whichever button is pressed; those that report a plain
/// click all the same are answered by `Reports::activated`.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category)
    Q_PROPERTY(QString Id READ id)
    Q_PROPERTY(QString Title READ id)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(int WindowId READ windowId)
    Q_PROPERTY(QString IconThemePath READ none)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QList<orvane::DBusPixmap> IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ none)
    Q_PROPERTY(QList<orvane::DBusPixmap> OverlayIconPixmap READ noPixmap)
    Q_PROPERTY(QString AttentionIconName READ none)
    Q_PROPERTY(QList<orvane::DBusPixmap> AttentionIconPixmap READ attentionIconPixmap)
    Q_PROPERTY(QString AttentionMovieName READ none)
    Q_PROPERTY(orvane::DBusToolTip ToolTip READ toolTip)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu)
    Q_PROPERTY(QDBusObjectPath Menu READ menu)

  public:
    struct Reports {
        /// Some panel has begun to look at the icon.
        std::function<void()> seen;
        /// The icon was clicked at that place of the screen, if the panel knows it.
        std::function<void()> activated;
    };

    StatusNotifierItem(QDBusConnection bus, const std::shared_ptr<Menu>& menu, LabelWriter writer,
                       Reports reports);
    ~StatusNotifierItem() override;

    /// Draws an icon in all its sizes, each time a panel asks for it: most ask once, and they are large
    /// together.
    using Drawing = std::function<std::vector<QImage>()>;

    /// `name` is that of a themed icon which the panel takes before the drawing; it may be empty.
    void setIcon(const QString& name, Drawing drawing);
    /// Until the next `setIcon`. Panels that know of no attention show the drawing, too.
    void demandAttention(Drawing drawing);
    void setToolTip(const QString& text);
    /// False until some panel has looked at the icon.
    bool isSeen() const { return seen_; }
    /// One of the panels has gone: the menu is closed, and the icon counts as seen when another looks at it.
    void panelLeft();

    static QString category() { return QStringLiteral("ApplicationStatus"); }
    static int windowId() { return 0; }
    static QString none() { return {}; }
    static QList<orvane::DBusPixmap> noPixmap() { return {}; }
    static bool itemIsMenu() { return true; }
    static QDBusObjectPath menu();
    QString id();
    QString status() const;
    QString iconName();
    QList<orvane::DBusPixmap> iconPixmap();
    QList<orvane::DBusPixmap> attentionIconPixmap() const;
    orvane::DBusToolTip toolTip() const;

    // NOLINTBEGIN(readability-identifier-naming): the names are the interface's.
  public Q_SLOTS:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void ContextMenu(int x, int y);
    void Scroll(int, const QString&) {}
    /// Wayland's leave to come to the front, for what the next click opens.
    void ProvideXdgActivationToken(const QString& token);

  Q_SIGNALS:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString& status);
    // NOLINTEND(readability-identifier-naming)

  private:
    void looked();
    void show(const QString& name, Drawing drawing);
    void tellBus(const QString& method, const QVariantList& arguments);
    QList<DBusPixmap> drawn() const;
    void setAttention(bool demanded);

    QDBusConnection bus_;
    Reports reports_;
    DBusMenu menu_;
    QString service_;
    QString iconName_;
    Drawing drawing_;
    QString toolTip_;
    bool demandsAttention_ = false;
    bool seen_ = false;
};

}  // namespace orvane
