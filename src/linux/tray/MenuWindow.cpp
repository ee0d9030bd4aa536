#include "linux/tray/MenuWindow.h"

#include "linux/desktop/MenuLabel.h"
#include "linux/desktop/QtImages.h"
#include "linux/tray/MenuChoice.h"
#include "linux/tray/MenuRow.h"

#include <QCloseEvent>
#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace orvane {

namespace {

constexpr int iconSize = 32;

QFrame* makeLine() {
    auto* line = new QFrame;
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

QLabel* makeStatusLabel() {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setMinimumWidth(240);
    QFont font = label->font();
    font.setPointSizeF(font.pointSizeF() * 1.15);
    font.setBold(true);
    label->setFont(font);
    return label;
}

}  // namespace

MenuWindow::MenuWindow(std::shared_ptr<StatusItemMenu> menu, Closing closing)
    : menu_(std::move(menu)),
      closing_(closing),
      icon_(new QLabel),
      status_(makeStatusLabel()),
      list_(new QVBoxLayout) {
    setWindowTitle(QStringLiteral("Orvane"));
    setObjectName(QStringLiteral("menuWindow"));
    setWindowFlags(Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowMinimizeButtonHint |
                   Qt::WindowCloseButtonHint);
    setFocusPolicy(Qt::StrongFocus);
    setFocus();  // No row is picked out before a key or the pointer does so.

    auto* header = new QHBoxLayout;
    header->setContentsMargins(14, 14, 14, 10);
    header->setSpacing(12);
    header->addWidget(icon_);
    header->addWidget(status_, 1);

    list_->setContentsMargins(6, 0, 6, 8);
    list_->setSpacing(1);

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->setSizeConstraint(QLayout::SetFixedSize);
    all->addLayout(header);
    all->addLayout(list_);

    menu_->addWatcher(this);
    refresh();
}

MenuWindow::~MenuWindow() {
    menu_->removeWatcher(this);
}

void MenuWindow::setImage(const QtImage& image, Badge badge) {
    icon_->setPixmap(image.pixmap(iconSize, devicePixelRatioF(), palette().windowText().color(), badge));
}

void MenuWindow::closeEvent(QCloseEvent* event) {
    if (closing_ == Closing::hides) return QWidget::closeEvent(event);
    event->ignore();
    const auto quit = std::ranges::find(menu_->items(), MenuAction::quit, &MenuItem::action);
    if (quit != menu_->items().end()) chooseSoon(menu_, *quit);
}

void MenuWindow::menuChanged() {
    if (std::exchange(refreshIsPending_, true)) return;
    QMetaObject::invokeMethod(
        this, [this] { refresh(); }, Qt::QueuedConnection);
}

void MenuWindow::refresh() {
    refreshIsPending_ = false;
    if (items_ != menu_->items()) rebuild();
    status_->setText(literalText(menu_->statusRow()->title()));
    for (MenuRow* row : rows_)
        row->refresh();
}

void MenuWindow::rebuild() {
    while (QLayoutItem* old = list_->takeAt(0)) {
        old->widget()->deleteLater();
        delete old;
    }
    rows_.clear();
    items_ = menu_->items();
    for (const auto& item : items_) {
        if (item != menu_->statusRow()) list_->addWidget(makeRow(item));
    }
}

QWidget* MenuWindow::makeRow(const std::shared_ptr<MenuItem>& item) {
    if (item->isSeparator()) return makeLine();
    rows_.push_back(new MenuRow(menu_, item, this));
    return rows_.back();
}

}  // namespace orvane
