// Equality of texts as people see them. Any thread.
#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <utility>

namespace orvane {

/// True when the two texts are canonically equivalent (Unicode, chapter 3.11): equal, or different only in
/// the composition and order of their accents. Bytes that are no UTF-8 are equal to the same bytes only.
bool canonicallyEqual(std::string_view left, std::string_view right);

/// A text of a record: two of them are equal when they are canonically equivalent. With any other text it is
/// compared byte by byte.
struct CanonicalText : std::string {
    using std::string::string;
    CanonicalText(std::string text) : std::string(std::move(text)) {}
    CanonicalText(std::string_view text) : std::string(text) {}

    template <std::same_as<CanonicalText> Text>
    friend bool operator==(const Text& left, const Text& right) {
        return canonicallyEqual(left, right);
    }
};

}  // namespace orvane
