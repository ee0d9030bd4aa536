#include "macos/inspection/PortListing.h"

#include "text/Lines.h"

#include <charconv>
#include <sstream>

namespace orvane {

bool listsListener(std::string_view netstat, std::uint16_t port) {
    const std::string ending = "." + std::to_string(port);
    bool isListed = false;
    forEachLine(netstat, [&](std::string_view line) {
        std::istringstream fields{std::string(line)};
        std::string protocol, received, sent, local, foreign, state;
        fields >> protocol >> received >> sent >> local >> foreign >> state;
        isListed |= protocol.starts_with("tcp") && local.ends_with(ending) && state == "LISTEN";
    });
    return isListed;
}

ListedHolder listedHolder(std::string_view lsof) {
    ListedHolder holder;
    bool isFirst = true;
    forEachLine(lsof, [&](std::string_view line) {
        const std::string_view value = line.substr(1);
        if (line[0] == 'p') {
            isFirst = holder.process == 0;
            if (isFirst) std::from_chars(value.data(), value.data() + value.size(), holder.process);
        }
        if (!isFirst) return;
        if (line[0] == 'c') holder.program = value;
        if (line[0] == 'L') holder.user = value;
    });
    return holder;
}

}  // namespace orvane
