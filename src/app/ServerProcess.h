// The server's process: launched, listened to, ended, and started again with a growing delay when it exits.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvane {

struct Bundle;
class Processes;
class RunLoop;
class Task;

/// Main thread only. Held by a `std::shared_ptr`: blocks refer to it weakly and do nothing once it is gone.
class ServerProcess : public std::enable_shared_from_this<ServerProcess> {
  public:
    /// Hears, on the main thread, what becomes of the server. Outlives the process object.
    class Listener {
      public:
        virtual ~Listener() = default;
        /// One chunk of what the server wrote, valid UTF-8. Chunks that are not are dropped as a whole.
        virtual void serverPrinted(std::string_view text) = 0;
        virtual void serverLaunched() = 0;
        /// Nothing is tried again until somebody calls `start`.
        virtual void serverNotLaunched(const std::string& error) = 0;
        /// It exited by itself and will be started again after `delay` seconds.
        virtual void serverExited(std::int32_t status, std::int64_t delay) = 0;
    };

    /// The server "orvaned" lies beside the bundle's executable. The roles outlive this object. Starts
    /// nothing.
    ServerProcess(RunLoop& runLoop, Processes& processes, const Bundle& bundle, Listener& listener);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Launches a server. An older one must be gone: two would fight over the port.
    void start();
    /// Ends the running server for another to take its place: returns when it is gone, starts nothing, and
    /// forgets earlier restarts.
    void retire();
    /// Ends the server for good, without waiting for it. May be called again.
    void quit();
    /// Automatic restarts since a server last ran for a while.
    std::int64_t restarts() const { return restarts_; }

  private:
    std::shared_ptr<Task> makeTask();
    void taskExited();

    RunLoop& runLoop_;
    Processes& processes_;
    const Bundle& bundle_;
    Listener& listener_;
    std::shared_ptr<Task> task_;  ///< Launched last; kept after its exit until the next launch succeeds.
    std::int64_t restarts_ = 0;
    bool restartIsPending_ = false;  ///< Once `task_` has exited: nobody has retired it since.
    bool quitting_ = false;
};

}  // namespace orvane
