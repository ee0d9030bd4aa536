#include "linux/desktop/QtMenu.h"

#include <QCoreApplication>
#include <QEvent>
#include <algorithm>
#include <utility>

namespace orvane {

namespace {

class ChoiceEvent : public QEvent {
  public:
    ChoiceEvent(std::shared_ptr<Menu> menu, std::shared_ptr<MenuItem> item)
        : QEvent(User), menu_(std::move(menu)), item_(std::move(item)) {}

    void carryOut() const {
        if (item_->isShownEnabled()) menu_->choose(*item_);
    }

  private:
    std::shared_ptr<Menu> menu_;
    std::shared_ptr<MenuItem> item_;
};

class ChoiceReceiver : public QObject {
  public:
    bool event(QEvent* event) override {
        if (const auto* choice = dynamic_cast<ChoiceEvent*>(event)) choice->carryOut();
        return true;
    }
};

}  // namespace

QKeySequence keySequence(const MenuItem& item) {
    if (item.keyEquivalent().empty()) return {};
    return QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(item.keyEquivalent()).toUpper());
}

void chooseSoon(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item) {
    static ChoiceReceiver receiver;
    QCoreApplication::postEvent(&receiver, new ChoiceEvent(menu, item), Qt::HighEventPriority);
}

QtMenu::QtMenu(std::shared_ptr<Menu> model, LabelWriter writer, QWidget* parent)
    : QMenu(parent), model_(std::move(model)), writer_(writer) {
    model_->setObserver(this);
    listen();
}

QtMenu::QtMenu(QtMenu& original, LabelWriter writer, QWidget* parent)
    : QMenu(parent), model_(original.model_), writer_(writer), original_(&original) {
    if (original.twin_) original.twin_->retire();
    original.twin_ = this;
    listen();
}

void QtMenu::listen() {
    setSeparatorsCollapsible(false);
    connect(this, &QMenu::aboutToShow, this, &QtMenu::opened);
    connect(this, &QMenu::aboutToHide, this, &QtMenu::closed);
    rowsChanged(*model_);
}

QtMenu::~QtMenu() {
    retire();
}

void QtMenu::assumeClosed() {
    for (const Row& row : rows_) {
        if (row.submenu) row.submenu->assumeClosed();
    }
    hide();
    closed();
}

void QtMenu::itemChanged(MenuItem& item) {
    const auto row = std::ranges::find(rows_, &item, [](const Row& r) { return r.item.get(); });
    if (row == rows_.end()) return;
    const bool submenuChanged = showSubmenu(*row);
    showRow(*row);
    if (submenuChanged) announceLayout();
    if (twin_) twin_->itemChanged(item);
}

/// The model adds rows at the end only, so rows that persist are in order already.
void QtMenu::rowsChanged(Menu& menu) {
    std::vector<Row> old = std::exchange(rows_, {});
    for (const auto& item : menu.items()) {
        const auto kept = std::ranges::find(old, item, &Row::item);
        if (kept != old.end()) {
            rows_.push_back(*kept);
            old.erase(kept);
        } else {
            rows_.push_back(makeRow(item));
        }
    }
    for (Row& row : old)
        removeRow(row);
    if (twin_) twin_->rowsChanged(menu);
}

QtMenu::Row QtMenu::makeRow(const std::shared_ptr<MenuItem>& item) {
    Row row{item, new QAction(this)};
    row.action->setSeparator(item->isSeparator());
    row.action->setMenuRole(QAction::NoRole);
    row.action->setShortcut(keySequence(*item));
    connect(row.action, &QAction::triggered, this, [this, item] { choose(item); });
    showSubmenu(row);
    showRow(row);
    addAction(row.action);
    return row;
}

void QtMenu::showRow(Row& row) {
    const MenuItem& item = *row.item;
    row.action->setText(writer_(item.title()));
    row.action->setVisible(!item.isHidden());
    row.action->setCheckable(item.checkState() != CheckState::none);
    row.action->setChecked(item.checkState() == CheckState::on);
    row.action->setEnabled(item.isSeparator() || item.isShownEnabled());
}

/// True when another submenu, or none, is shown now.
bool QtMenu::showSubmenu(Row& row) {
    const auto& model = row.item->submenu();
    if (row.submenuModel == model) return false;
    row.submenuModel = model;
    if (row.submenu) row.submenu->retire();
    row.submenu = model ? makeSubmenu(row) : nullptr;
    row.action->setMenu(row.submenu);
    return true;
}

QtMenu* QtMenu::makeSubmenu(const Row& row) {
    if (!original_) return new QtMenu(row.item->submenu(), writer_, this);
    return new QtMenu(*std::ranges::find(original_->rows_, row.item, &Row::item)->submenu, writer_, this);
}

void QtMenu::removeRow(Row& row) {
    removeAction(row.action);
    if (row.submenu) row.submenu->retire();
    row.action->deleteLater();
}

/// Lets go of the model and, as events for this menu may be on their way, of its own life a little later.
void QtMenu::retire() {
    if (!model_) return;
    if (twin_) twin_->retire();
    // With its actions still in it, a QMenu would leave what stands for them on D-Bus behind.
    for (Row& row : std::exchange(rows_, {}))
        removeRow(row);
    closed();
    if (original_)
        original_->twin_ = nullptr;
    else
        model_->setObserver(nullptr);
    model_.reset();
    deleteLater();
}

/// Over D-Bus, a submenu that has come or gone is noticed only with a change of the rows around it.
void QtMenu::announceLayout() {
    QAction probe;
    probe.setVisible(false);
    addAction(&probe);
    removeAction(&probe);
}

void QtMenu::opened() {
    if (!model_) return;
    open_ = true;
    model_->needsUpdate();
    model_->willOpen();
}

void QtMenu::closed() {
    if (std::exchange(open_, false)) model_->didClose();
}

void QtMenu::choose(const std::shared_ptr<MenuItem>& item) {
    if (!model_) return;
    itemChanged(*item);  // Qt has moved the check mark by itself; the model moves it, or does not.
    chooseSoon(model_, item);
}

}  // namespace orvane
