#include "DriverWords.h"

namespace orvane::test {

std::string encodeMessage(const DriverMessage& message) {
    std::string line;
    for (const std::string& word : message) {
        if (&word != &message.front()) line += '\t';
        for (const char character : word) {
            switch (character) {
                case '\t':
                    line += "\\t";
                    break;
                case '\n':
                    line += "\\n";
                    break;
                case '\\':
                    line += "\\\\";
                    break;
                default:
                    line += character;
            }
        }
    }
    return line + '\n';
}

DriverMessage decodeMessage(std::string_view line) {
    DriverMessage message(1);
    for (std::size_t at = 0; at < line.size(); ++at) {
        if (line[at] == '\t') {
            message.emplace_back();
        } else if (line[at] == '\\' && at + 1 < line.size()) {
            const char escaped = line[++at];
            message.back() += escaped == 't' ? '\t' : escaped == 'n' ? '\n' : escaped;
        } else {
            message.back() += line[at];
        }
    }
    return message;
}

bool DriverLines::next(std::string& line) {
    const std::size_t end = text_.find('\n');
    if (end == std::string::npos) return false;
    line = text_.substr(0, end);
    text_.erase(0, end + 1);
    return true;
}

}  // namespace orvane::test
