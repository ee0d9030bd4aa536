#include "Phone.h"

#include "Pattern.h"
#include "posix/Deadline.h"
#include "text/BigEndian.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace phone {

using orvane::BridgeFrame;
using orvane::FrameReader;
using orvane::FrameType;

namespace {

void print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

}  // namespace

Phone::Failure Phone::waitLink() {
    if (waitUntil([this] { return link_.isUp(); })) return std::nullopt;
    return "no computer has connected";
}

Phone::Failure Phone::waitClosed() {
    if (waitUntil([this] { return !link_.isUp(); })) return std::nullopt;
    return "the link is still up";
}

Phone::Failure Phone::hello(std::uint8_t version) {
    return send(FrameType::hello, {&version, 1});
}

Phone::Failure Phone::linkTest(const std::vector<std::uint32_t>& probeSizes) {
    acknowledged_ = false;
    testResult_.reset();
    if (auto failure = send(FrameType::linkTestStart)) return failure;
    if (!waitUntil([this] { return acknowledged_; })) return "the start was not acknowledged";

    std::uint32_t sum = 0;
    for (const std::uint32_t size : probeSizes) {
        if (auto failure = send(FrameType::probe, std::vector<std::uint8_t>(size, 0xA5))) return failure;
        sum += size;
    }
    if (auto failure = send(FrameType::linkTestEnd)) return failure;
    if (!waitUntil([this] { return testResult_.has_value(); }) || !testResult_) return "no result has come";
    if (*testResult_ == sum) return std::nullopt;
    return "sent " + std::to_string(sum) + " bytes, the computer counted " + std::to_string(*testResult_);
}

Phone::Failure Phone::attach() {
    sent_ = received_ = expected_ = 0;
    firstWrong_.reset();
    return send(FrameType::attach);
}

Phone::Failure Phone::detach() {
    return send(FrameType::detach);
}

Phone::Failure Phone::data(std::uint64_t count, std::uint32_t piece) {
    std::vector<std::uint8_t> payload;
    for (std::uint64_t left = count; left > 0; left -= payload.size()) {
        payload.resize(static_cast<std::size_t>(std::min<std::uint64_t>(left, piece)));
        std::generate(payload.begin(), payload.end(), [this] { return patternByte(sent_++); });
        if (auto failure = send(FrameType::data, payload)) return failure;
    }
    return std::nullopt;
}

Phone::Failure Phone::expectData(std::uint64_t count) {
    expected_ += count;
    waitUntil([this] { return received_ >= expected_ || firstWrong_; });
    if (firstWrong_) return "byte " + std::to_string(*firstWrong_) + " is not what was expected there";
    if (received_ == expected_) return std::nullopt;
    return std::to_string(received_) + " bytes have come, not " + std::to_string(expected_);
}

Phone::Failure Phone::raw(const std::vector<std::uint8_t>& bytes) {
    return sendBytes(bytes);
}

Phone::Failure Phone::drop() {
    if (!link_.isUp()) return "there is no link";
    link_.drop();
    return std::nullopt;
}

void Phone::waitForInput(int descriptor) {
    while (!link_.wait(-1, descriptor)) {
    }
}

void Phone::linked() {
    reader_.clear();
    print("linked");
}

void Phone::unlinked(const std::string& reason) {
    print("unlinked: " + reason);
}

void Phone::received(std::span<const std::uint8_t> bytes) {
    reader_.append(bytes);
    for (;;) {
        const auto next = reader_.next();
        if (const auto* frame = std::get_if<BridgeFrame>(&next)) {
            frameReceived(*frame);
        } else if (std::get<FrameReader::Lack>(next) == FrameReader::Lack::needMore) {
            return;
        } else {
            print("got a frame that is too long");
            return link_.drop();
        }
    }
}

void Phone::frameReceived(const BridgeFrame& frame) {
    const std::string type(1, static_cast<char>(frame.type));
    const std::string size = std::to_string(frame.payload.size());
    switch (frame.type) {
        case FrameType::linkTestAcknowledgement:
            acknowledged_ = true;
            return print("got " + type);
        case FrameType::linkTestResult:
            testResult_ = static_cast<std::uint32_t>(orvane::bigEndian(frame.payload));
            return print("got " + type + " " + std::to_string(*testResult_));
        case FrameType::data:
            dataReceived(frame.payload);
            return print("got " + type + " " + size);
        default:
            return print("got an unknown frame, " + type + " " + size);
    }
}

void Phone::dataReceived(std::span<const std::uint8_t> payload) {
    for (const std::uint8_t byte : payload) {
        if (byte != patternByte(received_) && !firstWrong_) firstWrong_ = received_;
        ++received_;
    }
}

Phone::Failure Phone::send(FrameType type, std::span<const std::uint8_t> payload) {
    return sendBytes(orvane::encodeFrame(type, payload));
}

Phone::Failure Phone::sendBytes(std::span<const std::uint8_t> bytes) {
    if (!link_.isUp()) return "there is no link";
    link_.send(bytes);
    if (!waitUntil([this] { return link_.unsent() == 0; })) return "the computer takes no more";
    return link_.isUp() ? std::nullopt : Failure("the link broke");
}

bool Phone::waitUntil(const std::function<bool()>& done) {
    const auto deadline =
        orvane::Deadline::after(std::chrono::duration_cast<orvane::Deadline::Clock::duration>(
            std::chrono::duration<double>(patience_)));
    while (!done()) {
        if (deadline.hasPassed()) return false;
        link_.wait(deadline.milliseconds(), -1);
    }
    return true;
}

}  // namespace phone
