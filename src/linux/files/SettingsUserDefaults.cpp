#include "linux/files/SettingsUserDefaults.h"

#include "linux/files/PosixFileManager.h"
#include "posix/Descriptor.h"
#include "text/Utf8.h"

#include <charconv>
#include <string_view>

#include <sys/stat.h>

namespace orvane {

namespace {

constexpr std::string_view group = "[General]\n";
constexpr std::size_t maxFile = 65536;  // More is no file of this program.

/// Empty when there is no such file, or something else of that name, which may not even end.
std::string contents(const std::string& path) {
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
    std::string text(maxFile, '\0');
    const ssize_t count = ::read(file.get(), text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (!isValidUtf8(text)) return {};
    if (!text.empty() && text.back() != '\n') text += '\n';
    return text;
}

struct Place {
    std::size_t begin = std::string::npos;
    std::size_t end = std::string::npos;  ///< Behind the line feed.
};

Place lineOf(const std::string& text, const std::string& key) {
    const std::string start = key + "=";
    std::size_t begin = text.find(group);
    if (begin == text.npos) return {};
    for (begin += group.size(); begin < text.size() && text[begin] != '[';) {
        const std::size_t end = text.find('\n', begin) + 1;
        if (text.compare(begin, start.size(), start) == 0) return {begin, end};
        begin = end;
    }
    return {};
}

bool isPlain(std::string_view value) {
    constexpr std::string_view plain = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz:-._";
    return !value.empty() && value.find_first_not_of(plain) == value.npos;
}

/// As it is, or between quotes, with what would end the line or the quotes written as an escape.
std::string written(std::string_view value) {
    if (isPlain(value)) return std::string(value);
    std::string text = "\"";
    for (const char byte : value) {
        const auto number = static_cast<unsigned char>(byte);
        if (byte == '"' || byte == '\\') {
            text += {'\\', byte};
        } else if (number < 0x20) {
            constexpr std::string_view hexadecimal = "0123456789abcdef";
            text += {'\\', 'x', hexadecimal[number >> 4], hexadecimal[number & 15], '"', '"'};
        } else {
            text += byte;
        }
    }
    return text + "\"";
}

char unescapedLetter(char letter) {
    constexpr std::string_view letters = "abfnrtv0";
    constexpr std::string_view meanings("\a\b\f\n\r\t\v\0", 8);
    const std::size_t at = letters.find(letter);
    return at == letters.npos ? letter : meanings[at];
}

void appendCharacter(std::string& text, unsigned number) {
    if (number < 0x80) {
        text += static_cast<char>(number);
    } else if (number < 0x800) {
        text += static_cast<char>(0xC0 | number >> 6);
        text += static_cast<char>(0x80 | (number & 0x3F));
    } else {
        text += static_cast<char>(0xE0 | (number >> 12 & 0x0F));
        text += static_cast<char>(0x80 | (number >> 6 & 0x3F));
        text += static_cast<char>(0x80 | (number & 0x3F));
    }
}

/// What QSettings writes as well: quotes anywhere, letters and hexadecimal numbers behind a backslash.
std::string unquoted(std::string_view value) {
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '"') continue;
        if (value[i] != '\\' || i + 1 == value.size()) {
            text += value[i];
            continue;
        }
        const char letter = value[++i];
        if (letter != 'x') {
            text += unescapedLetter(letter);
            continue;
        }
        unsigned number = 0;
        const char* const digits = value.data() + i + 1;
        const char* const end = std::from_chars(digits, value.data() + value.size(), number, 16).ptr;
        appendCharacter(text, number);
        i += static_cast<std::size_t>(end - digits);
    }
    return text;
}

}  // namespace

SettingsUserDefaults::SettingsUserDefaults(FileManager& files)
    : files_(files), path_(configurationFolder(files) + "/Orvane/Orvane.conf"), text_(contents(path_)) {}

std::optional<std::string> SettingsUserDefaults::string(const std::string& key) const {
    const Place line = lineOf(text_, key);
    if (line.begin == text_.npos) return std::nullopt;
    const std::size_t begin = line.begin + key.size() + 1;
    return unquoted(std::string_view(text_).substr(begin, line.end - 1 - begin));
}

void SettingsUserDefaults::setString(const std::optional<std::string>& value, const std::string& key) {
    const Place old = lineOf(text_, key);
    if (old.begin != text_.npos)
        text_.erase(old.begin, old.end - old.begin);
    else if (!value)
        return;
    if (value) {
        if (text_.find(group) == text_.npos) text_.insert(0, group);
        text_.insert(text_.find(group) + group.size(), key + "=" + written(*value) + "\n");
    }
    files_.createDirectory(path_.substr(0, path_.rfind('/')));
    files_.writeAtomically(path_, text_);
}

}  // namespace orvane
