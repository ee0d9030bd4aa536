// What is there on this computer, and usable: files, folders, ports. Nothing is changed by asking. Any
// thread.
#pragma once

#include "posix/Deadline.h"

#include <cstdint>
#include <string>
#include <vector>

namespace orvane {

/// True for anything of that name, or a link to it.
bool fileExists(const std::string& path);
bool isRegularFile(const std::string& path);
/// True for a regular file, or a link to one, that this process may execute.
bool isExecutableFile(const std::string& path);

/// Why files of those names cannot be written into the folder, as the end of a sentence that begins with the
/// folder; empty when they can. A folder that is not there yet counts as what it would be made in.
std::string obstacleToWriting(const std::string& folder, const std::vector<std::string>& names);

/// True when something accepts connections at that TCP port of 127.0.0.1.
bool isListening(std::uint16_t port, Deadline deadline);
/// Where adb's daemon listens: ANDROID_ADB_SERVER_PORT, or adb's own choice.
std::uint16_t adbDaemonPort();

}  // namespace orvane
