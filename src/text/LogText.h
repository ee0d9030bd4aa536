// The text of the server log, bounded in user-perceived characters. One thread at a time.
#pragma once

#include "text/Characters.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

namespace orvane {

/// Text that grows at its end and, once it has become too long, loses its beginning. Appending costs time
/// for what is appended only, however long the text is.
///
/// Places are told in bytes since the log was first empty, so that a view can follow: drop what lies before
/// `begin`, append what lies between the view's own end and `end`.
class LogText {
  public:
    static constexpr std::size_t defaultLimit = 200'000;
    static constexpr std::size_t defaultKept = 160'000;

    /// More than `limit` characters are cut to the last `kept`. 0 < `kept` <= `limit`.
    explicit LogText(std::size_t limit = defaultLimit, std::size_t kept = defaultKept);

    /// Adds UTF-8 text, cut anywhere between code points.
    void append(std::string_view chunk);

    /// Valid until the next `append`.
    std::string_view text() const { return std::string_view(buffer_).substr(begin() - bufferBegin_); }
    std::size_t characterCount() const { return charactersBegun_ - places_.front().charactersBefore; }
    std::uint64_t begin() const { return places_.front().offset; }
    std::uint64_t end() const { return bufferBegin_ + buffer_.size(); }

  private:
    /// A place from which the counting of characters can be taken up again.
    struct Place {
        std::uint64_t offset;
        std::uint64_t charactersBefore;  ///< That began before it, dropped ones included.
        CharacterCounter counter;        ///< As it was there.
    };

    bool startOver(std::string_view chunk);
    void dropBeginning();

    std::size_t limit_;
    std::size_t kept_;
    std::string buffer_;  ///< The text, and before it what has been dropped but not yet removed.
    std::uint64_t bufferBegin_ = 0;
    std::uint64_t charactersBegun_ = 0;
    CharacterCounter counter_;
    /// In order. The first is the beginning of the text; the others save counting twice what is dropped.
    std::deque<Place> places_;
};

}  // namespace orvane
