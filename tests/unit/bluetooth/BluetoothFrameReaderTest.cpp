#include "bluetooth/BridgeFrame.h"
#include "text/BigEndian.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Lack = FrameReader::Lack;

struct Copied {
    char type;
    Bytes payload;
    bool operator==(const Copied&) const = default;
};

struct Outcome {
    std::vector<Copied> frames;
    Lack lack = Lack::needMore;
    bool operator==(const Outcome&) const = default;
};

/// Takes whole frames until there is none.
void drain(FrameReader& reader, Outcome& outcome) {
    while (true) {
        const auto next = reader.next();
        if (const auto* lack = std::get_if<Lack>(&next)) {
            outcome.lack = *lack;
            return;
        }
        const auto& frame = std::get<BridgeFrame>(next);
        outcome.frames.push_back(
            {static_cast<char>(frame.type), {frame.payload.begin(), frame.payload.end()}});
    }
}

Outcome readAll(const Bytes& bytes) {
    FrameReader reader;
    Outcome outcome;
    reader.append(bytes);
    drain(reader, outcome);
    return outcome;
}

Bytes header(char type, std::uint32_t length) {
    Bytes bytes{static_cast<std::uint8_t>(type)};
    std::ranges::copy(bigEndianBytes(length), std::back_inserter(bytes));
    return bytes;
}

}  // namespace

TEST(BluetoothFrameReaderTest, BeginsAnewOnceItIsCleared) {
    FrameReader reader;
    Outcome outcome;
    reader.append(header('A', 0));
    drain(reader, outcome);
    reader.clear();
    reader.append(header('D', 0));
    drain(reader, outcome);
    EXPECT_EQ(outcome.frames, (std::vector<Copied>{{'A', {}}, {'D', {}}}));
}

TEST(BluetoothFrameReaderTest, CutsTheStreamIntoFrames) {
    struct Row {
        const char* what;
        Bytes bytes;
        Outcome expected;
    };
    const Row rows[] = {
        {"nothing", {}, {{}, Lack::needMore}},
        {"four bytes of a header", {'R', 0, 0, 0}, {{}, Lack::needMore}},
        {"exactly five bytes with length 0", {'R', 0, 0, 0, 0}, {{{'R', {}}}, Lack::needMore}},
        {"payload not there yet", {'H', 0, 0, 0, 1}, {{}, Lack::needMore}},
        {"one byte of payload", {'H', 0, 0, 0, 1, 2}, {{{'H', {2}}}, Lack::needMore}},
        {"two frames and a beginning",
         {'H', 0, 0, 0, 1, 2, 'd', 0, 0, 0, 3, 9, 8, 7, 'A'},
         {{{'H', {2}}, {'d', {9, 8, 7}}}, Lack::needMore}},
        {"a type nobody knows is a frame too", {'?', 0, 0, 0, 0}, {{{'?', {}}}, Lack::needMore}},
        {"65537 is too long, before its bytes come", {'d', 0, 1, 0, 1}, {{}, Lack::badLength}},
        {"the top byte of the length counts", {'d', 1, 0, 0, 0}, {{}, Lack::badLength}},
        {"all ones is too long", {'d', 255, 255, 255, 255}, {{}, Lack::badLength}},
        {"a good frame before a bad one", {'A', 0, 0, 0, 0, 'd', 0, 1, 0, 1}, {{{'A', {}}}, Lack::badLength}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(readAll(row.bytes), row.expected) << row.what;
}

TEST(BluetoothFrameReaderTest, Accepts65536BytesOfPayload) {
    Bytes bytes = header('d', 65536);
    bytes.resize(bytes.size() + 65536, 0x5A);
    const auto outcome = readAll(bytes);
    ASSERT_EQ(outcome.frames.size(), 1U);
    EXPECT_EQ(outcome.frames[0].payload, Bytes(65536, 0x5A));
}

TEST(BluetoothFrameReaderTest, GivesTheSameFramesForEverySplitOfTheStream) {
    Bytes stream;
    for (const auto& [type, size] : {std::pair{'H', 1}, {'R', 0}, {'P', 30}, {'d', 7}, {'?', 2}, {'D', 0}}) {
        const Bytes part = header(type, static_cast<std::uint32_t>(size));
        stream.insert(stream.end(), part.begin(), part.end());
        for (int i = 0; i < size; ++i)
            stream.push_back(static_cast<std::uint8_t>(stream.size()));
    }
    for (const Bytes& end : {Bytes{}, Bytes{'d', 0, 0}, Bytes{'d', 0, 1, 0, 1, 3}}) {
        Bytes whole = stream;
        whole.insert(whole.end(), end.begin(), end.end());
        const Outcome expected = readAll(whole);
        ASSERT_EQ(expected.frames.size(), 6U);
        const std::span<const std::uint8_t> bytes(whole);
        for (std::size_t first = 0; first <= bytes.size(); ++first) {
            for (std::size_t second = first; second <= bytes.size(); ++second) {
                FrameReader reader;
                Outcome outcome;
                for (const auto& part :
                     {bytes.first(first), bytes.subspan(first, second - first), bytes.subspan(second)}) {
                    reader.append(part);
                    drain(reader, outcome);
                }
                ASSERT_EQ(outcome, expected) << "split at " << first << " and " << second;
            }
        }
    }
}

TEST(BluetoothFrameReaderTest, TakesBytesOneByOne) {
    Bytes stream;
    for (int i = 0; i < 300; ++i) {
        const Bytes part = encodeFrame(FrameType::data, Bytes(static_cast<std::size_t>(i), 1));
        stream.insert(stream.end(), part.begin(), part.end());
    }
    FrameReader reader;
    Outcome outcome;
    for (const std::uint8_t byte : stream) {
        reader.append({&byte, 1});
        drain(reader, outcome);
    }
    EXPECT_EQ(outcome, readAll(stream));
    EXPECT_EQ(outcome.frames.size(), 300U);
}

TEST(BluetoothFrameReaderTest, StaysAtABadLengthUntilItIsCleared) {
    FrameReader reader;
    reader.append(header('d', 65537));
    Outcome outcome;
    drain(reader, outcome);
    reader.append(header('A', 0));
    drain(reader, outcome);
    EXPECT_EQ(outcome, (Outcome{{}, Lack::badLength}));

    reader.clear();
    reader.append(header('A', 0));
    drain(reader, outcome);
    EXPECT_EQ(outcome, (Outcome{{{'A', {}}}, Lack::needMore}));
}

TEST(BluetoothFrameReaderTest, ForgetsHalfAFrameWhenCleared) {
    FrameReader reader;
    reader.append(Bytes{'d', 0, 0, 0, 9, 1, 2, 3});
    reader.clear();
    reader.append(header('D', 0));
    Outcome outcome;
    drain(reader, outcome);
    EXPECT_EQ(outcome, (Outcome{{{'D', {}}}, Lack::needMore}));
}

TEST(BluetoothFrameEncodingTest, WritesTypeLengthAndPayload) {
    EXPECT_EQ(encodeFrame(FrameType::linkTestAcknowledgement, {}), (Bytes{'r', 0, 0, 0, 0}));
    EXPECT_EQ(encodeFrame(FrameType::linkTestResult, Bytes{0, 0, 4, 0}),
              (Bytes{'e', 0, 0, 0, 4, 0, 0, 4, 0}));

    const Bytes frame = encodeFrame(FrameType::data, Bytes(0x01020304, 0));
    EXPECT_TRUE(std::ranges::equal(std::span(frame).first(5), Bytes{'d', 1, 2, 3, 4}));
    EXPECT_EQ(frame.size(), 5U + 0x01020304U);
}

TEST(BluetoothFrameEncodingTest, IsUndoneByTheReader) {
    for (const std::size_t size : {0U, 1U, 640U, 2048U, 65536U}) {
        Bytes payload(size);
        for (std::size_t i = 0; i < size; ++i)
            payload[i] = static_cast<std::uint8_t>(i * 7);
        EXPECT_EQ(readAll(encodeFrame(FrameType::data, payload)),
                  (Outcome{{{'d', payload}}, Lack::needMore}));
    }
}

}  // namespace orvane::test
