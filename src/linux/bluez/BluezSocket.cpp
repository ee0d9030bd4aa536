#include "linux/bluez/BluezSocket.h"

#include <cerrno>
#include <charconv>
#include <cstddef>
#include <iterator>

#include <bluetooth/l2cap.h>
#include <bluetooth/rfcomm.h>
#include <bluetooth/sdp.h>
#include <poll.h>
#include <sys/socket.h>

namespace orvane {

namespace {

/// An encrypted link where the device can; asking for more makes connects fail without a pairing agent.
constexpr bt_security linkSecurity{.level = BT_SECURITY_MEDIUM, .key_size = 0};

template <typename Address>
Descriptor startConnect(int type, int protocol, const Address& local, const Address& remote,
                        const bt_security* security, BluetoothStatus& error) {
    Descriptor socket(::socket(AF_BLUETOOTH, type | SOCK_NONBLOCK | SOCK_CLOEXEC, protocol));
    const bool started =
        socket && ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0 &&
        (security == nullptr ||
         ::setsockopt(socket.get(), SOL_BLUETOOTH, BT_SECURITY, security, sizeof *security) == 0) &&
        (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&remote), sizeof remote) == 0 ||
         errno == EINPROGRESS);
    error = started ? bluetoothSuccess : errno;
    if (!started) socket.reset();
    return socket;
}

}  // namespace

std::optional<bdaddr_t> parseBluetoothAddress(std::string_view text) {
    constexpr std::size_t digits = 2;
    constexpr std::size_t step = digits + 1;
    bdaddr_t address{};
    const std::size_t count = std::size(address.b);
    if (text.size() != count * step - 1) return std::nullopt;
    for (std::size_t i = 0; i < count; ++i) {
        const char* const first = text.data() + i * step;
        if (i > 0 && first[-1] != ':') return std::nullopt;
        const auto parsed = std::from_chars(first, first + digits, address.b[count - 1 - i], 16);
        if (parsed.ec != std::errc() || parsed.ptr != first + digits) return std::nullopt;
    }
    return address;
}

Descriptor startRfcommConnect(const bdaddr_t& local, const bdaddr_t& remote, std::uint8_t channel,
                              BluetoothStatus& error) {
    const sockaddr_rc from{.rc_family = AF_BLUETOOTH, .rc_bdaddr = local, .rc_channel = 0};
    const sockaddr_rc to{.rc_family = AF_BLUETOOTH, .rc_bdaddr = remote, .rc_channel = channel};
    return startConnect(SOCK_STREAM, BTPROTO_RFCOMM, from, to, &linkSecurity, error);
}

Descriptor startSdpConnect(const bdaddr_t& local, const bdaddr_t& remote, BluetoothStatus& error) {
    sockaddr_l2 from{};
    from.l2_family = AF_BLUETOOTH;
    from.l2_bdaddr = local;
    sockaddr_l2 to = from;
    to.l2_bdaddr = remote;
    to.l2_psm = htobs(SDP_PSM);
    return startConnect(SOCK_SEQPACKET, BTPROTO_L2CAP, from, to, nullptr, error);
}

std::optional<BluetoothStatus> connectResult(const Descriptor& socket) {
    pollfd state{.fd = socket.get(), .events = POLLOUT, .revents = 0};
    if (::poll(&state, 1, 0) <= 0) return std::nullopt;
    int error = 0;
    socklen_t size = sizeof error;
    if (::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0) return errno;
    if (error == 0 && (state.revents & (POLLHUP | POLLERR)) != 0) return ECONNRESET;
    return error;
}

}  // namespace orvane
