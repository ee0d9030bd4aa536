#include "terminal/TerminalConsole.h"

#include "posix/TerminalMode.h"
#include "text/HarmlessText.h"

#include <QTimer>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::chrono::milliseconds farewell(500);
constexpr std::chrono::milliseconds backgroundRest(500);
constexpr std::string_view eraseLine = "\r\x1b[K";  // ECMA-48: carriage return, erase to the end of the line.

// Opened anew, so that not waiting is a property of our opening alone and not of the one that we share with
// the shell: between the news of a key and the reading of it another program may take the key.
int openForReading(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)))
        return -1;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

std::atomic<int> continued{-1};  // What tells the console of a SIGCONT.

void tellOfContinuing(int) {
    const int error = errno;
    ::eventfd_write(continued, 1);
    errno = error;
}

bool knowsControlSequences() {
    const char* kind = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nobody changes it.
    return kind && *kind && std::string_view(kind) != "dumb";
}

}  // namespace

bool saysSomething(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) return false;
    return !S_ISCHR(status.st_mode) || ::isatty(descriptor);
}

TerminalConsole::TerminalConsole(int input, int output)
    : output_(output), outputIsTerminal_(::isatty(output) == 1) {
    takeInput(input);
    if (!input_) return;
    enterLineEditing();
    notifier_ = std::make_unique<QSocketNotifier>(input_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { read(); });
    if (inputIsTerminal_) watchContinuing();
}

TerminalConsole::~TerminalConsole() {
    if (continued_) std::signal(SIGCONT, SIG_DFL);
    continued = -1;
    hidePrompt();
    output_.finish(farewell);
    leaveLineEditing();
    forgetTerminalMode();
}

// After Ctrl-Z and fg the shell has put its own mode back, and stands in the line.
void TerminalConsole::watchContinuing() {
    continued_.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!continued_) return;
    continued = continued_.get();
    std::signal(SIGCONT, tellOfContinuing);
    continuedNotifier_ = std::make_unique<QSocketNotifier>(continued_.get(), QSocketNotifier::Read);
    QObject::connect(continuedNotifier_.get(), &QSocketNotifier::activated, continuedNotifier_.get(), [this] {
        eventfd_t count = 0;
        ::eventfd_read(continued_.get(), &count);
        enterLineEditing();
        promptIsVisible_ = false;
        showPromptSoon();
    });
}

// A terminal's background is not read: the kernel would stop the program.
bool TerminalConsole::isInBackground() const {
    const pid_t foreground = inputIsTerminal_ ? ::tcgetpgrp(input_.get()) : -1;
    return foreground >= 0 && foreground != ::getpgrp();
}

void TerminalConsole::takeInput(int descriptor) {
    if (saysSomething(descriptor)) input_.reset(openForReading(descriptor));
    if (!input_ && saysSomething(descriptor))
        input_.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    inputIsTerminal_ = input_ && ::isatty(input_.get()) == 1;
    const int nothing = ::open("/dev/null", O_RDONLY);  // Children inherit it.
    if (nothing < 0 || nothing == descriptor) return;
    ::dup2(nothing, descriptor);
    ::close(nothing);
}

// Characters come as they are typed and are shown by us, so that we know what stands in the line. Not in the
// background, where changing the mode would stop the program.
void TerminalConsole::enterLineEditing() {
    if (!inputIsTerminal_ || !outputIsTerminal_ || !knowsControlSequences()) return;
    termios mode = {};
    if (::tcgetpgrp(input_.get()) != ::getpgrp() || ::tcgetattr(input_.get(), &mode) != 0) return;
    if (!originalMode_) originalMode_ = mode;
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    rememberTerminalMode(input_.get(), *originalMode_);
    ::tcsetattr(input_.get(), TCSADRAIN, &mode);
}

void TerminalConsole::leaveLineEditing() {
    if (originalMode_ && ::tcgetpgrp(input_.get()) == ::getpgrp())
        ::tcsetattr(input_.get(), TCSADRAIN, &*originalMode_);
}

void TerminalConsole::print(std::string_view lines) {
    hidePrompt();
    output_.write(lines);
    showPromptSoon();
}

TerminalListener* TerminalConsole::setListener(TerminalListener* listener) {
    endIsTold_ = false;
    scheduleDelivery();
    return std::exchange(listener_, listener);
}

void TerminalConsole::setPrompt(const std::string& prompt) {
    hidePrompt();
    prompt_ = prompt;
    showPromptSoon();
}

std::string TerminalConsole::terminalName() const {
    std::array<char, 256> name{};
    if (!inputIsTerminal_ || ::ttyname_r(input_.get(), name.data(), name.size()) != 0) return {};
    return name.data();
}

void TerminalConsole::read() {
    if (isInBackground()) {
        notifier_->setEnabled(false);
        return QTimer::singleShot(backgroundRest, &context_, [this] { scheduleDelivery(); });
    }
    termios mode = {};
    const bool wasStopped =
        originalMode_ && ::tcgetattr(input_.get(), &mode) == 0 && (mode.c_lflag & ICANON) != 0;
    if (wasStopped) enterLineEditing();  // The shell put its own mode back when it stopped us.

    std::array<char, 4096> buffer;
    const ssize_t count = ::read(input_.get(), buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    const bool wasFollowing = count > 0 && std::exchange(followsLog_, false);
    if (wasFollowing) print("(The log is no longer followed.)\n");
    if (wasFollowing && originalMode_) return;
    if (count > 0)
        feed({buffer.data(), static_cast<std::size_t>(count)});
    else
        end();
}

void TerminalConsole::feed(std::string_view bytes) {
    for (const char byte : bytes) {
        if (hasEnded_) return;
        switch (editor_.feed(byte)) {
            case LineEditor::Event::line:
                finishLine();
                break;
            case LineEditor::Event::end:
                end();
                break;
            case LineEditor::Event::none:
                break;
        }
    }
    hidePrompt();
    showPromptSoon();
}

void TerminalConsole::finishLine() {
    if (originalMode_) {
        hidePrompt();
        output_.write(prompt_ + harmless(editor_.text()) + "\n");
    }
    lines_.push_back(editor_.takeLine());
    scheduleDelivery();
}

void TerminalConsole::end() {
    notifier_->setEnabled(false);
    if (!inputIsTerminal_ && !editor_.text().empty()) finishLine();  // A last line without its line feed.
    hasEnded_ = true;
    scheduleDelivery();
}

void TerminalConsole::scheduleDelivery() {
    if (notifier_) notifier_->setEnabled(lines_.empty() && !hasEnded_);
    if (deliveryIsScheduled_ || (lines_.empty() && (!hasEnded_ || endIsTold_))) return;
    deliveryIsScheduled_ = true;
    QMetaObject::invokeMethod(
        &context_, [this] { deliver(); }, Qt::QueuedConnection);
}

// The next delivery is scheduled first: the listener may ask a question and wait for its answer.
void TerminalConsole::deliver() {
    deliveryIsScheduled_ = false;
    if (!listener_) return;
    if (!lines_.empty()) {
        const std::string line = std::move(lines_.front());
        lines_.pop_front();
        scheduleDelivery();
        showPromptSoon();
        listener_->lineEntered(line);
    } else if (hasEnded_ && !std::exchange(endIsTold_, true)) {
        listener_->inputEnded();
    }
}

void TerminalConsole::hidePrompt() {
    if (std::exchange(promptIsVisible_, false)) output_.write(eraseLine);
}

void TerminalConsole::showPromptSoon() {
    if (!originalMode_ || std::exchange(promptIsScheduled_, true)) return;
    QMetaObject::invokeMethod(
        &context_, [this] { showPrompt(); }, Qt::QueuedConnection);
}

void TerminalConsole::showPrompt() {
    promptIsScheduled_ = false;
    if (promptIsVisible_ || hasEnded_ || !lines_.empty()) return;
    const std::string typed = harmless(editor_.text());
    const int room = columns() - static_cast<int>(prompt_.size()) - 1;
    output_.write(prompt_ + std::string(tailWithin(typed, room)));
    promptIsVisible_ = true;
}

int TerminalConsole::columns() const {
    winsize size = {};
    if (::ioctl(input_.get(), TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
    return size.ws_col;
}

}  // namespace orvane
