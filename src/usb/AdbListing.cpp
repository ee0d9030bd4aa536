#include "usb/AdbListing.h"

#include "text/Lines.h"
#include "text/Trim.h"

#include <algorithm>
#include <utility>

namespace orvane {

namespace {

/// Cuts the next piece between tabs off the front of `line`; empty when there is none left.
std::string_view takePiece(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of('\t'), line.size()));
    const std::string_view piece = line.substr(0, line.find('\t'));
    line.remove_prefix(piece.size());
    return piece;
}

}  // namespace

AdbListing AdbListing::parse(std::string_view text) {
    AdbListing listing;
    bool isHeader = true;
    forEachLine(text, [&](std::string_view line) {
        if (std::exchange(isHeader, false) || listing.serial) return;
        const std::string_view phone = takePiece(line);
        const std::string_view status = trimSpacesAndTabs(takePiece(line));
        if (status == "device") listing.serial = phone;
        if (status == "unauthorized") listing.sawUnauthorized = true;
    });
    return listing;
}

}  // namespace orvane
