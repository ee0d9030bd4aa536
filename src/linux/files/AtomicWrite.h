// Replacing a whole file so that nobody ever sees half of it.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// Puts a file that holds `text` in the place of what `path` names (a link itself, never a folder). A new
/// file is the user's alone, whatever the umask; one that is replaced keeps its mode, but is not left to
/// everybody's writing. Returns 0, or the number of the error (errno(3)): then the old file stays, and
/// nothing else. Waits until the text is on the disk. Any thread.
///
/// A kill leaves the old file or the new one; at one moment in between also a file ".NAME.new", which the
/// next write takes away. No reader is meant to know that name.
int replaceFile(const std::string& path, std::string_view text);
/// The same by a file that has a name while it is written, for filesystems that know no other.
int replaceFileByNamed(const std::string& path, std::string_view text);

}  // namespace orvane
