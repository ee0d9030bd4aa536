// The frame inbox against a naive reading of the same bytes: however the stream is cut, the frames, and the
// reason why there is no further one, are the same. What it finds is also written back, byte for byte.
#include "bluetooth/BridgeFrame.h"

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

using namespace orvane;
using Bytes = std::vector<std::uint8_t>;
using View = std::span<const std::uint8_t>;

void require(bool condition) {
    if (!condition) std::abort();
}

struct Outcome {
    std::vector<std::pair<FrameType, Bytes>> frames;
    FrameReader::Lack lack = FrameReader::Lack::needMore;
    bool operator==(const Outcome&) const = default;
};

Outcome naive(View stream) {
    Outcome outcome;
    while (stream.size() >= 5) {
        const std::size_t length =
            stream[1] * 0x1000000ULL + stream[2] * 0x10000ULL + stream[3] * 0x100ULL + stream[4];
        if (length > 65536) {
            outcome.lack = FrameReader::Lack::badLength;
            break;
        }
        if (stream.size() - 5 < length) break;
        const View payload = stream.subspan(5, length);
        outcome.frames.emplace_back(FrameType{stream[0]}, Bytes(payload.begin(), payload.end()));
        stream = stream.subspan(5 + length);
    }
    return outcome;
}

/// `cuts` says how long each piece is; from its start again when it is used up.
Outcome inPieces(View stream, View cuts) {
    FrameReader reader;
    Outcome outcome;
    for (std::size_t i = 0; !stream.empty(); ++i) {
        const std::size_t wanted = cuts.empty() ? stream.size() : cuts[i % cuts.size()] + 1U;
        const View piece = stream.first(std::min(wanted, stream.size()));
        stream = stream.subspan(piece.size());
        reader.append(piece);
        while (true) {
            const auto next = reader.next();
            if (const auto* lack = std::get_if<FrameReader::Lack>(&next)) {
                outcome.lack = *lack;
                break;
            }
            const auto& frame = std::get<BridgeFrame>(next);
            outcome.frames.emplace_back(frame.type, Bytes(frame.payload.begin(), frame.payload.end()));
        }
    }
    return outcome;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    View input(data, size);
    if (input.empty()) return 0;
    const std::size_t cutCount = std::min<std::size_t>(input[0] % 8, input.size() - 1);
    const View cuts = input.subspan(1, cutCount);
    const View stream = input.subspan(1 + cutCount);

    const Outcome expected = naive(stream);
    require(inPieces(stream, cuts) == expected);
    require(inPieces(stream, {}) == expected);

    Bytes written;
    for (const auto& [type, payload] : expected.frames) {
        const Bytes frame = encodeFrame(type, payload);
        written.insert(written.end(), frame.begin(), frame.end());
    }
    require(written.size() <= stream.size() && std::equal(written.begin(), written.end(), stream.begin()));
    return 0;
}
