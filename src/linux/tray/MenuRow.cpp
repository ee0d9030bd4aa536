#include "linux/tray/MenuRow.h"

#include "linux/desktop/MenuLabel.h"
#include "linux/tray/MenuChoice.h"
#include "linux/tray/QtMenu.h"

#include <QPainter>
#include <QStyleOptionMenuItem>
#include <algorithm>
#include <utility>

namespace orvane {

namespace {

constexpr int maxRowWidth = 480;

}  // namespace

MenuRow::MenuRow(std::shared_ptr<Menu> menu, std::shared_ptr<MenuItem> item, QWidget* parent)
    : QPushButton(parent), menu_(std::move(menu)), item_(std::move(item)) {
    setFlat(true);
    setAutoDefault(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QPushButton::clicked, this, &MenuRow::activate);
    refresh();
}

MenuRow::~MenuRow() {
    if (submenu_) closeSubmenu();
}

void MenuRow::refresh() {
    setText(plainLabel(item_->title()));
    setVisible(!item_->isHidden());
    setCheckable(item_->checkState() != CheckState::none);
    setChecked(item_->checkState() == CheckState::on);
    setEnabled(item_->isShownEnabled());
    if (!item_->keyEquivalent().empty()) setShortcut(keySequence(item_->keyEquivalent()));
    refreshSubmenu();
    updateGeometry();
    update();
}

void MenuRow::refreshSubmenu() {
    const auto& model = item_->submenu();
    if (submenu_ && model) return submenu_->setModel(model);
    if (submenu_) {
        closeSubmenu();
        submenu_.release()->deleteLater();
    }
    if (!model) return;
    submenu_ = std::make_unique<QtMenu>(model);
    connect(submenu_.get(), &QMenu::aboutToHide, this, &MenuRow::submenuClosed);
}

void MenuRow::activate() {
    if (submenu_) return popUp();
    setChecked(item_->checkState() == CheckState::on);  // The button has moved its mark by itself.
    chooseSoon(menu_, item_);
}

/// The menu as a whole counts as open while something of it is popped up.
void MenuRow::popUp() {
    menu_->needsUpdate();
    poppedUp_ = true;
    menu_->willOpen();
    submenu_->popup(mapToGlobal(rect().topRight()));
    // Some versions of Qt announce an empty menu, do not show it, and so never hide it.
    if (!submenu_->isVisible()) closeSubmenu();
}

void MenuRow::closeSubmenu() {
    submenu_->assumeClosed();
    submenuClosed();
}

void MenuRow::submenuClosed() {
    if (std::exchange(poppedUp_, false)) menu_->didClose();
}

QStyleOptionMenuItem MenuRow::option() const {
    QStyleOptionMenuItem option;
    option.initFrom(this);
    option.font = font();
    option.fontMetrics = fontMetrics();
    option.menuRect = rect();
    option.menuItemType = submenu_ ? QStyleOptionMenuItem::SubMenu : QStyleOptionMenuItem::Normal;
    option.menuHasCheckableItems = true;
    option.checkType =
        isCheckable() ? QStyleOptionMenuItem::NonExclusive : QStyleOptionMenuItem::NotCheckable;
    option.checked = isChecked();
    option.text = text();
    if (!shortcut().isEmpty()) {
        option.text += u'\t' + shortcut().toString(QKeySequence::NativeText);
        option.reservedShortcutWidth = fontMetrics().horizontalAdvance(shortcut().toString()) + 12;
    }
    const bool pointedAt = isEnabled() && (underMouse() || hasFocus());
    option.state.setFlag(QStyle::State_Selected, pointedAt);
    return option;
}

QSize MenuRow::sizeHint() const {
    const QStyleOptionMenuItem row = option();
    const QSize text(fontMetrics().horizontalAdvance(row.text), fontMetrics().height());
    const QSize size = style()->sizeFromContents(QStyle::CT_MenuItem, &row, text, this);
    return {std::min(size.width() + row.reservedShortcutWidth, maxRowWidth), size.height() + 4};
}

void MenuRow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QStyleOptionMenuItem row = option();
    const int overhead = sizeHint().width() - fontMetrics().horizontalAdvance(row.text);
    if (overhead < 0) row.text = fontMetrics().elidedText(row.text, Qt::ElideMiddle, width() - 60);
    style()->drawControl(QStyle::CE_MenuItem, &row, &painter, this);
}

void MenuRow::enterEvent(QEnterEvent* event) {
    QPushButton::enterEvent(event);
    if (isEnabled()) setFocus(Qt::MouseFocusReason);
}

}  // namespace orvane
