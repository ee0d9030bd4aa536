#include "app/ServerOutput.h"

#include "model/Numbers.h"
#include "text/ByteBlock.h"
#include "text/Lines.h"
#include "text/Marker.h"
#include "text/Trim.h"

#include <algorithm>

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

/// What every marker holds and most talk does not: a colon before a space or a tab, an equals sign, the
/// middle of "default-output", or the beginning of " VIRTUAL".
template <typename Bytes>
constexpr auto isTelling(Bytes byte, Bytes next) {
    constexpr unsigned char colon = ':', equals = '=', space = ' ', tab = '\t', t = 't', dash = '-', v = 'V';
    return ((byte == colon) & ((next == space) | (next == tab))) | (byte == equals) |
           ((byte == t) & (next == dash)) | ((byte == space) & (next == v));
}

/// Where the first sign of a marker stands; `npos` when there is surely none.
std::size_t findTelling(std::string_view text) {
    constexpr std::size_t size = sizeof(ByteBlock);
    const auto telling = [&](std::size_t at) {
        return ByteBlock(isTelling(loadBlock(text.data() + at), loadBlock(text.data() + at + 1)));
    };
    std::size_t at = 0;
    while (at + 4 * size < text.size() &&
           !anyBit(telling(at) | telling(at + size) | telling(at + 2 * size) | telling(at + 3 * size)))
        at += 4 * size;
    for (; at + 1 < text.size(); ++at)
        if (isTelling(text[at], text[at + 1])) return at;
    return std::string_view::npos;
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
    // Most of a text is talk, which need not even be cut into lines.
    for (auto found = findTelling(text); found != std::string_view::npos; found = findTelling(text)) {
        const std::size_t before = text.rfind('\n', found);
        const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
        const std::size_t end = std::min(text.find('\n', found), text.size());
        forEachLine(text.substr(begin, end - begin), [&](std::string_view line) { readLine(line, handler); });
        text.remove_prefix(end);
    }
}

void ServerOutput::readLine(std::string_view line, const Handler& handler) {
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
