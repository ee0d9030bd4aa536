#include "linux/bluez/BluezSdpExchange.h"

#include "text/BigEndian.h"

#include <algorithm>
#include <iterator>

namespace orvane {

namespace {

constexpr std::uint8_t searchAttributeRequest = 0x06;
constexpr std::uint8_t searchAttributeResponse = 0x07;
constexpr std::size_t headerSize = 5;  // kind, transaction, length of what follows
constexpr std::size_t maxContinuation = 16;

std::uint8_t high(std::size_t value) {
    return static_cast<std::uint8_t>(value >> 8);
}
std::uint8_t low(std::size_t value) {
    return static_cast<std::uint8_t>(value);
}

std::size_t number16(std::span<const std::uint8_t> bytes) {
    return bigEndian(bytes.first<2>());
}

}  // namespace

std::vector<std::uint8_t> BluezSdpExchange::request() const {
    constexpr std::size_t fixedParameters = 15;
    const std::size_t length = fixedParameters + continuation_.size();
    // clang-format off
    std::vector<std::uint8_t> packet = {
        searchAttributeRequest, high(transaction_), low(transaction_), high(length), low(length),
        0x35, 3, 0x19, high(uuid_), low(uuid_),            // a sequence of one UUID
        0xFF, 0xFF,                                        // as many bytes as fit
        0x35, 5, 0x0A, 0x00, 0x00, 0xFF, 0xFF,             // a sequence of one range: every attribute
        low(continuation_.size()),
    };
    // clang-format on
    std::copy(continuation_.begin(), continuation_.end(), std::back_inserter(packet));
    return packet;
}

BluezSdpExchange::Progress BluezSdpExchange::add(std::span<const std::uint8_t> packet) {
    if (packet.size() < headerSize + 3) return Progress::malformed;
    if (packet[0] != searchAttributeResponse || number16(packet.subspan(1)) != transaction_ ||
        number16(packet.subspan(3)) != packet.size() - headerSize) {
        return Progress::malformed;
    }

    // The count of list bytes, those bytes, the length of the continuation state, the state.
    const auto body = packet.subspan(headerSize + 2);
    const std::size_t count = number16(packet.subspan(headerSize));
    if (count >= body.size()) return Progress::malformed;
    const auto continuation = body.subspan(count + 1);
    if (continuation.size() != body[count] || continuation.size() > maxContinuation) {
        return Progress::malformed;
    }
    // An answer that goes on without bringing anything would go on for ever.
    if (count == 0 && !continuation.empty()) return Progress::malformed;
    if (attributeLists_.size() + count > maxAnswer) return Progress::malformed;

    attributeLists_.insert(attributeLists_.end(), body.begin(), body.begin() + static_cast<long>(count));
    continuation_.assign(continuation.begin(), continuation.end());
    ++transaction_;
    return continuation_.empty() ? Progress::complete : Progress::needsRequest;
}

}  // namespace orvane
