#include "linux/desktop/TrayStatusItem.h"

#include "linux/desktop/Display.h"
#include "linux/desktop/MenuLabel.h"
#include "linux/desktop/MenuWindow.h"
#include "linux/desktop/QtImages.h"
#include "linux/desktop/QtMenu.h"
#include "text/HarmlessText.h"

#include <QCursor>
#include <QGuiApplication>
#include <QSystemTrayIcon>
#include <chrono>

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 3s;
const QString symbolicIcon = QStringLiteral("audio.orvane.Orvane-symbolic");

bool embeddingTrayExists() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 && hasEmbeddingTray(x11->connection());
}

QIcon trayIcon(const QtImage& image) {
    QIcon drawn = image.statusIcon();
    if (!image.isTemplate() || !QIcon::hasThemeIcon(symbolicIcon)) return drawn;
    return QIcon::fromTheme(symbolicIcon, drawn);
}

}  // namespace

TrayStatusItem::TrayStatusItem()
    : host_([this](bool present) { hostChanged(present); },
            [this] {
                if (mirror_) mirror_->assumeClosed();
            }) {
    patience_.setSingleShot(true);
    QObject::connect(&patience_, &QTimer::timeout, [this] { patienceEnded(); });
    patience_.start(host_.canAppear() ? patience : 0s);
}

TrayStatusItem::~TrayStatusItem() = default;

void TrayStatusItem::setImage(const std::shared_ptr<Image>& image) {
    if (image == image_) return;
    image_ = std::static_pointer_cast<QtImage>(image);
    refreshImage();
}

void TrayStatusItem::setMenu(const std::shared_ptr<Menu>& menu) {
    const Surface surface = surface_;
    show(Surface::none);
    menu_ = menu;
    show(surface);
}

std::string TrayStatusItem::comeForward() {
    if (window_) {
        window_->setWindowState(window_->windowState() & ~Qt::WindowMinimized);
        window_->raise();
        window_->activateWindow();
        return "its window is in front now";
    }
    if (!mirror_) return "it is waiting for a tray";
    popUp();
    return "its menu is open now; its icon is in the tray";
}

void TrayStatusItem::hostChanged(bool present) {
    if (surface_ == Surface::embeddedTray) return;
    if (present) {
        patience_.stop();
        show(Surface::dbusTray);
    } else {
        show(Surface::none);
        patience_.start(patience);
    }
}

void TrayStatusItem::patienceEnded() {
    show(embeddingTrayExists() ? Surface::embeddedTray : Surface::window);
}

void TrayStatusItem::show(Surface surface) {
    if (mirror_) mirror_->assumeClosed();
    icon_.reset();
    mirror_.reset();
    window_.reset();
    surface_ = surface;
    if (!menu_ || surface == Surface::none) return;
    if (surface == Surface::window) {
        window_ = std::make_unique<MenuWindow>(menu_);
        refreshImage();
        window_->show();
    } else {
        makeTrayIcon();
        refreshImage();
        refreshToolTip();
        icon_->show();
    }
}

void TrayStatusItem::makeTrayIcon() {
    mirror_ = std::make_unique<QtMenu>(menu_, surface_ == Surface::dbusTray ? dbusLabel : plainLabel);
    icon_ = std::make_unique<QSystemTrayIcon>();
    icon_->setContextMenu(mirror_.get());
    QObject::connect(icon_.get(), &QSystemTrayIcon::activated,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger) popUp();
                     });
    // The first row is the status.
    if (const auto rows = mirror_->actions(); !rows.isEmpty())
        QObject::connect(rows.front(), &QAction::changed, icon_.get(), [this] { refreshToolTip(); });
}

/// Where the panel does not show the menu by itself: a tray of the older kind, or a host that has its own
/// menu button and tells of plain clicks.
void TrayStatusItem::popUp() {
    if (surface_ == Surface::embeddedTray) return mirror_->popup(QCursor::pos());
    auto* menu = new QtMenu(*mirror_, plainLabel);
    QObject::connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    menu->popup(QCursor::pos());
}

void TrayStatusItem::refreshImage() {
    if (!image_) return;
    if (window_) window_->setImage(*image_);
    if (icon_) icon_->setIcon(trayIcon(*image_));
}

void TrayStatusItem::refreshToolTip() {
    const MenuItem* row = statusRow(*menu_);
    if (!row) return;
    const QString status = QString::fromStdString(harmless(row->title()));
    // Tooltips that Qt shows itself would read markup in the text.
    const bool shownByQt = surface_ == Surface::embeddedTray;
    icon_->setToolTip(shownByQt ? QStringLiteral("<qt>%1</qt>").arg(status.toHtmlEscaped()) : status);
}

}  // namespace orvane
