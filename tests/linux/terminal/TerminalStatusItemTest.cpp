#include "linux/EventLoop.h"
#include "terminal/TerminalApplication.h"
#include "terminal/TerminalDesktop.h"
#include "terminal/TerminalStatusItem.h"
#include "text/LogText.h"

#include <QTimer>
#include <array>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// The terminal surface between two pipes, with a small menu and somebody who notes what becomes of it.
class TerminalStatusItemTest : public testing::Test, public MenuTarget, public MenuDelegate {
  protected:
    Descriptor input;
    Descriptor typing;
    Descriptor output;
    Descriptor screen;
    std::unique_ptr<TerminalConsole> console;
    std::unique_ptr<TerminalApplication> application;
    std::unique_ptr<StatusItem> statusItem;

    std::shared_ptr<StatusItemMenu> menu = std::make_shared<StatusItemMenu>("○ Waiting for phone…");
    std::shared_ptr<MenuItem> status = menu->statusRow();
    std::shared_ptr<MenuItem> phones = menu->add("Phones: none");
    std::shared_ptr<PhoneDetailMenu> details = std::make_shared<PhoneDetailMenu>();
    std::vector<std::string> events;
    std::function<void()> onAction;

    TerminalStatusItemTest() {
        connect(input, typing);
        connect(screen, output);
        ::fcntl(screen.get(), F_SETFL, O_NONBLOCK);
        console = std::make_unique<TerminalConsole>(input.get(), output.get());
        application = std::make_unique<TerminalApplication>(*console);
        statusItem = application->makeStatusItem();
        menu->add("Show Log", MenuAction::showLog, "l");
        menu->add("Quit Orvane", MenuAction::quit, "q");
        menu->setTarget(this);
        menu->setDelegate(this);
        statusItem->setMenu(menu);
        read();
    }
    static void connect(Descriptor& reading, Descriptor& writing) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) return;
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }

    void addPhone() {
        const auto submenu = std::make_shared<Menu>();
        details->setDelegate(this);
        details->setTarget(this);
        submenu->setDelegate(this);
        submenu->setTarget(this);
        submenu->add("Kitchen")->setSubmenu(details);
        phones->setTitle("Phones: 1 connected");
        phones->setSubmenu(submenu);
        read();
    }

    // Everything printed until nothing more comes.
    std::string read() {
        runFor(20ms);
        std::string text;
        std::array<char, 65536> buffer;
        ssize_t count = 0;
        while ((count = ::read(screen.get(), buffer.data(), buffer.size())) > 0)
            text.append(buffer.data(), static_cast<std::size_t>(count));
        return text;
    }
    void send(const std::string& line) {
        const std::string text = line + "\n";
        EXPECT_GT(::write(typing.get(), text.data(), text.size()), 0);
    }
    std::string type(const std::string& line) {
        send(line);
        return read();
    }

    void perform(MenuItem& item) override {
        events.push_back("chosen: " + item.title());
        if (const auto action = onAction) action();  // It may replace itself.
    }
    void menuNeedsUpdate(Menu& updated) override {
        if (&updated != details.get()) return;
        events.push_back("filled");
        updated.removeAllItems();
        updated.add("Send to channels");
        updated.add("1–2", MenuAction::pickPhoneChannel)->setChecked(true);
    }
    void menuWillOpen(Menu& opened) override { events.push_back("open " + name(opened)); }
    void menuDidClose(Menu& closed) override { events.push_back("close " + name(closed)); }
    std::string name(const Menu& which) const {
        return &which == menu.get() ? "root" : &which == details.get() ? "details" : "phones";
    }
};

TEST_F(TerminalStatusItemTest, TheRowsArePrintedAtTheStartAndWhenAskedFor) {
    statusItem.reset();
    statusItem = application->makeStatusItem();
    statusItem->setMenu(menu);
    status->setTitle("● 1 phone connected");
    const std::string rows =
        " 1   ● 1 phone connected\n 2   Phones: none\n 3)  Show Log  (l)\n 4)  Quit Orvane  (q)\n";
    EXPECT_EQ(read(), rows);
    EXPECT_EQ(type("menu"), rows);
}

TEST_F(TerminalStatusItemTest, OnlyChangedRowsArePrintedOnceATurn) {
    status->setTitle("one");
    status->setTitle("two");
    phones->setTitle("Phones: none connected");
    EXPECT_EQ(read(), " 1   two\n 2   Phones: none connected\n");
    status->setTitle("three");
    status->setTitle("two");
    EXPECT_EQ(read(), "");
}

TEST_F(TerminalStatusItemTest, ChangesInASubmenuArePrintedToo) {
    addPhone();
    phones->submenu()->items()[0]->setTitle("Desk");
    EXPECT_EQ(read(), "    2/1)  Desk  >\n");
}

TEST_F(TerminalStatusItemTest, RowsAreChosenByNumberTitleKeyAndWord) {
    for (const char* line : {"3", "choose 3", "show log", "choose Show Log", "l", "L", "log"}) {
        EXPECT_EQ(type(line), "→ Show Log\n") << line;
        EXPECT_THAT(events, ElementsAre("chosen: Show Log")) << line;
        events.clear();
    }
    type("q");
    type("quit");
    EXPECT_THAT(events, ElementsAre("chosen: Quit Orvane", "chosen: Quit Orvane"));
}

TEST_F(TerminalStatusItemTest, WhatIsNotShownEnabledIsRefused) {
    EXPECT_EQ(type("1"), "Row 1 (“○ Waiting for phone…”) cannot be chosen now.\n");
    menu->items()[2]->setEnabled(false);
    read();
    EXPECT_EQ(type("l"), "Row l (“Show Log”) cannot be chosen now.\n");
    EXPECT_THAT(type("17"), HasSubstr("There is no row “17”."));
    EXPECT_THAT(type("restart"), HasSubstr("There is nothing to restart."));
    EXPECT_THAT(events, IsEmpty());
}

TEST_F(TerminalStatusItemTest, OpeningAndClosingIsToldToTheMenus) {
    addPhone();
    type("open");
    EXPECT_THAT(events, ElementsAre("open root"));
    EXPECT_EQ(type("close"), "The menu is closed.\n");
    EXPECT_THAT(events, ElementsAre("open root", "close root"));
    EXPECT_EQ(type("close"), "The menu is not open.\n");
}

TEST_F(TerminalStatusItemTest, APhonesDetailsAreFilledAsTheyOpenAndOnceOnly) {
    addPhone();
    EXPECT_EQ(type("open 2/1"), "        2/1/1   Send to channels\n        2/1/2)  [x] 1–2\n");
    EXPECT_THAT(events, ElementsAre("open root", "open phones", "filled", "open details"));
    events.clear();
    type("menu 2/1");
    EXPECT_THAT(events, IsEmpty());
    type("close");
    EXPECT_THAT(events, ElementsAre("close details", "close phones", "close root"));
}

TEST_F(TerminalStatusItemTest, ARowOfDetailsIsChosenWithoutOpeningThem) {
    addPhone();
    type("2/1/2");
    EXPECT_THAT(events, ElementsAre("filled", "chosen: 1–2"));
}

TEST_F(TerminalStatusItemTest, ChoosingARowClosesTheMenuFirst) {
    addPhone();
    type("open 2/1");
    events.clear();
    type("2/1/2");
    EXPECT_THAT(events, ElementsAre("close details", "close phones", "close root", "chosen: 1–2"));
}

TEST_F(TerminalStatusItemTest, ChoosingARowThatOnlyLeadsOnShowsWhereAndOpensNothing) {
    addPhone();
    EXPECT_EQ(type("2"), "    2/1)  Kitchen  >\n");
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(type("menu 3"), "Row 3 leads to no other rows.\n");
    EXPECT_EQ(type("open 3"), "Row 3 leads to no other rows.\n");
}

TEST_F(TerminalStatusItemTest, TheEndOfTheInputChoosesQuit) {
    typing.reset();
    EXPECT_TRUE(runUntil([&] { return !events.empty(); }));
    EXPECT_THAT(events, ElementsAre("chosen: Quit Orvane"));
}

TEST_F(TerminalStatusItemTest, CopiedTextsAddressesAndTheLogArePrintedHarmless) {
    TerminalPasteboard(*console).setString("123456");
    EXPECT_EQ(read(), "To copy, take the next line:\n123456\n");

    ::unsetenv("DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    TerminalWorkspace(*console).openUrl("https://example.org/x", {});
    EXPECT_EQ(read(), "Open in a browser: https://example.org/x\n");

    LogText log;
    log.append("one\n\x1b[2Jtwo");
    TerminalLogWindows windows(*console);
    const auto window = windows.make({720, 420, "Orvane Server Log", 11});
    window->update(log);
    EXPECT_EQ(read(), "");
    window->makeKeyAndOrderFront();
    EXPECT_EQ(read(), "\nOrvane Server Log\n\none\n␛[2Jtwo\n\n");
}

TEST_F(TerminalStatusItemTest, TheLogIsFollowedUntilSomethingIsTyped) {
    LogText log;
    log.append("one\n");
    TerminalLogWindows windows(*console);
    const auto window = windows.make({720, 420, "Log", 11});
    window->update(log);
    onAction = [&] { window->makeKeyAndOrderFront(); };
    EXPECT_EQ(type("log -f"), "→ Show Log\n\nLog\n\none\n");
    const auto append = [&](const char* text) {
        log.append(text);
        window->update(log);
    };
    append("two\nthr");
    append("ee\x1b\n");
    EXPECT_EQ(read(), "two\nthree␛\n");
    EXPECT_THAT(type("1"), testing::StartsWith("(The log is no longer followed.)\nRow 1 "));
    append("four\n");
    EXPECT_EQ(read(), "");
}

const Alert question = {
    "Generate a new pairing code?", "The current code stops working.", {"Generate", "Cancel"}};

TEST_F(TerminalStatusItemTest, AQuestionTakesTheNextLinesUntilOneAnswersIt) {
    int answer = 0;
    onAction = [&] { answer = application->runModal(question); };
    EXPECT_EQ(type("3\nmenu\n2"),
              "→ Show Log\n\nGenerate a new pairing code?\n\nThe current code stops working.\n\n1)  "
              "Generate\n2)  Cancel\n"
              "Please answer with one of these:\n1)  Generate\n2)  Cancel\n");
    EXPECT_EQ(answer, 1001);
    EXPECT_THAT(events, ElementsAre("chosen: Show Log"));
    EXPECT_THAT(type("menu"), HasSubstr("Quit Orvane"));
}

TEST_F(TerminalStatusItemTest, TheMenuGoesOnBeingShownDuringAQuestion) {
    onAction = [&] { application->runModal(question); };
    QTimer::singleShot(20ms, [&] { status->setTitle("● 1 phone connected"); });
    QTimer::singleShot(60ms, [&] { send("1"); });
    EXPECT_THAT(type("3"), testing::EndsWith("2)  Cancel\n 1   ● 1 phone connected\n"));
}

TEST_F(TerminalStatusItemTest, TheEndOfTheInputAnswersNothingAndThenQuits) {
    int answer = 0;
    onAction = [&] {
        onAction = {};
        answer = application->runModal(question);
    };
    send("3");
    typing.reset();
    EXPECT_TRUE(runUntil([&] { return events.size() == 2; }));
    EXPECT_EQ(answer, Alert::aborted);
    EXPECT_THAT(events, ElementsAre("chosen: Show Log", "chosen: Quit Orvane"));
}

TEST_F(TerminalStatusItemTest, QuittingIsPossibleDuringAQuestion) {
    int answer = 0;
    onAction = [&] {
        onAction = [&] { application->terminate(); };
        answer = application->runModal(question);
    };
    send("3\nquit");
    QCoreApplication::exec();
    EXPECT_EQ(answer, Alert::aborted);
    EXPECT_THAT(events, ElementsAre("chosen: Show Log", "chosen: Quit Orvane"));
}

TEST(TerminalQuestionTest, AnswersAreNumbersTitlesOrTheBeginningOfOneTitleOnly) {
    const Alert alert = {"", "", {"Open Download Page", "Copy Homebrew Command", "Cancel"}};
    EXPECT_EQ(answerOf(alert, "1"), 1000);
    EXPECT_EQ(answerOf(alert, " 3 "), 1002);
    EXPECT_EQ(answerOf(alert, "copy homebrew command"), 1001);
    EXPECT_EQ(answerOf(alert, "o"), 1000);
    EXPECT_EQ(answerOf(alert, "C"), std::nullopt);
    EXPECT_EQ(answerOf(alert, "ca"), 1002);
    for (const char* line : {"", "0", "4", "-1", "yes", "11"})
        EXPECT_EQ(answerOf(alert, line), std::nullopt) << line;
}

TEST(TerminalQuestionTest, TextsAreHarmlessAndKeepTheirLines) {
    EXPECT_EQ(questionText({"Message\x1b", "one\n    two\u202E", {"OK"}}),
              "\nMessage␛\n\none\n    two\uFFFD\n\n1)  OK\n");
    EXPECT_EQ(questionText({"Message", "", {"OK"}}), "\nMessage\n\n1)  OK\n");
}

TEST_F(TerminalStatusItemTest, StartedOnceMoreItSaysThatItHasNoTerminal) {
    EXPECT_EQ(application->comeForward(), "it runs without a terminal");
    EXPECT_THAT(read(), HasSubstr("Orvane was started once more"));
}

}  // namespace

}  // namespace orvane::test
