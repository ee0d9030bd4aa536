#include "terminal/TerminalConsole.h"

#include "posix/Deadline.h"
#include "posix/TerminalMode.h"
#include "text/Utf8.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <langinfo.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::chrono::milliseconds farewell(500);
constexpr std::chrono::milliseconds backgroundRest(500);

/// Opened anew, so that not waiting is a property of our opening alone and not of the one that we share with
/// the shell: between the news of a key and the reading of it another program may take the key.
int openForReading(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !(S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)))
        return -1;
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
}

std::atomic<int> changes{-1};  // What tells the console of a signal.
std::atomic<bool> wasStopped{false};

void tellOfChange(int number) {
    const int error = errno;
    if (number == SIGCONT) wasStopped = true;
    ::eventfd_write(changes, 1);
    errno = error;
}

/// Not every shell puts its own mode back. The signal is sent once more and stops the program as this
/// returns: its disposition is the default again (SA_RESETHAND). Where no shell could bring the program back
/// the kernel leaves it running, and the console edits on.
void stopWithTheOldMode(int number) {
    const int error = errno;
    restoreTerminalMode();
    ::eventfd_write(changes, 1);
    ::raise(number);
    errno = error;
}

/// Also after each stop. A signal that is ignored stays so.
void handleStops() {
    struct sigaction action {};
    if (::sigaction(SIGTSTP, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
    action.sa_handler = stopWithTheOldMode;
    action.sa_flags = SA_RESTART | SA_RESETHAND;
    ::sigaction(SIGTSTP, &action, nullptr);
}

void leaveStopsAlone() {
    struct sigaction action {};
    if (::sigaction(SIGTSTP, nullptr, &action) == 0 && action.sa_handler == stopWithTheOldMode)
        std::signal(SIGTSTP, SIG_DFL);
}

/// What is typed and drawn is UTF-8 whatever the locale; the editor asks that which characters there are.
void useUtf8() {
    if (std::string_view(::nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

bool knowsControlSequences() {
    const char* kind = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nobody changes it.
    return kind && *kind && std::string_view(kind) != "dumb";
}

}  // namespace

/// A line that has been cut ends with a whole character.
std::string withoutTornEnd(std::string line) {
    if (line.size() < LineEditor::maxLine) return line;
    while (!line.empty() && lastCodePoint(line).value == replacementCharacter)
        line.pop_back();
    return line;
}

bool saysSomething(int descriptor) {
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0) return false;
    return !S_ISCHR(status.st_mode) || ::isatty(descriptor);
}

TerminalConsole::TerminalConsole(int input, int output)
    : output_(output), outputIsTerminal_(::isatty(output) == 1) {
    takeInput(input);
    if (!input_) return;
    mayEdit_ = inputIsTerminal_ && outputIsTerminal_ && knowsControlSequences() && editLibrary();
    edit();
    rest_.setSingleShot(true);
    QObject::connect(&rest_, &QTimer::timeout, &rest_, [this] {
        scheduleDelivery();
        showPromptSoon();
    });
    notifier_ = std::make_unique<QSocketNotifier>(input_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { read(); });
    if (inputIsTerminal_) watchTerminal();
}

TerminalConsole::~TerminalConsole() {
    if (changes_) {
        std::signal(SIGCONT, SIG_DFL);
        std::signal(SIGWINCH, SIG_DFL);
        leaveStopsAlone();
    }
    changes = -1;
    hidePrompt();
    output_.finish(farewell);
    leaveLineEditing();
}

/// After Ctrl-Z and fg the mode is the shell's, which stands in the line; another width needs the line drawn
/// anew.
void TerminalConsole::watchTerminal() {
    changes_.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!changes_) return;
    changes = changes_.get();
    std::signal(SIGCONT, tellOfChange);
    std::signal(SIGWINCH, tellOfChange);
    handleStops();
    changesNotifier_ = std::make_unique<QSocketNotifier>(changes_.get(), QSocketNotifier::Read);
    QObject::connect(changesNotifier_.get(), &QSocketNotifier::activated, changesNotifier_.get(), [this] {
        eventfd_t count = 0;
        ::eventfd_read(changes_.get(), &count);
        handleStops();
        edit();
        showPromptSoon();
    });
}

/// A terminal's background is not read: the kernel would stop the program. Nor is a line edited there, where
/// the shell has its own. Not every shell tells a program that it is in the foreground again.
bool TerminalConsole::isInBackground() const {
    const pid_t foreground = inputIsTerminal_ ? ::tcgetpgrp(input_.get()) : -1;
    return foreground >= 0 && foreground != ::getpgrp();
}

void TerminalConsole::takeInput(int descriptor) {
    if (saysSomething(descriptor)) {
        input_.reset(openForReading(descriptor));
        inputIsShared_ = !input_;
        if (inputIsShared_) input_.reset(::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    }
    inputIsTerminal_ = input_ && ::isatty(input_.get()) == 1;
    const int nothing = ::open("/dev/null", O_RDONLY);  // Children inherit it.
    if (nothing < 0 || nothing == descriptor) return;
    ::dup2(nothing, descriptor);
    ::close(nothing);
}

/// Characters come as they are typed and are shown by the editor, so that it is known what stands in the
/// line. Not in the background, where changing the mode would stop the program.
void TerminalConsole::edit() {
    if (!mayEdit_ || isInBackground()) return;
    if (!LineEditor::canEditOn(input_.get())) return leaveLineEditing();
    const bool wasElsewhere = wasStopped.exchange(false);
    if (editor_) return editor_->adapt(wasElsewhere);
    termios mode = {};
    if (::tcgetattr(input_.get(), &mode) != 0) return;
    useUtf8();
    originalMode_ = mode;
    rememberTerminalMode(input_.get(), mode);
    editor_ = std::make_unique<LineEditor>(input_.get(), output_, [this](std::string_view typed) {
        return listener_ ? listener_->completions(typed) : std::vector<std::string>();
    });
    editor_->setPrompt(prompt_);
}

/// Nothing may have told of the way back from the background.
void TerminalConsole::editAgain() {
    if (!editor_ || wasStopped) edit();
}

void TerminalConsole::leaveLineEditing() {
    hidePrompt();
    editor_.reset();
    if (originalMode_ && ::tcgetpgrp(input_.get()) == ::getpgrp())
        ::tcsetattr(input_.get(), TCSADRAIN, &*originalMode_);
    originalMode_.reset();
    forgetTerminalMode();
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
    if (editor_) editor_->setPrompt(prompt);
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
        return rest_.start(backgroundRest);
    }
    editAgain();
    if (inputIsShared_ && !pollUntil(input_.get(), POLLIN, Deadline::after({}))) return;
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(input_.get(), buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    const bool wasFollowing = count > 0 && std::exchange(followsLog_, false);
    if (wasFollowing) print("(The log is no longer followed.)\n");
    if (wasFollowing && editor_) return;
    if (count <= 0) return end();
    const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
    editor_ ? takeTyped(bytes) : takePlain(bytes);
}

void TerminalConsole::takeTyped(std::string_view bytes) {
    LineEditor::Typed typed = editor_->type(bytes);
    std::ranges::move(typed.lines, std::back_inserter(lines_));
    if (typed.hasEnded) return end();
    if (!lines_.empty()) hidePrompt();
    scheduleDelivery();
}

void TerminalConsole::takePlain(std::string_view bytes) {
    for (const char byte : bytes) {
        if (byte == '\n')
            lines_.push_back(withoutTornEnd(std::exchange(beginning_, {})));
        else if (byte != '\r' && beginning_.size() < LineEditor::maxLine)
            beginning_ += byte;
    }
    scheduleDelivery();
}

void TerminalConsole::end() {
    notifier_->setEnabled(false);
    if (!beginning_.empty())
        lines_.push_back(withoutTornEnd(std::exchange(beginning_, {})));  // Without its line feed.
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

/// The next delivery is scheduled first: the listener may ask a question and wait for its answer.
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
    if (editor_ && !isInBackground()) editor_->hide();
}

void TerminalConsole::showPromptSoon() {
    if (!mayEdit_ || std::exchange(promptIsScheduled_, true)) return;
    QMetaObject::invokeMethod(
        &context_, [this] { showPrompt(); }, Qt::QueuedConnection);
}

void TerminalConsole::showPrompt() {
    promptIsScheduled_ = false;
    if (hasEnded_ || !lines_.empty()) return;
    if (isInBackground()) return rest_.start(backgroundRest);
    editAgain();
    if (editor_) editor_->show();
}

}  // namespace orvane
