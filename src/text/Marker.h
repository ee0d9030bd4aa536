// Looking for fixed texts in many lines, fast. Any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace orvane {

/// A text to look for. It is found by the character of it that is rarest in what is searched: the first one
/// would make a false start at every other word.
class Marker {
  public:
    /// `rare` occurs in `text`.
    constexpr Marker(std::string_view text, char rare) : text_(text), rare_(rare), offset_(text.find(rare)) {}

    /// Where the text occurs first in `line`, or `npos`.
    std::size_t find(std::string_view line) const {
        for (auto at = line.find(rare_, offset_); at != std::string_view::npos;
             at = line.find(rare_, at + 1)) {
            const auto begin = at - offset_;
            if (line[begin] == text_.front() && line.substr(begin, text_.size()) == text_) return begin;
        }
        return std::string_view::npos;
    }
    bool isIn(std::string_view line) const { return find(line) != std::string_view::npos; }
    /// What follows the first occurrence; nothing when there is none.
    std::optional<std::string_view> textAfter(std::string_view line) const {
        const auto found = find(line);
        if (found == std::string_view::npos) return std::nullopt;
        return line.substr(found + text_.size());
    }

  private:
    std::string_view text_;
    char rare_;
    std::size_t offset_;
};

}  // namespace orvane
