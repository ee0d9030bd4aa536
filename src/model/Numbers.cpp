#include "model/Numbers.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <string>
#include <system_error>
#include <type_traits>

#include <locale.h>
#if __has_include(<xlocale.h>)
#include <xlocale.h>
#endif

namespace orvane {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// std::from_chars knows no "+", and no "-" for unsigned types.
template <typename Integer>
std::optional<Integer> parseInteger(std::string_view text) {
    const bool isSigned = !text.empty() && (text.front() == '+' || text.front() == '-');
    const bool isNegative = isSigned && text.front() == '-';
    const std::string_view digits = text.substr(isSigned ? 1 : 0);
    if (digits.empty() || !isDigit(digits.front())) return std::nullopt;

    const bool passesSign = isNegative && std::is_signed_v<Integer>;
    const std::string_view number = passesSign ? text : digits;
    Integer value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    if (error != std::errc() || end != number.data() + number.size()) return std::nullopt;
    if (isNegative && !passesSign && value != 0) return std::nullopt;
    return value;
}

/// A number of few digits, as most are. 15 digits and a power of ten are exact, and one division of them
/// rounds as it should (W. D. Clinger, "How to Read Floating Point Numbers Accurately", 1990); where there is
/// no point, the 16 digits that may be are rounded once, too.
std::optional<double> parseShort(std::string_view text) {
    constexpr std::size_t maxLength = 16;
    if (text.size() > maxLength || text == ".") return std::nullopt;
    std::int64_t digits = 0;
    std::optional<double> scale;
    for (const char c : text) {
        if (c == '.' && !scale) {
            scale = 1;
            continue;
        }
        if (!isDigit(c)) return std::nullopt;
        digits = digits * 10 + (c - '0');
        if (scale) *scale *= 10;
    }
    return static_cast<double>(digits) / scale.value_or(1);
}

}  // namespace

std::optional<std::int64_t> parseSigned(std::string_view text) {
    return parseInteger<std::int64_t>(text);
}

std::optional<std::uint64_t> parseUnsigned(std::string_view text) {
    return parseInteger<std::uint64_t>(text);
}

std::optional<std::uint32_t> parseUnsigned32(std::string_view text) {
    return parseInteger<std::uint32_t>(text);
}

std::optional<double> parseDouble(std::string_view text) {
    constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    if (text.empty() || whiteSpace.find(text.front()) != std::string_view::npos) return std::nullopt;
    if (const auto value = parseShort(text)) return value;

    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string terminated(text);
    char* end = nullptr;
    errno = 0;
    const double value = strtod_l(terminated.c_str(), &end, cLocale);
    if (end != terminated.c_str() + terminated.size()) return std::nullopt;
    // Denormal numbers may report a range error too, but they are values.
    if (errno == ERANGE && (value == 0 || std::isinf(value))) return std::nullopt;
    return value;
}

}  // namespace orvane
