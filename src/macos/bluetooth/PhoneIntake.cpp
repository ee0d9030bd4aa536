#include "macos/bluetooth/PhoneIntake.h"

namespace orvane {

void PhoneIntake::add(std::span<const std::uint8_t> bytes) {
    if (isClosed_) return;
    kept_.insert(kept_.end(), bytes.begin(), bytes.end());
    handOn();
    if (kept_.size() <= maxKept) return;
    isClosed_ = true;
    kept_ = {};
    tellEnd(End::tooMuch);
}

void PhoneIntake::close() {
    isClosed_ = true;
    handOn();
}

void PhoneIntake::handOn() {
    if (!hasMore()) return;
    if (kept_.empty()) return tellEnd(End::closedByPhone);
    handlers_.received(takePiece());
    if (hasMore()) handlers_.handOnLater();
}

void PhoneIntake::setReceiving(bool receiving) {
    isReceiving_ = receiving;
    if (hasMore()) handlers_.handOnLater();
}

std::vector<std::uint8_t> PhoneIntake::takePiece() {
    if (kept_.size() <= maxPiece) return std::exchange(kept_, {});
    const auto end = kept_.begin() + maxPiece;
    std::vector<std::uint8_t> piece(kept_.begin(), end);
    kept_.erase(kept_.begin(), end);
    return piece;
}

void PhoneIntake::tellEnd(End end) {
    hasToldEnd_ = true;
    handlers_.ended(end);
}

}  // namespace orvane
