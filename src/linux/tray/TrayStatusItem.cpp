#include "linux/tray/TrayStatusItem.h"

#include "linux/desktop/Display.h"
#include "linux/desktop/MenuLabel.h"
#include "linux/desktop/QtImages.h"
#include "linux/desktop/WindowFocus.h"
#include "linux/desktop/WindowSupply.h"
#include "linux/tray/MenuWindow.h"
#include "linux/tray/QtMenu.h"
#include "linux/tray/StatusNotifierItem.h"

#include <QCursor>
#include <QSystemTrayIcon>
#include <algorithm>
#include <chrono>
#include <utility>

namespace orvane {

namespace {

using namespace std::chrono_literals;

constexpr auto patience = 3s;
/// For a panel that says that it is there and has not looked at the icon yet: it may be starting.
constexpr auto patienceWithHost = 8s;
const QString symbolicIcon = QStringLiteral("audio.orvane.Orvane-symbolic");

/// Elsewhere a symbolic icon is shown in its file's own colours, which are too faint for one panel or
/// another.
bool panelColoursSymbolicIcons() {
    const QStringList colouring{QStringLiteral("GNOME"), QStringLiteral("KDE"), QStringLiteral("XFCE")};
    return std::ranges::any_of(desktopNames(), [&](const QString& name) { return colouring.contains(name); });
}

QString themedName(const QtImage& image) {
    const bool fits = image.isTemplate() && panelColoursSymbolicIcons() && QIcon::hasThemeIcon(symbolicIcon);
    return fits ? symbolicIcon : QString();
}

}  // namespace

TrayStatusItem::TrayStatusItem(WindowSupply& supply)
    : supply_(supply),
      embeddingTray_([this](bool present) { embeddingTrayChanged(present); }),
      host_([this](bool present) { hostChanged(present); }, [this] { hostLeft(); }) {
    soon_.setSingleShot(true);
    QObject::connect(&soon_, &QTimer::timeout, [this] { refreshStatus(); });
    click_.setSingleShot(true);
    QObject::connect(&click_, &QTimer::timeout, [this] { answerClick(); });
    patience_.setSingleShot(true);
    QObject::connect(&patience_, &QTimer::timeout, [this] { standIn(); });
    patience_.start(host_.canAppear() ? patience : 0s);
}

TrayStatusItem::~TrayStatusItem() {
    if (menu_) menu_->removeWatcher(this);
}

void TrayStatusItem::setImage(const std::shared_ptr<Image>& image) {
    if (image == image_) return;
    image_ = std::static_pointer_cast<QtImage>(image);
    refreshImage();
}

void TrayStatusItem::setMenu(const std::shared_ptr<StatusItemMenu>& menu) {
    if (menu_) menu_->removeWatcher(this);
    item_.reset();
    dropStandIns();
    clickedWindow_.reset();
    popup_.reset();
    menu_ = menu;
    menu_->addWatcher(this);
    if (hostIsPresent_) offer();
}

std::string TrayStatusItem::comeForward() {
    if (window_) {
        bringToFront(*window_);
        return "its window is in front now";
    }
    if (!item_ && !docked_) return "it is waiting for a tray";
    if (isWaylandDesktop())
        showClickedWindow();
    else
        popUp(QCursor::pos());
    return "its menu is open now; its icon is in the tray";
}

void TrayStatusItem::hostChanged(bool present) {
    hostIsPresent_ = present;
    item_.reset();
    patience_.start(present ? patienceWithHost : patience);
    if (present && menu_) offer();
}

void TrayStatusItem::hostLeft() {
    if (!item_) return;
    item_->panelLeft();
    patience_.start(patienceWithHost);
}

/// A tray that goes may be one that starts again.
void TrayStatusItem::embeddingTrayChanged(bool present) {
    docked_.reset();
    if (item_ && item_->isSeen()) return;
    if (present && window_) return standIn();
    if (!present) patience_.start(patience);
}

void TrayStatusItem::offer() {
    StatusNotifierItem::Reports reports{.seen =
                                            [this] {
                                                patience_.stop();
                                                dropStandIns();
                                            },
                                        .activated = [this] { clicked(); }};
    item_ = std::make_unique<StatusNotifierItem>(host_.bus(), menu_, dbusLabelWriter(desktopNames()),
                                                 std::move(reports));
    refreshImage();
    refreshToolTip();
}

void TrayStatusItem::standIn() {
    if (!menu_ || (item_ && item_->isSeen())) return;
    dropStandIns();
    if (!supply_.allows()) return patience_.start(patienceWithHost);
    if (embeddingTray_.isPresent())
        dock();
    else
        showWindow();
    refreshImage();
    refreshToolTip();
}

void TrayStatusItem::dropStandIns() {
    docked_.reset();
    window_.reset();
    supply_.closed();
}

void TrayStatusItem::dock() {
    if (!popup_) popup_ = std::make_unique<QtMenu>(menu_);
    docked_ = std::make_unique<QSystemTrayIcon>();
    docked_->setContextMenu(popup_.get());
    QObject::connect(docked_.get(), &QSystemTrayIcon::activated,
                     [this](QSystemTrayIcon::ActivationReason reason) {
                         if (reason == QSystemTrayIcon::Trigger) popUp(QCursor::pos());
                     });
    refreshImage();
    docked_->show();
}

void TrayStatusItem::showWindow() {
    window_ = std::make_unique<MenuWindow>(menu_, MenuWindow::Closing::quits);
    refreshImage();
    window_->show();
}

/// However many come at once, they are one.
void TrayStatusItem::clicked() {
    click_.start(0);
}

/// A Wayland client knows no place on the screen, so that a popped up menu would stand anywhere and could not
/// be dismissed. Elsewhere the pointer is where the click was; what panels say of that is in their own
/// window's coordinates with some, and in the screen's own pixels with others.
void TrayStatusItem::answerClick() {
    if (isWaylandDesktop()) return toggleWindow();
    popUp(QCursor::pos());
}

void TrayStatusItem::popUp(QPoint where) {
    if (!supply_.allows()) return;
    if (!popup_) popup_ = std::make_unique<QtMenu>(menu_);
    popup_->popup(where);
}

void TrayStatusItem::toggleWindow() {
    if (window_) return bringToFront(*window_);
    if (clickedWindow_ && clickedWindow_->isVisible()) return clickedWindow_->hide();
    showClickedWindow();
}

void TrayStatusItem::showClickedWindow() {
    if (!supply_.allows()) return;
    if (!clickedWindow_) clickedWindow_ = std::make_unique<MenuWindow>(menu_, MenuWindow::Closing::hides);
    refreshImage();
    bringToFront(*clickedWindow_);
}

void TrayStatusItem::refreshImage() {
    if (!image_) return;
    const Badge badge = tellsOfProblem_ ? Badge::problem : Badge::none;
    if (window_) window_->setImage(*image_, badge);
    if (clickedWindow_) clickedWindow_->setImage(*image_, badge);
    const auto drawing = [image = image_, badge] { return image->statusImages(badge); };
    if (item_ && tellsOfProblem_) item_->demandAttention(drawing);
    if (item_ && !tellsOfProblem_) item_->setIcon(themedName(*image_), drawing);
    if (docked_) docked_->setIcon(image_->statusIcon(badge));
}

void TrayStatusItem::refreshStatus() {
    refreshToolTip();
    const bool tellsOfProblem = menu_->statusRow()->title().starts_with("⚠");
    if (std::exchange(tellsOfProblem_, tellsOfProblem) != tellsOfProblem) refreshImage();
}

void TrayStatusItem::refreshToolTip() {
    const QString status = literalText(menu_->statusRow()->title());
    if (item_) item_->setToolTip(status);
    // Tooltips that Qt shows itself would read markup in the text.
    if (docked_) docked_->setToolTip(QStringLiteral("<qt>%1</qt>").arg(status.toHtmlEscaped()));
}

}  // namespace orvane
