// Replacing a whole file so that nobody ever sees half of it, and so that no kill leaves anything behind.
#pragma once

#include <string>
#include <string_view>

namespace orvane {

/// Puts a file that holds `text` in the place of what `path` names (a link itself, never a folder), readable
/// by all as far as the umask allows. False when that fails: then the old file stays, and nothing else. Waits
/// until the text is on the disk. Any thread.
bool replaceFile(const std::string& path, std::string_view text);
/// The same by a file that has a name while it is written, for filesystems that know no other.
bool replaceFileByNamed(const std::string& path, std::string_view text);

}  // namespace orvane
