// The language between the driven app and whoever drives it: a message is a line of words. Pure.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvane::test {

using DriverMessage = std::vector<std::string>;

/// The message as it is sent: words with a tab between, and a line feed. In a word, these two and the
/// backslash are written with a backslash.
std::string encodeMessage(const DriverMessage& message);

/// The words of a line, which comes without its line feed. Never fails: a backslash before anything else
/// stands for that.
DriverMessage decodeMessage(std::string_view line);

/// Cuts what is read into lines.
class DriverLines {
  public:
    void append(std::string_view bytes) { text_ += bytes; }
    /// Takes the next line into `line`; false when none has come whole.
    bool next(std::string& line);

  private:
    std::string text_;
};

}  // namespace orvane::test
