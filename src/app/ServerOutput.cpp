#include "app/ServerOutput.h"

#include "model/Numbers.h"
#include "text/ByteBlock.h"
#include "text/Lines.h"
#include "text/Marker.h"
#include "text/Trim.h"

namespace orvane {

namespace {

constexpr Marker deviceHeader("devices: ", ':');
constexpr Marker phoneHeader("sessions: ", ':');
constexpr Marker pairingCode("pairing code: ", ':');
constexpr Marker pairingRejected("pairing: REJECTED", 'J');
constexpr Marker pairingLocked("pairing: too many wrong codes", ':');
constexpr Marker alignOff("align=off", '=');
constexpr Marker alignOn("align=on", '=');
constexpr Marker phoneYes("phone=yes", '=');
constexpr Marker phoneWaiting("phone=waiting", '=');
constexpr Marker routingToDefault("routing to default-output", '-');
constexpr Marker routingToVirtual("routing to VIRTUAL", 'V');

/// What every marker holds and most talk does not: a colon before a space or a tab, an equals sign, or the
/// end of "routing".
template <typename Bytes>
constexpr auto isTelling(Bytes byte, Bytes next) {
    constexpr unsigned char colon = ':', equals = '=', space = ' ', tab = '\t', g = 'g';
    return ((byte == colon) & ((next == space) | (next == tab))) | (byte == equals) |
           ((byte == g) & (next == space));
}

/// False only when there is surely no marker in `line`.
bool mayHoldMarker(std::string_view line) {
    constexpr std::size_t size = sizeof(ByteBlock);
    if (line.size() <= size) {
        for (std::size_t at = 0; at + 1 < line.size(); ++at)
            if (isTelling(line[at], line[at + 1])) return true;
        return false;
    }
    const auto telling = [&](std::size_t at) {
        return ByteBlock(isTelling(loadBlock(line.data() + at), loadBlock(line.data() + at + 1)));
    };
    // The last block reaches back over bytes already seen.
    ByteBlock found = telling(line.size() - size - 1);
    for (std::size_t at = 0; at + size + 1 < line.size(); at += size)
        found |= telling(at);
    return anyBit(found);
}

/// An announced count; 0 when it cannot be read.
std::int64_t parseCount(std::string_view text) {
    return parseSigned(trimHorizontalSpace(text)).value_or(0);
}

void readAlignment(std::string_view line, const ServerOutput::Handler& handler) {
    if (alignOff.isIn(line)) {
        handler(AlignmentReported{false});
    } else if (alignOn.isIn(line)) {
        handler(AlignmentReported{true});
    }
}

/// True when a phone was turned away, which ends the line's tests.
bool readPairing(std::string_view line, const ServerOutput::Handler& handler) {
    if (const auto code = pairingCode.textAfter(line))
        handler(PairingCodeAnnounced{std::string(trimHorizontalSpace(*code))});
    if (pairingRejected.isIn(line)) {
        handler(ConnectionReport::wrongCode);
    } else if (pairingLocked.isIn(line)) {
        handler(ConnectionReport::locked);
    } else {
        return false;
    }
    return true;
}

void readConnection(std::string_view line, const ServerOutput::Handler& handler) {
    if (phoneYes.isIn(line)) {
        handler(ConnectionReport::connected);
    } else if (phoneWaiting.isIn(line)) {
        handler(ConnectionReport::waiting);
    }
}

void readRouting(std::string_view line, const ServerOutput::Handler& handler) {
    if (routingToDefault.isIn(line)) handler(RoutingReport::defaultOutput);
    if (routingToVirtual.isIn(line)) handler(RoutingReport::loopback);
}

}  // namespace

void ServerOutput::read(std::string_view text, const Handler& handler) {
    forEachLine(text, [&](std::string_view line) { readLine(line, handler); });
}

void ServerOutput::readLine(std::string_view line, const Handler& handler) {
    if (!mayHoldMarker(line)) return;
    // These two characters are missing from much of the rest.
    const bool hasColon = line.find(':') != std::string_view::npos;
    const bool hasEquals = line.find('=') != std::string_view::npos;
    if (hasColon && readList(line, handler)) return;
    if (hasEquals) readAlignment(line, handler);
    if (hasColon && readPairing(line, handler)) return;
    if (hasEquals) readConnection(line, handler);
    readRouting(line, handler);
}

bool ServerOutput::readList(std::string_view line, const Handler& handler) {
    const auto devicesListed = [&](std::vector<LoopbackDevice> list) {
        handler(DevicesListed{std::move(list)});
    };
    const auto phonesListed = [&](std::vector<PhoneSession> list) { handler(PhonesListed{std::move(list)}); };
    if (const auto count = deviceHeader.textAfter(line)) {
        devices_.open(parseCount(*count), devicesListed);
    } else if (line.starts_with("device:\t")) {
        devices_.add(LoopbackDevice::parse(line), devicesListed);
    } else if (const auto phoneCount = phoneHeader.textAfter(line)) {
        phones_.open(parseCount(*phoneCount), phonesListed);
    } else if (line.starts_with("session:\t")) {
        phones_.add(PhoneSession::parse(line), phonesListed);
    } else {
        return false;
    }
    return true;
}

}  // namespace orvane
