#include "linux/system/QtRunLoop.h"

#include <QSocketNotifier>
#include <QTimer>
#include <cmath>
#include <thread>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace orvane {

namespace {

/// What blocks may take of one turn of the event loop while more of them wait: short enough for a menu to
/// stay alive under a flood.
constexpr std::chrono::milliseconds turn{8};

int milliseconds(Duration duration) {
    return static_cast<int>(std::lround(duration.count() * 1000));
}

class QtTimer : public Timer {
  public:
    QtTimer(Duration interval, Block block) : timer_(new QTimer) {
        timer_->setTimerType(Qt::PreciseTimer);
        timer_->setInterval(milliseconds(interval));
        QObject::connect(timer_, &QTimer::timeout, timer_, [block = std::move(block)] { block(); });
        timer_->start();
    }
    ~QtTimer() override {
        invalidate();
        timer_->deleteLater();  // The block may be what destroys this.
    }
    void invalidate() override { timer_->stop(); }

  private:
    QTimer* timer_;
};

class QtWatch : public Watch {
  public:
    QtWatch(int descriptor, Block block)
        : notifier_(new QSocketNotifier(descriptor, QSocketNotifier::Write)) {
        QObject::connect(notifier_, &QSocketNotifier::activated, notifier_,
                         [block = std::move(block)] { block(); });
    }
    ~QtWatch() override {
        notifier_->setEnabled(false);
        notifier_->disconnect();
        notifier_->deleteLater();  // The block may be what destroys this.
    }

  private:
    QSocketNotifier* notifier_;
};

}  // namespace

QtRunLoop::QtRunLoop() : wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

QtRunLoop::~QtRunLoop() {
    notifier_.reset();
    close(wakeUp_);
}

void QtRunLoop::attach() {
    notifier_ = std::make_unique<QSocketNotifier>(wakeUp_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { runSome(); });
}

void QtRunLoop::detach() {
    notifier_.reset();
}

void QtRunLoop::async(Block block) {
    bool wake;
    {
        const std::lock_guard lock(mutex_);
        blocks_.push_back(std::move(block));
        wake = !std::exchange(awake_, true);
    }
    // With the lock free, which the main thread takes first of all. None is lost: reading ends `awake_`, too.
    if (wake) eventfd_write(wakeUp_, 1);
}

void QtRunLoop::asyncAfter(Duration delay, Block block) {
    QTimer::singleShot(milliseconds(delay), Qt::PreciseTimer, [block = std::move(block)] { block(); });
}

std::unique_ptr<Timer> QtRunLoop::scheduledTimer(Duration interval, Block block) {
    return std::make_unique<QtTimer>(interval, std::move(block));
}

std::unique_ptr<Watch> QtRunLoop::watchWritable(int descriptor, Block block) {
    return std::make_unique<QtWatch>(descriptor, std::move(block));
}

void QtRunLoop::runSome() {
    const auto end = std::chrono::steady_clock::now() + turn;
    do {
        const Block block = next();
        if (!block) return;
        block();
    } while (std::chrono::steady_clock::now() < end);
}

Block QtRunLoop::next() {
    const std::lock_guard lock(mutex_);
    if (blocks_.empty()) {
        eventfd_t count;
        eventfd_read(wakeUp_, &count);
        awake_ = false;
        return {};
    }
    Block block = std::move(blocks_.front());
    blocks_.pop_front();
    return block;
}

TimePoint SteadyClock::now() const {
    return std::chrono::steady_clock::now();
}

void SteadyClock::sleep(Duration duration) {
    std::this_thread::sleep_for(duration);
}

}  // namespace orvane
