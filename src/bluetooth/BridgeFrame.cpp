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

std::vector<std::uint8_t> encodeFrame(FrameType type, std::span<const std::uint8_t> payload) {
    if (payload.size() > std::numeric_limits<std::uint32_t>::max()) std::abort();
    std::vector<std::uint8_t> frame;
    frame.reserve(FrameReader::headerSize + payload.size());
    frame.push_back(static_cast<std::uint8_t>(type));
    appendBigEndian(frame, static_cast<std::uint32_t>(payload.size()));
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

}  // namespace orvane
