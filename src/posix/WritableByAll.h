// Files and folders of this user that every user of the computer may write to: whoever does could choose for
// this one. Any thread.
#pragma once

#include <string>
#include <vector>

namespace orvane {

/// The folder, to which a link may lead, and what lies in it, as far as everybody may write to it and it is
/// this user's to change; no other links, and nothing below. Empty also when there is no such folder.
std::vector<std::string> writableByAll(const std::string& folder);

/// Takes the right to write to a file or a folder from everybody but the user and the group. True when it was
/// there, and is gone. A link is left alone.
bool closeToOthers(const std::string& path);

}  // namespace orvane
