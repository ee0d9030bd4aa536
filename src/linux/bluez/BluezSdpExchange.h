// One search in a device's service database, as the packets of its protocol: ServiceSearchAttribute requests
// and their answers (Bluetooth Core Specification, volume 3, part B, 4.7). Pure: the socket is the caller's.
//
// The exchange is done here, and not by libbluetooth, because its request functions put no bound on what a
// device may answer.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace orvane {

/// Asks for every attribute of the records that contain one 16-bit UUID.
class BluezSdpExchange {
  public:
    enum class Progress { needsRequest, complete, malformed };

    /// A real phone's whole database is a tenth of this; an answer that grows beyond is malformed.
    static constexpr std::size_t maxAnswer = 32768;

    explicit BluezSdpExchange(std::uint16_t uuid) : uuid_(uuid) {}

    /// The request to send now: the first one, or the one that continues the answer so far.
    std::vector<std::uint8_t> request() const;
    /// Takes the packet that answers `request()`.
    Progress add(std::span<const std::uint8_t> packet);
    /// Once complete: the sequence of attribute lists.
    std::span<const std::uint8_t> attributeLists() const { return attributeLists_; }

  private:
    std::uint16_t uuid_;
    std::uint16_t transaction_ = 1;
    std::vector<std::uint8_t> continuation_;
    std::vector<std::uint8_t> attributeLists_;
};

}  // namespace orvane
