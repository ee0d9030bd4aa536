// The numbers of the server's status lines. Each function reads the whole of `text` or nothing. Any thread.
//
// Integers: base 10, an optional "+" or "-" and at least one ASCII digit; a value out of range is nothing. An
// unsigned "-0" is 0.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace orvane {

std::optional<std::int64_t> parseSigned(std::string_view text);
std::optional<std::uint64_t> parseUnsigned(std::string_view text);
std::optional<std::uint32_t> parseUnsigned32(std::string_view text);

/// As strtod reads it in the "C" locale (so also exponents, hexadecimal, inf and nan), but with no white
/// space before it. Nothing when the value overflows or underflows to zero.
std::optional<double> parseDouble(std::string_view text);

}  // namespace orvane
