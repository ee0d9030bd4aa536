// Why a file could not be started, in words that name the true cause.
#pragma once

#include <string>

namespace orvane {

/// `error` is what execv(2) said of the file at `path`.
std::string launchError(const std::string& path, int error);

}  // namespace orvane
