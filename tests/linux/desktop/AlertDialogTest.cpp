#include "linux/desktop/AlertDialog.h"
#include "linux/desktop/WindowSupply.h"
#include "linux/tray/QtApplication.h"

#include <QApplication>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;

const Alert question{.messageText = "Really <b>&amp;</b>?",
                     .informativeText = "All of R&D _x.\n    indented",
                     .buttons = {"Do & go", "Else", "Cancel"},
                     .closingAnswer = Alert::firstButtonReturn + 1};
const Alert notice{"Note", "Text", {"OK"}};

QList<QPushButton*> buttons(const QWidget& dialog) {
    return dialog.findChildren<QPushButton*>();
}

/// Runs the alert and does `act` with its dialog once it is there.
int answer(const Alert& alert, const std::function<void(QDialog&)>& act) {
    QTimer::singleShot(0, [&] { act(*qobject_cast<QDialog*>(QApplication::activeModalWidget())); });
    WindowSupply supply([](const std::string&) {});
    QtApplication application(supply);
    return application.runModal(alert);
}

TEST(AlertDialogTest, ShowsItsTextsAsTheyAre) {
    const AlertDialog dialog(question);
    std::vector<std::string> texts;
    for (const auto* label : dialog.findChildren<QLabel*>()) {
        if (label->text().isEmpty()) continue;
        EXPECT_EQ(label->textFormat(), Qt::PlainText);
        EXPECT_TRUE(label->textInteractionFlags() & Qt::TextSelectableByMouse);
        texts.push_back(label->text().toStdString());
    }
    EXPECT_THAT(texts, ElementsAre(question.messageText, question.informativeText));
}

TEST(AlertDialogTest, HasItsButtonsInTheOrderGivenTheFirstOneAsDefault) {
    AlertDialog dialog(question);
    dialog.show();
    QCoreApplication::processEvents();
    const auto all = buttons(dialog);
    ASSERT_EQ(all.size(), 3);
    EXPECT_EQ(all[0]->text(), "Do && go");
    EXPECT_EQ(all[1]->text(), "Else");
    EXPECT_EQ(all[2]->text(), "Cancel");
    EXPECT_LT(all[0]->x(), all[1]->x());
    EXPECT_LT(all[1]->x(), all[2]->x());
    EXPECT_TRUE(all[0]->isDefault());
    EXPECT_FALSE(all[1]->isDefault());
}

TEST(AlertDialogTest, EachButtonAnswersWithItsPlace) {
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(answer(question, [i](QDialog& dialog) { buttons(dialog)[i]->click(); }),
                  Alert::firstButtonReturn + i);
}

TEST(AlertDialogTest, OneThatCopiesStaysOnWaylandUntilThatIsDone) {
    for (const bool copies : {false, true}) {
        for (const char* wayland : {"", "wayland-0"}) {
            ::setenv("WAYLAND_DISPLAY", wayland, 1);
            Alert asked = question;
            asked.copies = copies;
            WindowSupply supply([](const std::string&) {});
            QtApplication application(supply);
            QPointer<QWidget> dialog;
            QTimer::singleShot(0, [&] {
                dialog = QApplication::activeModalWidget();
                buttons(*dialog)[0]->click();
            });
            EXPECT_EQ(application.runModal(asked), Alert::firstButtonReturn);
            EXPECT_EQ(dialog && dialog->isVisible(), copies && *wayland != '\0');
            QCoreApplication::processEvents();
            EXPECT_FALSE(dialog);
        }
    }
    ::unsetenv("WAYLAND_DISPLAY");
}

TEST(AlertDialogTest, ClosingItGivesTheAnswerThatTheQuestionNames) {
    EXPECT_EQ(answer(question, [](QDialog& dialog) { dialog.reject(); }), question.closingAnswer);
    EXPECT_EQ(answer(question, [](QDialog& dialog) { dialog.close(); }), question.closingAnswer);
}

TEST(AlertDialogTest, ANoticeThatIsClosedHasNoAnswer) {
    EXPECT_EQ(answer(notice, [](QDialog& dialog) { dialog.reject(); }), Alert::aborted);
}

TEST(AlertDialogTest, TheEndOfTheProgramEndsTheQuestionWithoutItsFirstButton) {
    WindowSupply supply([](const std::string&) {});
    QtApplication application(supply);
    int result = 0;
    QTimer::singleShot(0, [&] { result = application.runModal(question); });
    QTimer::singleShot(20, [&] { application.terminate(); });
    QCoreApplication::exec();
    EXPECT_EQ(result, question.closingAnswer);
}

}  // namespace

}  // namespace orvane::test
