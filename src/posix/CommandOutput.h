// What another program prints, heard to its end. Any thread.
#pragma once

#include "posix/Deadline.h"

#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// The standard output of the command, which gets nothing to read and has a process group of its own. Nothing
/// when it cannot be started, prints more than a megabyte, or runs beyond `deadline`: then its group is
/// killed. What it leaves behind running is not waited for.
std::optional<std::string> outputOf(const std::string& path, const std::vector<std::string>& arguments,
                                    Deadline deadline);

}  // namespace orvane
