#include "linux/tray/MenuChoice.h"

#include <QCoreApplication>
#include <QEvent>
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

QKeySequence keySequence(const std::string& keyEquivalent) {
    if (keyEquivalent.empty()) return {};
    return QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(keyEquivalent).toUpper());
}

void chooseSoon(const std::shared_ptr<Menu>& menu, const std::shared_ptr<MenuItem>& item) {
    static ChoiceReceiver receiver;
    QCoreApplication::postEvent(&receiver, new ChoiceEvent(menu, item), Qt::HighEventPriority);
}

}  // namespace orvane
