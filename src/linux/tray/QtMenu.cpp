#include "linux/tray/QtMenu.h"

#include "linux/desktop/MenuLabel.h"
#include "linux/tray/MenuChoice.h"

#include <utility>

namespace orvane {

namespace {

void showRow(QAction& action, const RowLook& look) {
    action.setText(plainLabel(look.title));
    action.setVisible(!look.hidden);
    action.setCheckable(look.mark != CheckState::none);
    action.setChecked(look.mark == CheckState::on);
    action.setEnabled(look.separator || look.isShownEnabled());
}

}  // namespace

QtMenu::QtMenu(std::shared_ptr<Menu> model, QWidget* parent)
    : QMenu(parent), model_(std::move(model)), mirror_(model_, [this] { refreshSoon(); }) {
    setSeparatorsCollapsible(false);
    connect(this, &QMenu::aboutToShow, this, &QtMenu::opened);
    connect(this, &QMenu::aboutToHide, this, &QtMenu::closed);
    for (const auto& row : mirror_.root().rows)
        addAction(makeRow(*row, *this));
}

QtMenu::~QtMenu() {
    closed();
}

void QtMenu::setModel(std::shared_ptr<Menu> model) {
    if (model == model_) return;
    if (open_) model_->didClose();
    model_ = std::move(model);
    if (open_) model_->willOpen();
    mirror_.setMenu(model_);
}

void QtMenu::assumeClosed() {
    hide();
    closed();
}

void QtMenu::refreshSoon() {
    QMetaObject::invokeMethod(
        this, [this] { refresh(); }, Qt::QueuedConnection);
}

void QtMenu::refresh() {
    for (const MenuChange& change : mirror_.update())
        carryOut(change);
}

void QtMenu::carryOut(const MenuChange& change) {
    QMenu& menu = *nativeMenu(change.menu);
    const ShownRow* row = mirror_.find(change.row);
    switch (change.kind) {
        case MenuChange::Kind::removed:
            return removeRow(*actions_.at(change.row));
        case MenuChange::Kind::inserted:
            return menu.insertAction(menu.actions().value(static_cast<qsizetype>(change.index)),
                                     makeRow(*row, menu));
        case MenuChange::Kind::moved:
            menu.removeAction(actions_.at(change.row));
            return menu.insertAction(menu.actions().value(static_cast<qsizetype>(change.index)),
                                     actions_.at(change.row));
        case MenuChange::Kind::changed:
            return showRow(*actions_.at(change.row), row->look);
    }
}

QMenu* QtMenu::nativeMenu(RowId id) {
    return id == rootMenu ? this : actions_.at(id)->menu<QMenu*>();
}

QAction* QtMenu::makeRow(const ShownRow& row, QMenu& menu) {
    auto* action = new QAction(&menu);
    actions_[row.id] = action;
    action->setData(row.id);
    action->setSeparator(row.look.separator);
    action->setMenuRole(QAction::NoRole);
    action->setShortcut(keySequence(row.look.keyEquivalent));
    connect(action, &QAction::triggered, this, [this, id = row.id] { choose(id); });
    showRow(*action, row.look);
    if (row.look.leadsOn) makeSubmenu(row, *action);
    return action;
}

void QtMenu::makeSubmenu(const ShownRow& row, QAction& action) {
    auto* submenu = new QMenu(this);
    submenu->setSeparatorsCollapsible(false);
    action.setMenu(submenu);
    connect(submenu, &QMenu::aboutToShow, this, [this, id = row.id] {
        mirror_.refill(id);
        refresh();
    });
    for (const auto& below : row.below.rows)
        submenu->addAction(makeRow(*below, *submenu));
}

void QtMenu::removeRow(QAction& action) {
    forget(action);
    for (QObject* holder : action.associatedObjects()) {
        if (auto* menu = qobject_cast<QMenu*>(holder)) menu->removeAction(&action);
    }
    // Events for both may be on their way.
    if (auto* submenu = action.menu<QMenu*>()) {
        submenu->hide();
        submenu->deleteLater();
    }
    action.deleteLater();
}

void QtMenu::forget(const QAction& action) {
    actions_.erase(action.data().toInt());
    const auto* submenu = action.menu<QMenu*>();
    if (!submenu) return;
    for (const QAction* below : submenu->actions())
        forget(*below);
}

void QtMenu::opened() {
    mirror_.refill();
    refresh();
    open_ = true;
    model_->willOpen();
}

void QtMenu::closed() {
    if (std::exchange(open_, false)) model_->didClose();
}

void QtMenu::choose(RowId id) {
    const ShownRow* row = mirror_.find(id);
    if (!row) return;
    showRow(*actions_.at(id),
            row->look);  // Qt has moved the check mark by itself; the model moves it, or does not.
    chooseSoon(row->menu, row->item);
}

}  // namespace orvane
