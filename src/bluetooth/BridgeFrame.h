// The frames that phone and computer exchange over RFCOMM: one type byte, the payload's length as four bytes
// (most significant first), the payload. Frames follow each other without a gap, and the stream may be cut
// anywhere. docs/bridge-protocol.md has the table. Pure: bytes in, frames or a reason out, and back.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>
#include <vector>

namespace orvane {

/// What a frame is about: its first byte on the stream.
enum class FrameType : std::uint8_t {
    hello = 'H',
    linkTestStart = 'R',
    probe = 'P',
    linkTestEnd = 'E',
    attach = 'A',
    detach = 'D',
    data = 'd',
    linkTestAcknowledgement = 'r',
    linkTestResult = 'e',
};

struct BridgeFrame {
    FrameType type;  ///< Whatever byte the other side sent, named above or not.
    std::span<const std::uint8_t> payload;
};

/// Cuts the received stream into frames. The work is linear in the bytes received, however they are split.
class FrameReader {
  public:
    static constexpr std::size_t headerSize = 5;
    static constexpr std::uint32_t maxPayload = 65536;

    enum class Lack {
        needMore,   ///< The next frame has not arrived whole.
        badLength,  ///< The next frame claims more than `maxPayload`: there is no way on but `clear`.
    };

    void append(std::span<const std::uint8_t> bytes);
    /// Takes the next frame, or says why there is none. The payload is valid until the next `append` or
    /// `clear`.
    std::variant<BridgeFrame, Lack> next();
    /// Forgets everything received.
    void clear();

  private:
    std::vector<std::uint8_t> bytes_;
    std::size_t taken_ = 0;  ///< How many of `bytes_` belong to frames already handed out.
};

/// What goes on the stream before a payload of so many bytes. 4 GiB or more are a mistake of the caller's and
/// end the program.
std::array<std::uint8_t, FrameReader::headerSize> frameHeader(FrameType type, std::size_t payloadSize);
/// The whole frame.
std::vector<std::uint8_t> encodeFrame(FrameType type, std::span<const std::uint8_t> payload);

}  // namespace orvane
