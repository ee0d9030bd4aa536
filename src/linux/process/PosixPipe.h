// A pipe(2) from a child to this program. What arrives for a readability handler is read on the main loop,
// one read of at most what the pipe holds a turn: a child that floods waits for us, and the menu stays alive.
// Of Qt it uses that loop, and nothing else.
#pragma once

#include "platform/Task.h"
#include "posix/Descriptor.h"
#include "posix/PendingBytes.h"

#include <QSocketNotifier>
#include <QTimer>
#include <cstddef>
#include <memory>

namespace orvane {

/// With a handler, main thread only; else any one thread at a time. A pipe that could not be made has no
/// ends, and the launch that gets it fails.
class PosixPipe : public Pipe, public std::enable_shared_from_this<PosixPipe> {
  public:
    PosixPipe();
    ~PosixPipe() override;

    /// `handler` is called on the main thread.
    void setReadabilityHandler(ReadabilityHandler handler) override;
    std::string readAvailable() override { return readPending(reading_.get()); }
    std::string readDataToEndOfFile() override { return readAvailable(); }

    bool isFollowed() const { return static_cast<bool>(handler_); }
    /// -1 once the stream has ended.
    int readingEnd() const { return reading_.get(); }
    /// -1 after `closeWritingEnd`.
    int writingEnd() const { return writing_.get(); }
    /// The child has its copy: from now on the stream ends with the last process that holds one. Until then a
    /// pipe with a handler keeps itself.
    void closeWritingEnd();
    /// Reads once and calls the handler with what came. Returns the number of bytes.
    std::size_t deliver();
    /// Reads once and tells nobody.
    void discard();
    /// Has the handler called with all that is in the pipe at this moment, unless it removes itself.
    void deliverPending();

  private:
    std::size_t deliver(const ReadabilityHandler& handler);
    void makeBuffer();
    void awaitCalm();
    void stopFollowing();

    Descriptor reading_;
    Descriptor writing_;
    ReadabilityHandler handler_;
    std::unique_ptr<char[]> buffer_;  ///< Since the first read, or the first after a flood.
    std::size_t bufferSize_ = 0;
    std::unique_ptr<QTimer> calm_;  ///< Since a flood began.
    QSocketNotifier* notifier_ = nullptr;
    std::shared_ptr<PosixPipe> self_;  ///< While a stream is followed that somebody may still write to.
};

}  // namespace orvane
