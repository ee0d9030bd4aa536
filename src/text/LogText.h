// The text of the server log, bounded in user-perceived characters. One thread at a time.
#pragma once

#include "text/Characters.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace orvane {

/// Text that grows at its end and, once it has become too long, loses its beginning. Appending costs time
/// for what is appended only, however long the text is.
///
/// Places are told in bytes since the log was empty for the first time, so that a view can follow: drop what
/// lies before `begin`, append what lies between its own end and `end`.
class LogText {
  public:
    static constexpr std::size_t defaultLimit = 200'000;
    static constexpr std::size_t defaultKept = 160'000;

    /// More than `limit` characters are cut to the last `kept`. 0 < `kept` <= `limit`.
    explicit LogText(std::size_t limit = defaultLimit, std::size_t kept = defaultKept);

    /// Adds UTF-8 text, cut anywhere between code points.
    void append(std::string_view chunk);

    /// Valid until the next `append`.
    std::string_view text() const { return std::string_view(buffer_).substr(head_); }
    std::size_t characterCount() const { return characters_; }
    std::uint64_t begin() const { return begin_; }
    std::uint64_t end() const { return begin_ + text().size(); }

  private:
    void dropCharacters(std::size_t count);

    std::size_t limit_;
    std::size_t kept_;
    std::string buffer_;
    std::size_t head_ = 0;  ///< Where the text begins in the buffer; before it lies what has been dropped.
    std::uint64_t begin_ = 0;
    std::size_t characters_ = 0;
    CharacterCounter counter_;
};

}  // namespace orvane
