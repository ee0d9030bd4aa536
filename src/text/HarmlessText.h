// Text from outside (phone names, the server's output), made fit to be shown and to be passed on: no
// character in it moves a cursor, changes a mode, turns the order of what stands around it, or hides. Pure;
// any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orvane {

enum class Layout { oneLine, lines };

/// UTF-8 in which visible stand-ins take the place of every control character (C0 and C1), every control of
/// the bidirectional algorithm (UAX #9), the line and paragraph separators, every character that shows
/// nothing (so that two names that differ look different) and every invalid byte: U+2400 and following for
/// C0, U+FFFD for the rest. What shapes the letters or emoji around it stays there: a joiner between two
/// emoji, a non-joiner between two Arabic letters, either at a virama, the tags of a flag. Of more than 30
/// marks on one letter the rest is cut (UAX #15 calls that safe for streams). With `Layout::lines`, line
/// feeds and tabs stay.
std::string harmless(std::string_view text, Layout layout = Layout::oneLine);

constexpr std::size_t maxNameCharacters = 128;
/// A character may have as many code points as its author likes: joined emoji, Korean letters.
constexpr std::size_t maxNameCodePoints = 8 * maxNameCharacters;

/// What another device calls itself, fit to stand in a line of our own: every control, line separator and
/// bidirectional control is a space, white space at both ends is gone, and at most `maxNameCharacters`
/// characters and `maxNameCodePoints` code points are left. Empty when nothing is: then the device counts as
/// nameless.
std::string nameFromOutside(std::string_view name);

}  // namespace orvane
