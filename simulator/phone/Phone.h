// The phone's side of the bridge frames: says hello, tests the link, attaches its audio engine, sends pattern
// bytes in place of audio and checks what comes back. Prints everything it gets, a line each.
#pragma once

#include "Link.h"
#include "bluetooth/BridgeFrame.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace phone {

class Phone : private Link::Events {
  public:
    /// `patience`: for how many seconds any one command waits.
    Phone(orvane::Descriptor listening, double patience)
        : link_(std::move(listening), *this), patience_(patience) {}

    // Each command returns nothing when it was done, or what went wrong.
    using Failure = std::optional<std::string>;

    Failure waitLink();
    Failure waitClosed();
    Failure hello(std::uint8_t version);
    /// Sends one probe of each size and compares the computer's count with the sum.
    Failure linkTest(const std::vector<std::uint32_t>& probeSizes);
    /// A new audio connection: the pattern starts anew in both directions.
    Failure attach();
    Failure detach();
    /// Sends the next `count` bytes of the pattern, in frames of `piece` bytes.
    Failure data(std::uint64_t count, std::uint32_t piece);
    /// Waits until `count` more bytes of data have come, and compares all of them with the pattern.
    Failure expectData(std::uint64_t count);
    /// Bytes as they are, frames or not.
    Failure raw(const std::vector<std::uint8_t>& bytes);
    Failure drop();

    /// Answers the link until `descriptor` can be read.
    void waitForInput(int descriptor);

  private:
    void linked() override;
    void received(std::span<const std::uint8_t> bytes) override;
    void unlinked(const std::string& reason) override;
    void frameReceived(const orvane::BridgeFrame& frame);
    void dataReceived(std::span<const std::uint8_t> payload);

    Failure send(orvane::FrameType type, std::span<const std::uint8_t> payload = {});
    Failure sendBytes(std::span<const std::uint8_t> bytes);
    /// Lets the link work until `done`, as long as patience lasts.
    bool waitUntil(const std::function<bool()>& done);

    Link link_;
    double patience_;
    orvane::FrameReader reader_;

    bool acknowledged_ = false;                ///< The link test's start was answered.
    std::optional<std::uint32_t> testResult_;  ///< And its end.

    std::uint64_t sent_ = 0;                   ///< Data bytes of this audio connection.
    std::uint64_t received_ = 0;               ///< Likewise.
    std::uint64_t expected_ = 0;               ///< Of those received, how many were waited for.
    std::optional<std::uint64_t> firstWrong_;  ///< Place of the first byte that is not the pattern's.
};

}  // namespace phone
