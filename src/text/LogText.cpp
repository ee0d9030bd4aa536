#include "text/LogText.h"

namespace orvane {

namespace {

/// Characters from one remembered place to the next.
constexpr std::size_t placeSpacing = 1024;

}  // namespace

LogText::LogText(std::size_t limit, std::size_t kept) : limit_(limit), kept_(kept), places_(1) {}

void LogText::append(std::string_view chunk) {
    if (chunk.size() > 2 * limit_ && startOver(chunk)) return;
    if (charactersBegun_ - places_.back().charactersBefore >= placeSpacing) {
        places_.push_back({end(), charactersBegun_, counter_});
    }
    buffer_ += chunk;
    charactersBegun_ += counter_.count(chunk);
    if (characterCount() > limit_) dropBeginning();
}

/// Of a long chunk only the end can stay: what comes before it need not even be counted. False when it may
/// hold too few characters for that, or no line from which to count.
bool LogText::startOver(std::string_view chunk) {
    const std::size_t newline = chunk.rfind('\n', chunk.size() - 2 * limit_);
    if (newline == std::string_view::npos) return false;
    const std::string_view rest = chunk.substr(newline + 1);  // Nothing ever belongs to a newline before it.
    CharacterCounter counter;
    const std::size_t characters = counter.count(rest);
    if (characters <= limit_) return false;

    bufferBegin_ = end() + newline + 1;
    buffer_ = rest;
    counter_ = counter;
    charactersBegun_ = characters;
    places_ = {{bufferBegin_, 0, {}}};
    dropBeginning();
    return true;
}

void LogText::dropBeginning() {
    const std::uint64_t dropped = charactersBegun_ - kept_;
    while (places_.size() > 1 && places_[1].charactersBefore <= dropped)
        places_.pop_front();
    Place& first = places_.front();
    const std::string_view rest = std::string_view(buffer_).substr(first.offset - bufferBegin_);
    first.offset += prefixLength(rest, dropped - first.charactersBefore, first.counter);
    first.charactersBefore = dropped;
    first.counter = {};

    // Moving the text only when as much lies before it as in it moves each byte about once.
    const std::size_t removable = first.offset - bufferBegin_;
    if (removable < buffer_.size() - removable) return;
    buffer_.erase(0, removable);
    bufferBegin_ = first.offset;
}

}  // namespace orvane
