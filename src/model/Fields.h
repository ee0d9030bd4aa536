// The fields of a status line. Any thread.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace orvane {

/// Cuts `line` at its tabs into `count` fields; the last one keeps whatever tabs are left. Nothing is
/// trimmed. Nothing is returned when there are fewer fields. The fields are views into `line`.
template <std::size_t count>
std::optional<std::array<std::string_view, count>> splitAtTabs(std::string_view line) {
    std::array<std::string_view, count> fields;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        const std::size_t tab = line.find('\t');
        if (tab == std::string_view::npos) return std::nullopt;
        fields[i] = line.substr(0, tab);
        line.remove_prefix(tab + 1);
    }
    fields.back() = line;
    return fields;
}

}  // namespace orvane
