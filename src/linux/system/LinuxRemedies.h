// What to do about missing things on the distribution at hand, by its os-release(5). Any thread.
#pragma once

#include "platform/Remedies.h"

#include <string_view>

namespace orvane {

/// `release`: the text of an os-release file. A distribution that is not known gets words in place of
/// commands.
Remedies remediesFor(std::string_view release);

/// For this computer.
Remedies linuxRemedies();

}  // namespace orvane
