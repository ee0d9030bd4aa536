// Text from outside (phone names, the server's output), made fit for a terminal: no character in it moves the
// cursor, changes a mode or turns the order of what stands around it.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

enum class Layout { oneLine, lines };

/// UTF-8 in which every control character (C0 and C1), every control of the bidirectional algorithm (UAX #9),
/// the line and paragraph separators and every invalid byte have visible stand-ins: U+2400 and following for
/// C0, U+FFFD for the rest. With `Layout::lines`, line feeds and tabs stay. Pure; any thread.
std::string harmless(std::string_view text, Layout layout = Layout::oneLine);

}  // namespace orvane
