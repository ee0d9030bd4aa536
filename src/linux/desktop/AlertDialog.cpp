#include "linux/desktop/AlertDialog.h"

#include "linux/desktop/MenuLabel.h"

#include <QApplication>
#include <QEventLoop>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace orvane {

namespace {

constexpr int textWidth = 440;
constexpr int spacing = 12;
constexpr int iconSize = 48;

QLabel* makeText(const std::string& text) {
    auto* label = new QLabel(QString::fromStdString(text));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setMinimumWidth(textWidth);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return label;
}

QLabel* makeMessage(const std::string& text) {
    auto* label = makeText(text);
    QFont font = label->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.15);
    label->setFont(font);
    return label;
}

QLabel* makeIcon(const QWidget& dialog) {
    auto* label = new QLabel;
    label->setPixmap(
        QApplication::windowIcon().pixmap(QSize(iconSize, iconSize), dialog.devicePixelRatioF()));
    return label;
}

}  // namespace

AlertDialog::AlertDialog(const Alert& alert) : answer_(alert.closingAnswer) {
    setWindowTitle(QStringLiteral("Orvane"));
    setObjectName(QStringLiteral("alert"));
    setWindowFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);

    auto* texts = new QVBoxLayout;
    texts->setSpacing(spacing);
    texts->addWidget(makeMessage(alert.messageText));
    texts->addWidget(makeText(alert.informativeText));
    if (!alert.furtherText.empty()) texts->addWidget(makeText(alert.furtherText));

    auto* upper = new QHBoxLayout;
    upper->setSpacing(spacing + spacing / 2);
    upper->addWidget(makeIcon(*this), 0, Qt::AlignTop);
    upper->addLayout(texts);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();

    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(20, 20, 20, 16);
    all->setSpacing(20);
    all->setSizeConstraint(QLayout::SetFixedSize);
    all->addLayout(upper);
    all->addLayout(buttons);
    addButtons(*buttons, alert);
}

void AlertDialog::ask() {
    QEventLoop loop;
    connect(this, &QDialog::finished, &loop, &QEventLoop::quit);
    setAttribute(Qt::WA_ShowModal);
    show();
    loop.exec(QEventLoop::DialogExec);
    if (result() != Accepted) hide();  // The program ends.
}

void AlertDialog::addButtons(QHBoxLayout& row, const Alert& alert) {
    int value = Alert::firstButtonReturn;
    for (const std::string& title : alert.buttons) {
        auto* button = new QPushButton(plainLabel(title));
        connect(button, &QPushButton::clicked, this, [this, value] {
            answer_ = value;
            setResult(Accepted);
            emit finished(Accepted);
        });
        row.addWidget(button);
        if (value++ != Alert::firstButtonReturn) continue;
        button->setDefault(true);
        button->setFocus();
    }
}

}  // namespace orvane
