#include "linux/desktop/MenuWindow.h"

#include "linux/desktop/MenuRow.h"
#include "linux/desktop/QtImages.h"
#include "linux/desktop/QtMenu.h"
#include "text/HarmlessText.h"

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

MenuWindow::MenuWindow(std::shared_ptr<Menu> menu)
    : menu_(std::move(menu)), icon_(new QLabel), status_(makeStatusLabel()), list_(new QVBoxLayout) {
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

    menu_->setObserver(this);
    rowsChanged(*menu_);
}

MenuWindow::~MenuWindow() {
    menu_->setObserver(nullptr);
}

void MenuWindow::setImage(const QtImage& image) {
    icon_->setPixmap(image.pixmap(iconSize, devicePixelRatioF(), palette().windowText().color()));
}

void MenuWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    const auto quit = std::ranges::find(menu_->items(), MenuAction::quit, &MenuItem::action);
    if (quit != menu_->items().end()) chooseSoon(menu_, *quit);
}

bool MenuWindow::isStatus(const MenuItem& item) const {
    return &item == statusRow(*menu_);
}

void MenuWindow::itemChanged(MenuItem& item) {
    if (isStatus(item)) status_->setText(QString::fromStdString(harmless(item.title())));
    const auto row = std::ranges::find(rows_, &item, &MenuRow::item);
    if (row != rows_.end()) (*row)->refresh();
}

void MenuWindow::rowsChanged(Menu& menu) {
    while (QLayoutItem* old = list_->takeAt(0)) {
        old->widget()->deleteLater();
        delete old;
    }
    rows_.clear();
    for (const auto& item : menu.items()) {
        if (isStatus(*item))
            itemChanged(*item);
        else
            list_->addWidget(makeRow(item));
    }
}

QWidget* MenuWindow::makeRow(const std::shared_ptr<MenuItem>& item) {
    if (item->isSeparator()) return makeLine();
    rows_.push_back(new MenuRow(menu_, item, this));
    return rows_.back();
}

}  // namespace orvane
