// Child processes and the pipes that carry what they print.
#pragma once

#include "platform/RunLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// A pipe whose writing end goes to one child or more. A task keeps its pipes. A pipe with a readability
/// handler goes on being read until its stream ends, even when everybody has let go of it, so that the last
/// words of a child are heard.
class Pipe {
  public:
    /// Gets the bytes of one read, never empty; the view is valid during the call only. The end of the stream
    /// calls nothing.
    using ReadabilityHandler = std::function<void(std::string_view bytes)>;

    virtual ~Pipe() = default;

    /// Has `handler` called with each chunk as it arrives, on a thread of the system's choosing, in order.
    /// Set it before the launch.
    virtual void setReadabilityHandler(ReadabilityHandler handler) = 0;
    /// What can be read now, without waiting: for the capture of a command's output. Not together with a
    /// handler.
    virtual std::string readAvailable() = 0;
    /// Everything up to the end of the stream. When another process still holds the writing end the stream
    /// does not end: then what has been written so far. Never waits.
    virtual std::string readDataToEndOfFile() = 0;
};

/// One child process: described, launched once, watched until it has exited. The child gets the descriptors
/// meant for it and no other, default signal dispositions, and this program's environment and working
/// directory.
///
/// Destroying a task whose child still runs ends nothing; the child is still reaped when it exits.
class Task {
  public:
    using TerminationHandler = std::function<void()>;

    virtual ~Task() = default;

    /// A file path; nothing is looked up.
    virtual void setExecutable(const std::string& path) = 0;
    virtual void setArguments(const std::vector<std::string>& arguments) = 0;
    virtual void setStandardOutput(const std::shared_ptr<Pipe>& pipe) = 0;
    virtual void setStandardError(const std::shared_ptr<Pipe>& pipe) = 0;
    /// Called once when the child has exited, on a thread of the system's choosing. An empty handler removes
    /// the one set: after that no call begins.
    virtual void setTerminationHandler(TerminationHandler handler) = 0;

    /// Starts the child. Returns the error's description, or nothing on success.
    virtual std::optional<std::string> launch() = 0;
    virtual bool isRunning() const = 0;
    /// Asks the child to end (SIGTERM). Nothing happens when it has exited or was never launched.
    virtual void terminate() = 0;
    /// Ends the child at once (SIGKILL); as `terminate` otherwise.
    virtual void kill() = 0;
    /// Blocks the calling thread until the child has exited, for at most `limit`. True when it has.
    virtual bool waitUntilExit(Duration limit) = 0;
    /// The exit status, or the number of the signal that ended the child. Only after it has exited.
    virtual std::int32_t terminationStatus() const = 0;
};

class Processes {
  public:
    virtual ~Processes() = default;
    virtual std::shared_ptr<Pipe> makePipe() = 0;
    virtual std::shared_ptr<Task> makeTask() = 0;
};

}  // namespace orvane
