#include "Options.h"

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string_view>

namespace orvaned {

namespace {

std::optional<std::string> variable(const char* name) {
    const char* value = std::getenv(name);
    if (!value) return std::nullopt;
    return std::string(value);
}

std::optional<double> numberFrom(const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(number)) return std::nullopt;
    return number;
}

template <typename Number>
void readNumber(Options& options, const char* name, Number& target, double least, double most) {
    const auto text = variable(name);
    if (!text) return;
    const auto number = numberFrom(*text);
    if (!number || *number < least || *number > most) {
        options.complaints.push_back(std::string(name) + " cannot be \"" + *text + "\"");
        return;
    }
    target = static_cast<Number>(*number);
}

std::vector<std::string> split(std::string_view text, char separator, std::size_t most) {
    std::vector<std::string> parts;
    while (parts.size() + 1 < most) {
        const auto at = text.find(separator);
        if (at == text.npos) break;
        parts.emplace_back(text.substr(0, at));
        text.remove_prefix(at + 1);
    }
    parts.emplace_back(text);
    return parts;
}

/// "UID", "UID,CHANNELS" or "UID,CHANNELS,NAME".
Device deviceFrom(const std::string& text) {
    const auto fields = split(text, ',', 3);
    Device device{fields[0], fields[0]};
    if (fields.size() > 1) device.channels = std::atoi(fields[1].c_str());
    if (fields.size() > 2) device.name = fields[2];
    return device;
}

void readDevices(Options& options) {
    const auto text = variable("ORVANED_DEVICES");
    if (!text) return;
    options.devices.clear();
    for (const auto& entry : split(*text, ';', text->size() + 1)) {
        if (!entry.empty()) options.devices.push_back(deviceFrom(entry));
    }
}

}  // namespace

Options optionsFromEnvironment() {
    constexpr double day = 24 * 60 * 60;
    Options options;
    readNumber(options, "ORVANED_PHONES", options.phones, 0, 1000);
    readNumber(options, "ORVANED_ARRIVE", options.arriveEvery, 0, day);
    readNumber(options, "ORVANED_STAY", options.stay, 0, day);
    readNumber(options, "ORVANED_REPORT", options.reportEvery, 0.01, day);
    readNumber(options, "ORVANED_WRONG_CODES", options.wrongCodeEvery, 0, day);
    readNumber(options, "ORVANED_LATE_DEVICE", options.lateDeviceAfter, 0, day);
    readNumber(options, "ORVANED_ECHO", options.echo, 0, 1);
    readNumber(options, "ORVANED_PORT", options.port, 1, 65535);
    readDevices(options);
    return options;
}

std::string describeVariables() {
    return "  ORVANED_PHONES       how many phones to pretend (2)\n"
           "  ORVANED_ARRIVE       seconds between two arrivals (3)\n"
           "  ORVANED_STAY         seconds that a pretended phone stays; it comes back later (0, for good)\n"
           "  ORVANED_REPORT       seconds between two reports on the phones (1)\n"
           "  ORVANED_DEVICES      UID,CHANNELS,NAME;… or nothing at all (two loopback devices)\n"
           "  ORVANED_LATE_DEVICE  seconds until the last device of the list appears (0, at once)\n"
           "  ORVANED_WRONG_CODES  seconds between two phones with a wrong code (0, none)\n"
           "  ORVANED_ECHO         1 sends every connection its own bytes back (0)\n"
           "  ORVANED_PORT         TCP port on 127.0.0.1 (5555)\n";
}

}  // namespace orvaned
