// Upper case for every script. Any thread.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// The full Unicode upper-case mapping, the same in every locale: characters may grow ("ß" gives "SS"). Bytes
/// that are no UTF-8 are kept as they are.
std::string uppercased(std::string_view text);

}  // namespace orvane
