#include "text/LogText.h"

namespace orvane {

LogText::LogText(std::size_t limit, std::size_t kept) : limit_(limit), kept_(kept) {}

void LogText::append(std::string_view chunk) {
    buffer_ += chunk;
    characters_ += counter_.count(chunk);
    if (characters_ > limit_) dropCharacters(characters_ - kept_);
}

void LogText::dropCharacters(std::size_t count) {
    const std::size_t dropped = prefixLength(text(), count);
    head_ += dropped;
    begin_ += dropped;
    characters_ -= count;
    // Moving the text to the front only when as much lies before it as in it moves each byte once on average.
    if (head_ < buffer_.size() - head_) return;
    buffer_.erase(0, head_);
    head_ = 0;
}

}  // namespace orvane
