#include "linux/inspection/PortHolder.h"

#include "linux/system/TcpTable.h"
#include "posix/FileText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <string>

#include <pwd.h>
#include <unistd.h>

namespace orvane {

namespace {

namespace fs = std::filesystem;

std::optional<std::int64_t> processNumber(const fs::path& folder) {
    const std::string name = folder.filename().string();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error != std::errc() || end != name.data() + name.size()) return std::nullopt;
    return number;
}

bool holdsOneOf(const fs::path& process, const std::vector<std::string>& sockets) {
    std::error_code error;
    for (fs::directory_iterator descriptor(process / "fd", error), end; !error && descriptor != end;
         descriptor.increment(error)) {
        std::error_code gone;
        const std::string target = fs::read_symlink(descriptor->path(), gone).string();
        if (std::ranges::find(sockets, target) != sockets.end()) return true;
    }
    return false;
}

std::string nameOf(uid_t user) {
    std::array<char, 16384> buffer;
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        return "number " + std::to_string(user);
    return found->pw_name;
}

}  // namespace

std::optional<PortFacts> holderOfPort(std::uint16_t port) {
    if (!std::ifstream("/proc/net/tcp")) return std::nullopt;
    std::vector<std::string> sockets;
    PortFacts facts;
    for (const ListeningSocket& socket : listeningSockets(port)) {
        sockets.push_back("socket:[" + std::to_string(socket.inode) + "]");
        if (socket.user != geteuid()) facts.user = nameOf(socket.user);
    }
    facts.isFree = sockets.empty();
    if (facts.isFree) return facts;

    std::error_code error;
    for (fs::directory_iterator process("/proc", error), end; !error && process != end;
         process.increment(error)) {
        const auto number = processNumber(process->path());
        if (!number || !holdsOneOf(process->path(), sockets)) continue;
        facts.process = *number;
        facts.holder = fileText(process->path() / "comm");
        if (facts.holder.ends_with('\n')) facts.holder.pop_back();  // Empty when the process has just gone.
        return facts;
    }
    return facts;
}

}  // namespace orvane
