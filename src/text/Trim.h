// Trimming both ends of a text. The results are views into the argument. Pure functions, any thread.
#pragma once

#include <string_view>

namespace orvane {

/// Trims tabs and the Unicode space separators (general category Zs); line breaks stay.
std::string_view trimHorizontalSpace(std::string_view text);

/// Trims the two characters U+0020 and U+0009 only.
std::string_view trimSpacesAndTabs(std::string_view text);

/// Trims the Unicode separators (general categories Zs, Zl, Zp), U+0009 to U+000D and U+0085.
std::string_view trimWhitespaceAndNewlines(std::string_view text);

}  // namespace orvane
