#include "linux/EventLoop.h"
#include "terminal/TerminalConsole.h"

#include <QSocketNotifier>
#include <array>
#include <future>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <termios.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Listener : TerminalListener {
    std::vector<std::string> lines;
    int ends = 0;

    void lineEntered(const std::string& line) override { lines.push_back(line); }
    std::vector<std::string> completions(std::string_view) override { return {}; }
    void inputEnded() override { ++ends; }
};

std::string readNow(int descriptor) {
    std::array<char, 65536> buffer;
    const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
    return count > 0 ? std::string(buffer.data(), static_cast<std::size_t>(count)) : "";
}

/// The console between two pipes.
class PipedConsoleTest : public testing::Test {
  protected:
    Descriptor input;
    Descriptor typing;
    Descriptor output;
    Descriptor screen;
    Listener listener;

    PipedConsoleTest() {
        ::signal(SIGPIPE, SIG_IGN);
        connect(input, typing);
        connect(screen, output);
        ::fcntl(screen.get(), F_SETFL, O_NONBLOCK);
    }
    static void connect(Descriptor& reading, Descriptor& writing) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) return;
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }
    void type(const std::string& text) { ASSERT_GT(::write(typing.get(), text.data(), text.size()), 0); }
};

TEST_F(PipedConsoleTest, LinesArriveInOrderOneATurn) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    type("menu\nopen 9\r\nqu");
    EXPECT_TRUE(runUntil([&] { return listener.lines.size() >= 2; }));
    type("it\n");
    EXPECT_TRUE(runUntil([&] { return listener.lines.size() >= 3; }));
    EXPECT_THAT(listener.lines, ElementsAre("menu", "open 9", "quit"));
}

TEST_F(PipedConsoleTest, ALineWithoutEndIsCut) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    type(std::string(3 * LineEditor::maxLine, 'x') + "\nmenu\n");
    ASSERT_TRUE(runUntil([&] { return listener.lines.size() >= 2; }));
    EXPECT_THAT(listener.lines, ElementsAre(std::string(LineEditor::maxLine, 'x'), "menu"));
}

TEST_F(PipedConsoleTest, ALineIsCutBetweenCharacters) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    const std::string almostAll(LineEditor::maxLine - 2, 'x');
    type(almostAll + "😀😀\n" + almostAll + "éé\n");
    ASSERT_TRUE(runUntil([&] { return listener.lines.size() >= 2; }));
    EXPECT_THAT(listener.lines, ElementsAre(almostAll, almostAll + "é"));
}

TEST_F(PipedConsoleTest, NothingButTheTextIsPrinted) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    console.setPrompt("orvane> ");
    console.print("one\n");
    type("menu\n");
    ASSERT_TRUE(runUntil([&] { return !listener.lines.empty(); }));
    console.print("two\n");
    runFor(20ms);
    EXPECT_EQ(readNow(screen.get()), "one\ntwo\n");
}

TEST_F(PipedConsoleTest, AClosedPipeEndsTheInputAfterItsLastLine) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    type("menu\nlog");
    typing.reset();
    ASSERT_TRUE(runUntil([&] { return listener.ends > 0; }));
    EXPECT_THAT(listener.lines, ElementsAre("menu", "log"));
    runFor(20ms);
    EXPECT_EQ(listener.ends, 1);
}

TEST_F(PipedConsoleTest, AListenerThatComesAfterTheEndHearsOfItToo) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    typing.reset();
    ASSERT_TRUE(runUntil([&] { return listener.ends > 0; }));
    Listener question;
    EXPECT_EQ(console.setListener(&question), &listener);
    EXPECT_TRUE(runUntil([&] { return question.ends > 0; }));
}

TEST_F(PipedConsoleTest, LinesThatCameTogetherReachTheListenerOfTheirTurn) {
    TerminalConsole console(input.get(), output.get());
    struct Asking : Listener {
        TerminalConsole& console;
        Listener answers;
        explicit Asking(TerminalConsole& owner) : console(owner) {}
        void lineEntered(const std::string& line) override {
            Listener::lineEntered(line);
            if (line != "ask") return;
            console.setListener(&answers);
            runUntil([this] { return !answers.lines.empty(); });
            console.setListener(this);
        }
    } asking(console);
    console.setListener(&asking);
    type("ask\nanswer\nmenu\n");
    ASSERT_TRUE(runUntil([&] { return asking.lines.size() >= 2; }));
    EXPECT_THAT(asking.lines, ElementsAre("ask", "menu"));
    EXPECT_THAT(asking.answers.lines, ElementsAre("answer"));
}

TEST_F(PipedConsoleTest, AFloodOfLinesIsNotReadAheadOfTheListener) {
    TerminalConsole console(input.get(), output.get());
    console.setListener(&listener);
    ::fcntl(typing.get(), F_SETFL, O_NONBLOCK);
    const std::string many(8192, '\n');
    while (::write(typing.get(), many.data(), many.size()) > 0) {
    }
    for (int i = 0; i < 10; ++i)
        QCoreApplication::processEvents();
    EXPECT_LT(listener.lines.size(), 100U);
    int pending = 0;
    ASSERT_EQ(::ioctl(typing.get(), FIONREAD, &pending), 0);
    EXPECT_GT(pending, 40'000);
}

TEST_F(PipedConsoleTest, NullDevicesAndClosedDescriptorsAreNoInputRatherThanItsEnd) {
    for (const bool isOpen : {true, false}) {
        const int nothing = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (!isOpen) ::close(nothing);
        TerminalConsole console(nothing, output.get());
        console.setListener(&listener);
        runFor(50ms);
        EXPECT_EQ(listener.ends, 0);
        ::close(nothing);
    }
}

TEST_F(PipedConsoleTest, WhatWasTheInputIsTheNullDeviceForChildren) {
    TerminalConsole console(input.get(), output.get());
    type("for the menu\n");
    char byte = 0;
    EXPECT_EQ(::read(input.get(), &byte, 1), 0);
    EXPECT_EQ(::fcntl(input.get(), F_GETFD) & FD_CLOEXEC, 0);
}

/// Input that somebody else takes between the news of it and the reading of it.
class SharedInputTest : public PipedConsoleTest {
  protected:
    void useSockets() {
        int ends[2];
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        input.reset(ends[0]);
        typing.reset(ends[1]);
    }

    /// How long the console's thread stood still for it. Not for ever: in the end there is more input.
    std::chrono::milliseconds standstill() {
        const Descriptor shared(::fcntl(input.get(), F_DUPFD_CLOEXEC, 0));
        QSocketNotifier others(shared.get(), QSocketNotifier::Read);  // Made first, it is told first.
        bool isTaken = false;
        QObject::connect(&others, &QSocketNotifier::activated, [&] {
            others.setEnabled(false);
            isTaken = readNow(shared.get()) == "taken";
        });
        TerminalConsole console(input.get(), output.get());
        console.setListener(&listener);

        std::promise<void> end;
        std::thread rescue([this, ended = end.get_future()] {
            if (ended.wait_for(3s) != std::future_status::ready) type("more");
        });
        QElapsedTimer time;
        type("taken");
        time.start();
        EXPECT_TRUE(runUntil([&] { return isTaken; }));
        runFor(50ms);
        const std::chrono::milliseconds taken(time.elapsed());
        end.set_value();
        rescue.join();
        return taken;
    }
};

TEST_F(SharedInputTest, APipesInputThatIsTakenByOthersIsNotWaitedFor) {
    EXPECT_LT(standstill(), 2s);
}

TEST_F(SharedInputTest, NorIsThatOfWhatCannotBeOpenedAnew) {
    useSockets();
    EXPECT_LT(standstill(), 2s);
}

/// A program with a console, in a session of its own on a pseudo-terminal 40 columns wide.
class TerminalConsoleTest : public testing::Test {
  protected:
    Descriptor keyboard;  // The far end: what a person types into and looks at.
    pid_t program = -1;
    std::string screen;

    void start(const char* kind) {
        const winsize size = {24, 40, 0, 0};
        int farEnd = -1;
        program = ::forkpty(&farEnd, nullptr, nullptr, &size);
        if (program == 0) {
            ::setenv("TERM", kind, 1);
            ::execl(ORVANE_CONSOLE_PROGRAM, "console_echo", nullptr);
            ::_exit(127);
        }
        keyboard.reset(farEnd);
        ::fcntl(farEnd, F_SETFL, O_NONBLOCK);
    }
    ~TerminalConsoleTest() override {
        if (program > 0) ::kill(program, SIGKILL);
        if (program > 0) ::waitpid(program, nullptr, 0);
    }
    void type(const std::string& text) { ASSERT_GT(::write(keyboard.get(), text.data(), text.size()), 0); }
    void resize(unsigned short rows, unsigned short columns) {
        const winsize size = {rows, columns, 0, 0};
        ASSERT_EQ(::ioctl(keyboard.get(), TIOCSWINSZ, &size), 0);  // Which sends SIGWINCH.
    }
    bool showsAtTheEnd(const std::string& text) {
        return runUntil([&] { return (screen += readNow(keyboard.get())).ends_with(text); }, 5s);
    }
    bool terminalEditsLines() const {
        termios mode = {};
        ::tcgetattr(keyboard.get(), &mode);
        return (mode.c_lflag & ICANON) != 0 && (mode.c_lflag & ECHO) != 0;
    }
    int exitStatus() {
        int status = 0;
        ::waitpid(std::exchange(program, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(TerminalConsoleTest, WhatIsTypedIsShownBehindThePromptAndStaysOnTheScreen) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    type("menu");
    ASSERT_TRUE(showsAtTheEnd("> menu"));
    type("\r");
    ASSERT_TRUE(showsAtTheEnd("heard menu\r\n> "));
    EXPECT_THAT(screen, HasSubstr("> menu\r\n"));
}

TEST_F(TerminalConsoleTest, WhatIsPrintedWhileALineIsTypedStandsAboveThatLine) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    type("later\rhalf a li");
    ASSERT_TRUE(showsAtTheEnd("\r\x1b[Jnow\r\n> half a li"));
    type("ne\r");
    EXPECT_TRUE(showsAtTheEnd("heard half a line\r\n> "));
}

TEST_F(TerminalConsoleTest, TabCompletesWhatTheListenerKnows) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    type("m\t\r");
    ASSERT_TRUE(showsAtTheEnd("heard menu\r\n> "));
    type("l\t");
    ASSERT_TRUE(showsAtTheEnd("> late"));
    type("\t");
    ASSERT_TRUE(showsAtTheEnd("later\r\nlately\r\n> late"));
}

TEST_F(TerminalConsoleTest, LinesPastedTogetherAreAllHeardInOrder) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    type("one\rtwo\rthree\rfou");
    ASSERT_TRUE(showsAtTheEnd("> fou"));
    type("r\r");
    ASSERT_TRUE(showsAtTheEnd("heard four\r\n> "));
    std::size_t at = 0;
    for (const char* answer : {"heard one\r\n", "heard two\r\n", "heard three\r\n", "heard four\r\n"}) {
        at = screen.find(answer, at);
        EXPECT_NE(at, std::string::npos) << answer;
    }
}

TEST_F(TerminalConsoleTest, TheTerminalsModeIsPutBackAtTheEnd) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    EXPECT_FALSE(terminalEditsLines());
    type("quit\r");
    ASSERT_TRUE(runUntil([&] { return terminalEditsLines(); }));
    EXPECT_EQ(exitStatus(), 0);
}

TEST_F(TerminalConsoleTest, ControlDEndsTheInput) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    type("\x04");
    EXPECT_EQ(exitStatus(), 3);
}

/// A screen of that size would cost many seconds and gigabytes.
TEST_F(TerminalConsoleTest, OnAScreenLargerThanAnyTheTerminalEditsLines) {
    start("xterm");
    ASSERT_TRUE(showsAtTheEnd("> "));
    resize(65535, 65535);
    ASSERT_TRUE(runUntil([&] { return terminalEditsLines(); }, 5s));
    type("menu\r");
    ASSERT_TRUE(showsAtTheEnd("heard menu\r\n"));
    resize(24, 80);
    ASSERT_TRUE(showsAtTheEnd("> "));
    EXPECT_FALSE(terminalEditsLines());
    type("log\r");
    EXPECT_TRUE(showsAtTheEnd("heard log\r\n> "));
}

TEST_F(TerminalConsoleTest, ATerminalThatKnowsNoControlSequencesGetsNone) {
    start("dumb");
    type("menu\r");
    ASSERT_TRUE(showsAtTheEnd("heard menu\r\n"));
    EXPECT_THAT(screen, Not(HasSubstr("\x1b")));
    EXPECT_TRUE(terminalEditsLines());
    type("\x04");
    EXPECT_EQ(exitStatus(), 3);
}

}  // namespace

}  // namespace orvane::test
