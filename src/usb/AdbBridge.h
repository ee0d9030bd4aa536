// Keeps an adb reverse tunnel to the server's port on the first phone that is ready, and says how that
// stands.
//
// Every two seconds adb is asked afresh what is attached; nothing but the last state is remembered. The
// object belongs to the main thread and shares itself with one serial queue of its own, on which adb is run.
#pragma once

#include "platform/RunLoop.h"
#include "usb/AdbState.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

struct Bundle;
class FileManager;
class Processes;
class SerialQueue;
class Threads;

/// Held by a `std::shared_ptr`: timers and jobs refer to it weakly and do nothing once it is gone.
class AdbBridge : public std::enable_shared_from_this<AdbBridge> {
  public:
    using ChangeHandler = std::function<void(const AdbState&)>;

    /// What it uses of the system; all of it outlives the bridge.
    struct Roles {
        RunLoop& runLoop;
        Clock& clock;
        Threads& threads;
        Processes& processes;
        const FileManager& fileManager;
        const Bundle& bundle;
    };

    /// `port`: the server's TCP port, used on both sides of the tunnel. Starts nothing.
    explicit AdbBridge(Roles roles, std::uint16_t port = 5555);
    ~AdbBridge();
    AdbBridge(const AdbBridge&) = delete;
    AdbBridge& operator=(const AdbBridge&) = delete;

    /// Polls at once, and every 2 seconds from then on. `onChange` is called on the main thread with every
    /// state that differs from the one before it; the first of all is `noDevice` and is not reported. To be
    /// called once: after a second call two timers poll. Main thread.
    void start(ChangeHandler onChange);
    /// Ends the polling, waiting for nothing: a probe that runs or is queued goes on and may still report a
    /// change. The phone keeps its tunnel. Main thread.
    void stop();
    /// One look beside those of the timer, on the queue. Main thread.
    void poll();

    /// While suspended the tunnel is taken down instead of kept up, from the next probe on. Any thread.
    void setSuspended(bool suspended) { suspended_ = suspended; }
    bool isSuspended() const { return suspended_; }
    /// The state found last. Any thread.
    AdbState state() const;

    /// The path of the first adb at the usual places that can be executed, looked for afresh; PATH is not
    /// consulted. Any thread.
    static std::optional<std::string> findAdb(const Bundle& bundle, const FileManager& files);
    /// Runs one command and returns all it printed on standard output, whatever its exit status. Nothing when
    /// it cannot be started, runs for more than 8 seconds (it is ended then), or prints what is not UTF-8.
    /// Blocks the calling thread, so not for the main one.
    static std::optional<std::string> run(const Roles& roles, const std::string& path,
                                          const std::vector<std::string>& arguments);

  private:
    AdbState probe() const;
    void update(const AdbState& found);

    const Roles roles_;
    mutable std::mutex stateMutex_;
    AdbState state_ = AdbState::noDevice;  ///< Written on the queue.
    std::shared_ptr<Timer> timer_;
    std::vector<std::shared_ptr<Timer>> replacedTimers_;  ///< Still firing.
    const std::uint16_t port_;
    std::unique_ptr<SerialQueue> queue_;
    ChangeHandler onChange_;  ///< Main thread only.
    std::atomic<bool> suspended_ = false;
};

}  // namespace orvane
