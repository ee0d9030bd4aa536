#include "bluetooth/BridgeFrame.h"

#include "text/BigEndian.h"

#include <cstdlib>
#include <limits>

namespace orvane {

void FrameReader::append(std::span<const std::uint8_t> bytes) {
    // The front is dropped only when it is the greater half, so that no byte is moved more than once on
    // average.
    if (taken_ > bytes_.size() / 2) {
        bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(taken_));
        taken_ = 0;
    }
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

std::variant<BridgeFrame, FrameReader::Lack> FrameReader::next() {
    const auto rest = std::span<const std::uint8_t>(bytes_).subspan(taken_);
    if (rest.size() < headerSize) return Lack::needMore;
    const auto length = bigEndian(rest.subspan<1, 4>());
    if (length > maxPayload) return Lack::badLength;
    if (rest.size() < headerSize + length) return Lack::needMore;
    taken_ += headerSize + length;
    return BridgeFrame{FrameType{rest[0]}, rest.subspan(headerSize, length)};
}

void FrameReader::clear() {
    bytes_.clear();
    taken_ = 0;
}

std::array<std::uint8_t, FrameReader::headerSize> frameHeader(FrameType type, std::size_t payloadSize) {
    if (payloadSize > std::numeric_limits<std::uint32_t>::max()) std::abort();
    const auto length = bigEndianBytes(static_cast<std::uint32_t>(payloadSize));
    return {static_cast<std::uint8_t>(type), length[0], length[1], length[2], length[3]};
}

std::vector<std::uint8_t> encodeFrame(FrameType type, std::span<const std::uint8_t> payload) {
    const auto header = frameHeader(type, payload.size());
    std::vector<std::uint8_t> frame(header.begin(), header.end());
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

}  // namespace orvane
