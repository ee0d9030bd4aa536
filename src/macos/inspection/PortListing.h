// Who listens on a TCP port, out of what the system's tools print. Pure.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvane {

/// True when `netstat -an -p tcp` lists a socket that listens on that port.
bool listsListener(std::string_view netstat, std::uint16_t port);

struct ListedHolder {
    std::int64_t process = 0;  ///< 0: none is listed.
    std::string program;
    std::string user;
    bool operator==(const ListedHolder&) const = default;
};

/// The first process that `lsof -FpcL` lists.
ListedHolder listedHolder(std::string_view lsof);

}  // namespace orvane
