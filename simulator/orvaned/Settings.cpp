#include "Settings.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string_view>

namespace orvaned {

namespace {

template <typename Number>
std::optional<Number> integerFrom(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

/// Calls `use(name, value)` for each line of the form "name=value".
template <typename Use>
void readPairs(const std::string& path, Use use) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const auto equals = line.find('=');
        if (equals != line.npos) use(std::string_view(line).substr(0, equals), line.substr(equals + 1));
    }
}

std::string makeCode() {
    std::random_device random;
    char text[8];
    std::snprintf(text, sizeof text, "%06d", std::uniform_int_distribution(0, 999999)(random));
    return text;
}

bool sameFile(const struct stat& one, const struct stat& other) {
    return one.st_ino == other.st_ino && one.st_size == other.st_size && one.st_ctime == other.st_ctime;
}

}  // namespace

Settings::Settings() {
    const char* home = std::getenv("HOME");
    folder_ = std::string(home ? home : "") + "/Library/Application Support/Orvane";
}

Settings::Output Settings::output() const {
    Output output;
    readPairs(path("device"), [&](std::string_view name, const std::string& value) {
        if (name == "uid") output.uid = value;
        if (name == "channel") output.firstChannel = std::max(1, integerFrom<int>(value).value_or(1));
        if (name == "align") output.alignment = value == "1";
    });
    return output;
}

std::map<std::uint32_t, int> Settings::pinnedPairs() const {
    std::map<std::uint32_t, int> pairs;
    readPairs(path("channels"), [&](std::string_view name, const std::string& value) {
        const auto phone = integerFrom<std::uint32_t>(name);
        const auto pair = integerFrom<int>(value);
        if (phone && pair && *pair >= 0) pairs[*phone] = *pair;
    });
    return pairs;
}

bool Settings::channelsChanged() {
    struct stat now = {};
    if (stat(path("channels").c_str(), &now) != 0) now = {};
    if (sameFile(now, channels_)) return false;
    channels_ = now;
    return true;
}

std::string Settings::pairingCode() const {
    std::string code;
    std::getline(std::ifstream(path("pairing")) >> std::ws, code);
    if (!code.empty()) return code;

    code = makeCode();
    const mode_t before = ::umask(077);  // A code is for one person.
    std::error_code ignored;
    std::filesystem::create_directories(folder_, ignored);
    std::ofstream(path("pairing")) << code << '\n';
    ::umask(before);
    return code;
}

}  // namespace orvaned
