// The packets of a service search and the records in its answer: what devices send, and what they should not.
#include "linux/bluez/BluezSdpExchange.h"
#include "linux/bluez/BluezSdpRecord.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using testing::ElementsAre;
using Bytes = std::vector<std::uint8_t>;
using Progress = BluezSdpExchange::Progress;

constexpr std::uint16_t l2cap = 0x0100;

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes big16(std::size_t value) {
    return {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
}

/// A data element sequence with a length of 16 bits.
Bytes sequence(const Bytes& content) {
    return Bytes{0x36} + big16(content.size()) + content;
}
Bytes attribute(std::uint16_t id, const Bytes& value) {
    return Bytes{0x09} + big16(id) + value;
}
Bytes text(const std::string& value) {
    return Bytes{0x25, static_cast<std::uint8_t>(value.size())} + Bytes(value.begin(), value.end());
}
Bytes handle(std::uint8_t number) {
    return attribute(0x0000, {0x0A, 0, 1, 0, number});
}

const Bytes ourUuid = {0x4F, 0x72, 0x76, 0x61, 0x6E, 0x65, 0x00, 0x01,
                       0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB};
const Bytes ourClass = attribute(0x0001, sequence(Bytes{0x1C} + ourUuid));

Bytes protocols(const Bytes& channel) {
    return attribute(0x0004,
                     sequence(sequence({0x19, 0x01, 0x00}) + sequence(Bytes{0x19, 0x00, 0x03} + channel)));
}
const Bytes channelTwelve = protocols({0x08, 12});

BluetoothUuid uuid(const Bytes& bytes) {
    BluetoothUuid value{};
    std::copy(bytes.begin(), bytes.end(), value.begin());
    return value;
}

BluetoothUuid assigned(std::uint32_t number) {
    return uuid({static_cast<std::uint8_t>(number >> 24), static_cast<std::uint8_t>(number >> 16),
                 static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number), 0x00, 0x00, 0x10,
                 0x00, 0x80, 0x00, 0x00, 0x80, 0x5F, 0x9B, 0x34, 0xFB});
}

/// The answer to the `number`th request, as a device sends it.
Bytes answer(std::uint16_t number, const Bytes& lists, const Bytes& continuation = {}) {
    const Bytes body =
        big16(lists.size()) + lists + Bytes{static_cast<std::uint8_t>(continuation.size())} + continuation;
    return Bytes{0x07} + big16(number) + big16(body.size()) + body;
}

BluezSdpRecord onlyRecord(const Bytes& attributes) {
    const auto records = decodeSdpRecords(sequence(sequence(attributes)));
    EXPECT_EQ(records.size(), 1U);
    return records.empty() ? BluezSdpRecord() : *records.front();
}

TEST(BluezSdpExchangeTest, AsksForEveryAttributeOfTheRecordsWithTheUuid) {
    EXPECT_THAT(BluezSdpExchange(l2cap).request(),
                ElementsAre(0x06, 0, 1, 0, 15, 0x35, 3, 0x19, 0x01, 0x00, 0xFF, 0xFF, 0x35, 5, 0x0A, 0, 0,
                            0xFF, 0xFF, 0));
}

TEST(BluezSdpExchangeTest, AnAnswerInOnePacketIsComplete) {
    BluezSdpExchange exchange(l2cap);
    EXPECT_EQ(exchange.add(answer(1, {1, 2, 3})), Progress::complete);
    EXPECT_THAT(exchange.attributeLists(), ElementsAre(1, 2, 3));
}

TEST(BluezSdpExchangeTest, AnAnswerWithAContinuationIsAskedForOnAndJoined) {
    BluezSdpExchange exchange(l2cap);
    EXPECT_EQ(exchange.add(answer(1, {1, 2}, {0xAA, 0xBB})), Progress::needsRequest);
    const Bytes next = exchange.request();
    EXPECT_THAT(Bytes(next.begin(), next.begin() + 5), ElementsAre(0x06, 0, 2, 0, 17));
    EXPECT_THAT(Bytes(next.end() - 3, next.end()), ElementsAre(2, 0xAA, 0xBB));
    EXPECT_EQ(exchange.add(answer(2, {3})), Progress::complete);
    EXPECT_THAT(exchange.attributeLists(), ElementsAre(1, 2, 3));
}

TEST(BluezSdpExchangeTest, APacketCutAnywhereIsMalformed) {
    const Bytes whole = answer(1, {1, 2, 3}, {0xAA});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        BluezSdpExchange exchange(l2cap);
        EXPECT_EQ(exchange.add(std::span(whole).first(size)), Progress::malformed) << size;
    }
}

TEST(BluezSdpExchangeTest, WhatAnswersSomethingElseIsMalformed) {
    Bytes error = answer(1, {1});
    error[0] = 0x01;
    EXPECT_EQ(BluezSdpExchange(l2cap).add(error), Progress::malformed);
    EXPECT_EQ(BluezSdpExchange(l2cap).add(answer(2, {1})), Progress::malformed) << "another transaction";
}

TEST(BluezSdpExchangeTest, ACountBeyondThePacketIsMalformed) {
    Bytes packet = answer(1, {1, 2, 3});
    packet[6] = 200;
    EXPECT_EQ(BluezSdpExchange(l2cap).add(packet), Progress::malformed);
}

TEST(BluezSdpExchangeTest, AContinuationOfMoreThanSixteenBytesIsMalformed) {
    EXPECT_EQ(BluezSdpExchange(l2cap).add(answer(1, {1}, Bytes(16))), Progress::needsRequest);
    EXPECT_EQ(BluezSdpExchange(l2cap).add(answer(1, {1}, Bytes(17))), Progress::malformed);
}

TEST(BluezSdpExchangeTest, BytesBehindTheContinuationAreMalformed) {
    for (const Bytes& continuation : {Bytes(), Bytes{0xAA}}) {
        Bytes packet = answer(1, {1, 2, 3}, continuation) + Bytes{0};
        ++packet[4];
        EXPECT_EQ(BluezSdpExchange(l2cap).add(packet), Progress::malformed);
    }
}

TEST(BluezSdpExchangeTest, AnAnswerThatNeverEndsIsMalformedInTheEnd) {
    EXPECT_EQ(BluezSdpExchange(l2cap).add(answer(1, {}, {0xAA})), Progress::malformed) << "brings nothing";

    BluezSdpExchange exchange(l2cap);
    std::uint16_t packets = 0;
    while (exchange.add(answer(++packets, Bytes(500), {0xAA})) == Progress::needsRequest) {
    }
    EXPECT_EQ(packets, BluezSdpExchange::maxAnswer / 500 + 1);
}

TEST(BluezSdpRecordTest, ThePhonesRecordHasItsUuidNameAndChannel) {
    const auto record = onlyRecord(handle(7) + ourClass + channelTwelve + attribute(0x0100, text("Orvane")));
    EXPECT_EQ(record.handle, 0x10007U);
    EXPECT_THAT(record.uuids, ElementsAre(uuid(ourUuid)));
    EXPECT_EQ(record.serviceName(), "Orvane");
    EXPECT_EQ(record.rfcommChannelId(), 12);
}

TEST(BluezSdpRecordTest, ShortUuidsAreExpanded) {
    const auto record = onlyRecord(
        attribute(0x0001, sequence(Bytes{0x19, 0x11, 0x01, 0x1A, 0x12, 0x34, 0x56, 0x78, 0x1C} + ourUuid)));
    EXPECT_THAT(record.uuids, ElementsAre(assigned(0x1101), assigned(0x12345678), uuid(ourUuid)));
}

TEST(BluezSdpRecordTest, ARecordHasAServiceOnlyWhenItHasEveryUuidAskedFor) {
    const auto record = onlyRecord(attribute(0x0001, sequence({0x19, 0x11, 0x01, 0x19, 0x11, 0x02})));
    EXPECT_TRUE(record.hasServiceFromArray(std::vector{assigned(0x1102)}));
    EXPECT_TRUE(record.hasServiceFromArray(std::vector{assigned(0x1102), assigned(0x1101)}));
    EXPECT_FALSE(record.hasServiceFromArray(std::vector{assigned(0x1102), assigned(0x1103)}));
}

TEST(BluezSdpRecordTest, ARecordWithoutAnythingKnownIsEmpty) {
    const auto record = onlyRecord(handle(1));
    EXPECT_TRUE(record.uuids.empty());
    EXPECT_EQ(record.serviceName(), std::nullopt);
    EXPECT_EQ(record.rfcommChannelId(), std::nullopt);
}

TEST(BluezSdpRecordTest, AZeroThatEndsTheNameIsNotPartOfIt) {
    EXPECT_EQ(onlyRecord(attribute(0x0100, text(std::string("Orvane\0", 7)))).serviceName(), "Orvane");
}

TEST(BluezSdpRecordTest, AChannelOfSixteenBitsCountsWhenItFits) {
    EXPECT_EQ(onlyRecord(protocols({0x09, 0, 5})).rfcommChannelId(), 5);
    EXPECT_EQ(onlyRecord(protocols({0x09, 1, 5})).rfcommChannelId(), std::nullopt);
}

TEST(BluezSdpRecordTest, AttributesOfTheWrongTypeCountAsAbsent) {
    const Bytes number = {0x0A, 0xDE, 0xAD, 0xBE, 0xEF};
    for (const Bytes& value :
         {number, text("Orvane"), sequence(number), sequence(sequence(number)), Bytes{0x35, 0}}) {
        const auto record = onlyRecord(attribute(0x0001, value) + attribute(0x0004, value) +
                                       attribute(0x0100, value == text("Orvane") ? number : value));
        EXPECT_TRUE(record.uuids.empty());
        EXPECT_EQ(record.serviceName(), std::nullopt);
        EXPECT_EQ(record.rfcommChannelId(), std::nullopt);
    }
}

TEST(BluezSdpRecordTest, AProtocolWithoutParameterHasNoChannel) {
    EXPECT_EQ(onlyRecord(protocols({})).rfcommChannelId(), std::nullopt);
}

TEST(BluezSdpRecordTest, ANumberWithoutContentIsNoChannel) {
    const Bytes list = {0x35, 0x13, 0x35, 0x11, 0x09, 0x00, 0x04, 0x35, 0x0C, 0x35, 0x03,
                        0x19, 0x01, 0x00, 0x35, 0x05, 0x19, 0x00, 0x03, 0x0D, 0x00};
    const auto records = decodeSdpRecords(list);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records.front()->rfcommChannelId(), std::nullopt);
}

TEST(BluezSdpRecordTest, RecordsOfOneAnswerAreAllKeptWhateverTheirHandles) {
    BluezSdpRecords all;
    addMissingSdpRecords(all, decodeSdpRecords(sequence(sequence(handle(1)) + sequence(handle(1) + ourClass) +
                                                        sequence(channelTwelve) + sequence(ourClass))));
    EXPECT_EQ(all.size(), 4U);
}

TEST(BluezSdpRecordTest, ARecordFoundByBothSearchesIsKeptOnce) {
    BluezSdpRecords all;
    addMissingSdpRecords(all, decodeSdpRecords(sequence(sequence(handle(1)) + sequence(handle(2)))));
    addMissingSdpRecords(
        all, decodeSdpRecords(sequence(sequence(handle(2)) + sequence(handle(3)) + sequence(ourClass))));
    ASSERT_EQ(all.size(), 4U);
    EXPECT_EQ(all[2]->handle, 0x10003U);
    EXPECT_EQ(all[3]->handle, std::nullopt) << "nothing says that it is known";
}

TEST(BluezSdpRecordTest, SeveralRecordsAreAllDecoded) {
    const auto records = decodeSdpRecords(
        sequence(sequence(handle(1) + channelTwelve) + sequence(handle(2)) + sequence(handle(3) + ourClass)));
    ASSERT_EQ(records.size(), 3U);
    EXPECT_EQ(records[0]->rfcommChannelId(), 12);
    EXPECT_EQ(records[1]->handle, 0x10002U);
    EXPECT_THAT(records[2]->uuids, ElementsAre(uuid(ourUuid)));
}

TEST(BluezSdpRecordTest, ListsCutOrChangedAnywhereDoNoHarm) {
    const Bytes whole =
        sequence(sequence(handle(7) + ourClass + channelTwelve + attribute(0x0100, text("Orvane"))));
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        const std::vector<std::uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(size));
        EXPECT_LE(decodeSdpRecords(cut).size(), 2U);
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (int value = 0; value < 256; ++value) {
            Bytes changed = whole;
            changed[at] = static_cast<std::uint8_t>(value);
            EXPECT_LE(decodeSdpRecords(changed).size(), whole.size());
        }
    }
}

TEST(BluezSdpRecordTest, DeepNestingAndManyRecordsStayBounded) {
    Bytes deep;
    while (deep.size() < BluezSdpExchange::maxAnswer - 8)
        deep =
            deep.size() < 250 ? Bytes{0x35, static_cast<std::uint8_t>(deep.size())} + deep : sequence(deep);
    EXPECT_LE(decodeSdpRecords(sequence(sequence(attribute(0x0004, deep)))).size(), 1U);

    Bytes many;
    for (int count = 0; count < 2000; ++count)
        many = many + sequence(handle(1));
    EXPECT_EQ(decodeSdpRecords(sequence(many)).size(), 256U);
}

}  // namespace

}  // namespace orvane::test
