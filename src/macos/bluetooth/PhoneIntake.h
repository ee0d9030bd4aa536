// What a phone sends on a channel that cannot be told to wait, as IOBluetooth's cannot: handed on as it
// comes, and kept, in order, while nothing is to be received. Main thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>
#include <vector>

namespace orvane {

class PhoneIntake {
  public:
    /// Bytes: more than Bluetooth brings in the two seconds for which a server that takes nothing is waited
    /// for.
    static constexpr std::size_t maxKept = 1 << 20;
    /// The most bytes that are handed on at once: each frame in them may ask for an answer.
    static constexpr std::size_t maxPiece = 65536;

    enum class End { closedByPhone, tooMuch };

    struct Handlers {
        /// The bytes are valid during the call only.
        std::function<void(std::span<const std::uint8_t>)> received;
        /// Called once, and nothing after it: the phone has closed the channel, and what it sent before has
        /// been handed on; or more than `maxKept` would have to be kept, and what was is dropped.
        std::function<void(End)> ended;
        /// Has `handOn` called in another turn of the run loop.
        std::function<void()> handOnLater;
    };

    /// Whoever calls this keeps it for as long as the call takes: a handler may let go of it.
    explicit PhoneIntake(Handlers handlers) : handlers_(std::move(handlers)) {}
    PhoneIntake(const PhoneIntake&) = delete;
    PhoneIntake& operator=(const PhoneIntake&) = delete;

    /// The phone has sent something. May call `received` or `ended`, as the next two may.
    void add(std::span<const std::uint8_t> bytes);
    /// The phone has closed the channel.
    void close();
    /// Hands on one piece, or the end, if there is any and it may be received.
    void handOn();
    /// Whether anything may be handed on; true at first. Nothing is from within the call.
    void setReceiving(bool receiving);
    /// The phone neither sends nor hears anything any more.
    bool isClosed() const { return isClosed_; }

  private:
    bool hasMore() const { return isReceiving_ && (!kept_.empty() || (isClosed_ && !hasToldEnd_)); }
    std::vector<std::uint8_t> takePiece();
    void tellEnd(End end);

    const Handlers handlers_;
    std::vector<std::uint8_t> kept_;
    bool isReceiving_ = true;
    bool isClosed_ = false;
    bool hasToldEnd_ = false;
};

}  // namespace orvane
