#include "Script.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace phone {

namespace {

std::optional<std::uint32_t> number(const std::string& text) {
    if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
}

/// All of them, or nothing when one is no number.
std::optional<std::vector<std::uint32_t>> numbers(const std::vector<std::string>& texts) {
    std::vector<std::uint32_t> values;
    for (const std::string& text : texts) {
        const auto value = number(text);
        if (!value) return std::nullopt;
        values.push_back(*value);
    }
    return values;
}

std::optional<std::vector<std::uint8_t>> hexBytes(const std::string& text) {
    if (text.empty() || text.size() % 2 != 0) return std::nullopt;
    if (text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return std::nullopt;
    std::vector<std::uint8_t> bytes;
    for (std::size_t at = 0; at < text.size(); at += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(text.substr(at, 2), nullptr, 16)));
    }
    return bytes;
}

constexpr auto misused = "see --help for what it takes";

}  // namespace

const char* Script::help() {
    return "  wait-link            wait until a computer is connected\n"
           "  wait-closed          wait until none is\n"
           "  hello VERSION        say the bridge version (0 to 255)\n"
           "  linktest SIZE...     test the link with probes of these sizes\n"
           "  attach, detach       the audio engine; the pattern starts anew\n"
           "  data BYTES [PIECE]   send that much of the pattern, in frames of PIECE (640) bytes\n"
           "  expect-data BYTES    wait for that much data, and compare it with the pattern\n"
           "  raw HEX              send these bytes as they are\n"
           "  publish, hide        the service record\n"
           "  drop                 close the link\n"
           "  quit\n";
}

Script::Script(Phone& phone, Publish publish) : phone_(phone), publish_(std::move(publish)) {
    commands_["wait-link"] = [this](const Arguments&) { return phone_.waitLink(); };
    commands_["wait-closed"] = [this](const Arguments&) { return phone_.waitClosed(); };
    commands_["attach"] = [this](const Arguments&) { return phone_.attach(); };
    commands_["detach"] = [this](const Arguments&) { return phone_.detach(); };
    commands_["drop"] = [this](const Arguments&) { return phone_.drop(); };
    commands_["publish"] = [this](const Arguments&) { return this->publish(); };
    commands_["hide"] = [this](const Arguments&) {
        record_.reset();
        return Phone::Failure();
    };
    commands_["hello"] = [this](const Arguments& arguments) -> Phone::Failure {
        const auto values = numbers(arguments);
        if (!values || values->size() != 1 || values->front() > 255) return misused;
        return phone_.hello(static_cast<std::uint8_t>(values->front()));
    };
    commands_["linktest"] = [this](const Arguments& arguments) -> Phone::Failure {
        const auto sizes = numbers(arguments);
        return sizes ? phone_.linkTest(*sizes) : misused;
    };
    commands_["data"] = [this](const Arguments& arguments) -> Phone::Failure {
        const auto values = numbers(arguments);
        if (!values || values->empty() || values->size() > 2 || values->back() == 0) return misused;
        return phone_.data(values->front(), values->size() == 2 ? values->back() : 640);
    };
    commands_["expect-data"] = [this](const Arguments& arguments) -> Phone::Failure {
        const auto values = numbers(arguments);
        return values && values->size() == 1 ? phone_.expectData(values->front()) : misused;
    };
    commands_["raw"] = [this](const Arguments& arguments) -> Phone::Failure {
        const auto bytes = arguments.size() == 1 ? hexBytes(arguments.front()) : std::nullopt;
        return bytes ? phone_.raw(*bytes) : misused;
    };
}

Phone::Failure Script::publish() {
    record_.reset();
    record_ = publish_();
    return record_ ? std::nullopt : Phone::Failure("there is nobody to publish it");
}

bool Script::run(int input) {
    std::string pending;
    bool allDone = true;
    for (;;) {
        phone_.waitForInput(input);
        char buffer[4096];
        const ssize_t size = ::read(input, buffer, sizeof buffer);
        if (size <= 0) return allDone;
        pending.append(buffer, static_cast<std::size_t>(size));
        for (std::size_t end; (end = pending.find('\n')) != std::string::npos;) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (line == "quit") return allDone;
            if (!line.empty()) allDone = carryOut(line) && allDone;
        }
    }
}

bool Script::carryOut(const std::string& line) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    const Arguments arguments{std::istream_iterator<std::string>(words), {}};

    const auto command = commands_.find(name);
    const auto failure =
        command == commands_.end() ? Phone::Failure("there is no such command") : command->second(arguments);
    std::printf("%s %s%s%s\n", failure ? "failed" : "ok", name.c_str(), failure ? ": " : "",
                failure ? failure->c_str() : "");
    std::fflush(stdout);
    return !failure;
}

}  // namespace phone
