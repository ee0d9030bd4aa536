#include "linux/bluez/BluezSdpQuery.h"

#include "linux/bluez/BluezSdpExchange.h"
#include "linux/bluez/BluezSocket.h"
#include "posix/Deadline.h"

#include <array>
#include <cerrno>

#include <bluetooth/sdp.h>
#include <sys/socket.h>

namespace orvane {

namespace {

/// The socket's waits, all of them together bounded by the one limit.
class Conversation {
  public:
    explicit Conversation(Descriptor socket) : socket_(std::move(socket)) {}

    BluetoothStatus finishConnecting() {
        if (const auto error = waitFor(POLLOUT)) return error;
        return connectResult(socket_).value_or(ETIMEDOUT);
    }

    BluetoothStatus run(BluezSdpExchange& exchange) {
        std::array<std::uint8_t, 65536> packet;  // no L2CAP packet is larger
        for (;;) {
            if (const auto error = sendPacket(exchange.request())) return error;
            if (const auto error = waitFor(POLLIN)) return error;
            const ssize_t size = ::recv(socket_.get(), packet.data(), packet.size(), 0);
            if (size < 0) return errno;
            if (size == 0) return ECONNRESET;
            switch (exchange.add(std::span(packet).first(static_cast<std::size_t>(size)))) {
                case BluezSdpExchange::Progress::needsRequest:
                    break;
                case BluezSdpExchange::Progress::complete:
                    return bluetoothSuccess;
                case BluezSdpExchange::Progress::malformed:
                    return EPROTO;
            }
        }
    }

  private:
    BluetoothStatus sendPacket(const std::vector<std::uint8_t>& packet) {
        if (const auto error = waitFor(POLLOUT)) return error;
        return ::send(socket_.get(), packet.data(), packet.size(), MSG_NOSIGNAL) < 0 ? errno
                                                                                     : bluetoothSuccess;
    }

    BluetoothStatus waitFor(short events) {
        return pollUntil(socket_.get(), events, deadline_) ? bluetoothSuccess : ETIMEDOUT;
    }

    Descriptor socket_;
    const Deadline deadline_ = Deadline::after(sdpQueryLimit);
};

}  // namespace

BluezSdpAnswer querySdp(const bdaddr_t& local, const bdaddr_t& remote) {
    BluezSdpAnswer answer;
    Conversation conversation(startSdpConnect(local, remote, answer.status));
    if (answer.status == bluetoothSuccess) answer.status = conversation.finishConnecting();

    // What the device shows to browsers, and what it does not but can be reached all the same: every RFCOMM
    // service names L2CAP among its protocols.
    for (const std::uint16_t uuid : {PUBLIC_BROWSE_GROUP, L2CAP_UUID}) {
        if (answer.status != bluetoothSuccess) return {answer.status, {}};
        BluezSdpExchange exchange(uuid);
        answer.status = conversation.run(exchange);
        if (answer.status == bluetoothSuccess) {
            addMissingSdpRecords(answer.records, decodeSdpRecords(exchange.attributeLists()));
        }
    }
    return answer.status == bluetoothSuccess ? answer : BluezSdpAnswer{answer.status, {}};
}

}  // namespace orvane
