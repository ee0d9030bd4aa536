#include "support/IngestionModel.h"

#include <cmath>
#include <cstdlib>
#include <limits>

namespace orvane::test {

namespace {

/// RFC 3629, byte by byte.
bool isUtf8(const std::string& text) {
    std::size_t at = 0;
    const auto byte = [&](std::size_t index) -> unsigned {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
    };
    const auto isTail = [&](std::size_t index) { return byte(index) >= 0x80 && byte(index) <= 0xBF; };
    while (at < text.size()) {
        const unsigned first = byte(at);
        const unsigned second = byte(at + 1);
        if (first <= 0x7F) {
            at += 1;
        } else if (first >= 0xC2 && first <= 0xDF && isTail(at + 1)) {
            at += 2;
        } else if (first >= 0xE0 && first <= 0xEF && isTail(at + 1) && isTail(at + 2)) {
            if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return false;
            at += 3;
        } else if (first >= 0xF0 && first <= 0xF4 && isTail(at + 1) && isTail(at + 2) && isTail(at + 3)) {
            if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return false;
            at += 4;
        } else {
            return false;
        }
    }
    return true;
}

std::vector<std::string> cut(const std::string& text, const std::vector<std::string>& separators) {
    std::vector<std::string> pieces(1);
    for (std::size_t at = 0; at < text.size();) {
        std::size_t length = 0;
        for (const auto& separator : separators)
            if (text.compare(at, separator.size(), separator) == 0) length = separator.size();
        if (length == 0) {
            pieces.back() += text[at++];
        } else {
            pieces.emplace_back();
            at += length;
        }
    }
    return pieces;
}

std::string trimmed(std::string text) {
    static const std::vector<std::string> spaces = {
        "\t",     " ",      "\u00A0", "\u1680", "\u2000", "\u2001", "\u2002", "\u2003", "\u2004",
        "\u2005", "\u2006", "\u2007", "\u2008", "\u2009", "\u200A", "\u202F", "\u205F", "\u3000"};
    for (bool again = true; again;) {
        again = false;
        for (const auto& space : spaces) {
            if (text.starts_with(space)) {
                text.erase(0, space.size());
                again = true;
            } else if (text.ends_with(space)) {
                text.erase(text.size() - space.size());
                again = true;
            }
        }
    }
    return text;
}

/// The number as it is usually written, if it lies between -`lowest` and `highest`.
std::optional<std::string> integer(const std::string& text, const std::string& lowest,
                                   const std::string& highest) {
    std::string digits = text;
    bool negative = false;
    if (digits.starts_with('+') || digits.starts_with('-')) {
        negative = digits.front() == '-';
        digits.erase(0, 1);
    }
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    while (digits.size() > 1 && digits.front() == '0')
        digits.erase(0, 1);
    const std::string& bound = negative ? lowest : highest;
    if (digits.size() > bound.size() || (digits.size() == bound.size() && digits > bound))
        return std::nullopt;
    return negative && digits != "0" ? "-" + digits : digits;
}

std::optional<std::string> signed64(const std::string& text) {
    return integer(text, "9223372036854775808", "9223372036854775807");
}

std::optional<std::string> unsigned64(const std::string& text) {
    return integer(text, "0", "18446744073709551615");
}

std::optional<std::string> unsigned32(const std::string& text) {
    return integer(text, "0", "4294967295");
}

std::optional<std::string> real(const std::string& text) {
    if (text.empty() || std::string(" \t\n\v\f\r").find(text.front()) != std::string::npos)
        return std::nullopt;
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(text.c_str(), &end);  // in the "C" locale, which tests run in
    if (end != text.c_str() + text.size()) return std::nullopt;
    if (errno == ERANGE && (value == 0 || std::isinf(value))) return std::nullopt;
    return std::to_string(value);
}

std::string joinedFrom(const std::vector<std::string>& fields, std::size_t first) {
    std::string text = fields[first];
    for (std::size_t i = first + 1; i < fields.size(); ++i)
        text += "\t" + fields[i];
    return text;
}

std::optional<Record> phone(const std::string& line) {
    auto fields = cut(line, {"\t"});
    if (fields.size() < 14 || fields[0] != "session:") return std::nullopt;
    Record record;
    for (std::size_t i = 1; i <= 12; ++i) {
        std::optional<std::string> field = fields[i];
        if (i <= 6) field = i == 3 ? unsigned64(fields[i]) : signed64(fields[i]);
        if (i == 7 || i == 8) field = real(fields[i]);
        if (i == 12) field = unsigned32(fields[i]);
        if (!field) return std::nullopt;
        record.push_back(*field);
    }
    record.push_back(joinedFrom(fields, 13));
    return record;
}

std::optional<Record> device(const std::string& line) {
    const auto fields = cut(line, {"\t"});
    if (fields.size() < 6 || fields[0] != "device:") return std::nullopt;
    const auto outChannels = signed64(fields[2]);
    const auto firstChannel = signed64(fields[3]);
    if (!outChannels || !firstChannel) return std::nullopt;
    return Record{fields[4], joinedFrom(fields, 5), *outChannels, fields[1] == "1" ? "active" : "",
                  *firstChannel};
}

bool contains(const std::string& line, const std::string& marker) {
    return line.find(marker) != std::string::npos;
}

std::string after(const std::string& line, const std::string& marker) {
    return line.substr(line.find(marker) + marker.size());
}

}  // namespace

void IngestionModel::print(const std::string& bytes) {
    if (!isUtf8(bytes)) return;
    log += bytes;
    for (const auto& each : cut(bytes, {"\n", "\v", "\f", "\r", "\u0085", "\u2028", "\u2029"}))
        if (!each.empty()) line(each);
}

void IngestionModel::line(const std::string& text) {
    if (contains(text, "devices: ")) return header(deviceBlock_, devices, after(text, "devices: "));
    if (text.starts_with("device:\t")) return record(deviceBlock_, devices, device(text));
    if (contains(text, "sessions: ")) return header(phoneBlock_, phones, after(text, "sessions: "));
    if (text.starts_with("session:\t")) return record(phoneBlock_, phones, phone(text));

    if (contains(text, "align=off")) {
        alignStreams = false;
    } else if (contains(text, "align=on")) {
        alignStreams = true;
    }
    if (contains(text, "pairing code: ")) pairingCode = trimmed(after(text, "pairing code: "));

    if (contains(text, "pairing: REJECTED")) return tellStatus("⚠ Phone used the wrong pairing code", false);
    if (contains(text, "pairing: too many wrong codes"))
        return tellStatus("⚠ Too many wrong codes — paused", false);
    if (contains(text, "phone=yes")) {
        std::string connectedText = "● " + std::to_string(phones.size()) + " phone";
        if (phones.size() != 1) connectedText += "s";
        tellStatus(connectedText + (driverMissing ? " (⚠ no audio device)" : " connected"), true);
    } else if (contains(text, "phone=waiting")) {
        tellStatus(driverMissing ? "○ Waiting (⚠ no audio device)" : "○ Waiting for phone…", false);
    }
    if (contains(text, "routing to default-output")) driverMissing = true;
    if (contains(text, "routing to VIRTUAL")) driverMissing = false;
}

void IngestionModel::header(Block& block, std::vector<Record>& committed, const std::string& count) {
    block.announced = std::stoll(signed64(trimmed(count)).value_or("0"));
    block.collected.clear();
    if (block.announced == 0) committed.clear();
}

void IngestionModel::record(Block& block, std::vector<Record>& committed,
                            const std::optional<Record>& record) {
    if (record) block.collected.push_back(*record);
    if (block.announced <= 0 || static_cast<std::int64_t>(block.collected.size()) < block.announced) return;
    committed = block.collected;
    block = {};
}

std::vector<Record> recordsOf(const std::vector<LoopbackDevice>& devices) {
    std::vector<Record> records;
    for (const auto& device : devices)
        records.push_back({device.uid, device.name, std::to_string(device.outChannels),
                           device.isActive ? "active" : "", std::to_string(device.firstChannel)});
    return records;
}

std::vector<Record> recordsOf(const std::vector<PhoneSession>& phones) {
    std::vector<Record> records;
    for (const auto& phone : phones)
        records.push_back({std::to_string(phone.slot), std::to_string(phone.firstChannel),
                           std::to_string(phone.packets), std::to_string(phone.bufferMs),
                           std::to_string(phone.targetMs), std::to_string(phone.xruns),
                           std::to_string(phone.rttMs), std::to_string(phone.netDelayMs), phone.preset,
                           phone.label, phone.format, std::to_string(phone.deviceId), phone.name});
    return records;
}

void IngestionModel::tellStatus(const std::string& text, bool isConnected) {
    status = text;
    connected = isConnected;
}

}  // namespace orvane::test
