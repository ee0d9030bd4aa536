// Equality of texts as people see them. Any thread.
#pragma once

#include <string_view>

namespace orvane {

/// True when the two texts are canonically equivalent (Unicode, chapter 3.11): equal, or different only in
/// the composition and order of their accents. Bytes that are no UTF-8 are equal to the same bytes only.
bool canonicallyEqual(std::string_view left, std::string_view right);

}  // namespace orvane
