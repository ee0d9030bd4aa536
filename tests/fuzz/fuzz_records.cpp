// Status lines, line splitting and the log, against the plain ways of doing the same.
#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"
#include "support/TextReference.h"
#include "text/Canonical.h"
#include "text/Case.h"
#include "text/Lines.h"
#include "text/LogText.h"
#include "text/Trim.h"
#include "text/Utf8.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

using namespace orvane;

namespace {

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// What lies behind the first `count` tabs.
std::string_view behindTabs(std::string_view line, int count) {
    for (; count > 0; --count)
        line.remove_prefix(line.find('\t') + 1);
    return line;
}

void fuzzPhone(std::string_view line) {
    const auto phone = PhoneSession::parse(line);
    if (!phone) return;
    check(line.starts_with("session:\t"), "a phone's line has its prefix");
    check(phone->name == behindTabs(line, 13), "a phone's name is the rest of the line");
    const bool isOrdered = !std::isnan(phone->rttMs) && !std::isnan(phone->netDelayMs);
    check((*phone == *phone) == isOrdered, "a phone equals itself unless it holds a NaN");

    std::ostringstream written;
    written << "session:\t" << phone->slot << '\t' << phone->firstChannel << '\t' << phone->packets << '\t'
            << phone->bufferMs << '\t' << phone->targetMs << '\t' << phone->xruns << '\t';
    written.precision(17);
    written << phone->rttMs << '\t' << phone->netDelayMs << '\t' << phone->preset << '\t' << phone->label
            << '\t' << phone->format << '\t' << phone->deviceId << '\t' << phone->name;
    const auto again = PhoneSession::parse(written.str());
    check(again && (*again == *phone || !isOrdered), "a phone written and read again is the same");
}

void fuzzDevice(std::string_view line) {
    const auto device = LoopbackDevice::parse(line);
    if (!device) return;
    check(line.starts_with("device:\t"), "a device's line has its prefix");
    check(device->name == behindTabs(line, 5), "a device's name is the rest of the line");
    check(device->stereoPairs() >= 1, "a device has a pair");
    std::ostringstream written;
    written << "device:\t" << device->isActive << '\t' << device->outChannels << '\t' << device->firstChannel
            << '\t' << device->uid << '\t' << device->name;
    check(LoopbackDevice::parse(written.str()) == device, "a device written and read again is the same");
}

void fuzzStrings(std::string_view text) {
    for (const auto trim : {trimHorizontalSpace, trimSpacesAndTabs, trimWhitespaceAndNewlines}) {
        check(trim(trim(text)) == trim(text), "trimming twice is trimming once");
    }
    check(trimWhitespaceAndNewlines(trimHorizontalSpace(text)) == trimWhitespaceAndNewlines(text),
          "white space contains horizontal space");
    check(uppercased(uppercased(text)) == uppercased(text), "upper case stays upper case");
    const std::string_view half = text.substr(0, text.size() / 2);
    check(canonicallyEqual(text, half) == canonicallyEqual(half, text), "equality works both ways");
}

void fuzzLines(std::string_view text) {
    std::vector<std::string> lines;
    forEachLine(text, [&](std::string_view line) { lines.emplace_back(line); });
    check(lines == test::linesOf(text), "lines are found as code point by code point");
}

/// Appends the text again and again in pieces whose lengths the text itself decides.
void fuzzLog(std::string_view text, const std::vector<std::string_view>& codePoints, std::size_t limit,
             std::size_t kept, int appendCount) {
    LogText log(limit, kept);
    test::PlainLog plain(limit, kept);
    std::size_t at = 0;
    for (int appends = 0; appends < appendCount && !codePoints.empty(); ++appends) {
        std::string chunk;
        auto length = static_cast<unsigned char>(text[static_cast<std::size_t>(appends) % text.size()]);
        for (std::size_t left = length % (limit / 4) + 1; left > 0; --left)
            chunk += codePoints[at++ % codePoints.size()];
        log.append(chunk);
        plain.append(chunk);
        check(log.text() == plain.text, "the log is cut as a recount says");
        check(log.characterCount() == plain.characterCount, "the count is that of a recount");
        check(log.end() - log.begin() == plain.text.size(),
              "the places are as far apart as the text is long");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    fuzzPhone(text);
    fuzzDevice(text);
    fuzzStrings(text);

    std::vector<std::string_view> codePoints;
    std::vector<std::int32_t> values;
    const bool isText = test::codePointsOf(text, codePoints, values);
    check(isValidUtf8(text) == isText, "UTF-8 is told from other bytes");
    if (!isText) return 0;
    fuzzLines(text);
    fuzzLog(text, codePoints, 12, 7, 40);
    // A long log takes ten times as long to be counted anew as all the rest: one text in eight.
    if (std::hash<std::string_view>()(text) % 8 == 0) fuzzLog(text, codePoints, 2500, 1300, 12);
    return 0;
}
