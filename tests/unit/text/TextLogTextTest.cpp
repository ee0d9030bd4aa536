#include "support/TextReference.h"
#include "text/LogText.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace orvane::test {

namespace {

/// ASCII of which no two places look alike for long.
std::string numbered(std::size_t length) {
    std::string text;
    for (int i = 0; text.size() < length; ++i)
        text += std::to_string(i) + ' ';
    text.resize(length);
    return text;
}

TEST(LogTextTest, StartsEmpty) {
    const LogText log;
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(log.characterCount(), 0U);
    EXPECT_EQ(log.begin(), 0U);
    EXPECT_EQ(log.end(), 0U);
}

TEST(LogTextTest, AtTheLimitNothingIsLost) {
    LogText log;
    log.append(numbered(200'000));
    EXPECT_EQ(log.characterCount(), 200'000U);
    EXPECT_EQ(log.text(), numbered(200'000));
}

TEST(LogTextTest, OneCharacterMoreLeavesTheNewest160000) {
    LogText log;
    log.append(numbered(200'000));
    log.append("!");
    EXPECT_EQ(log.characterCount(), 160'000U);
    EXPECT_EQ(log.text(), (numbered(200'000) + "!").substr(40'001));
    EXPECT_EQ(log.begin(), 40'001U);
    EXPECT_EQ(log.end(), 200'001U);
}

TEST(LogTextTest, GrowsToTheLimitAgainAfterEachTrimming) {
    LogText log(10, 4);
    for (const char* chunk : {"0123456789", "a", "bcdefg", "h"})
        log.append(chunk);
    EXPECT_EQ(log.text(),
              "ef"
              "gh");
    EXPECT_EQ(log.characterCount(), 4U);
    EXPECT_EQ(log.begin(), 14U);
}

TEST(LogTextTest, EachNewCharacterPushesOneOutWhenAllAreKept) {
    const std::string all = numbered(6000);
    LogText log(1500, 1500);
    for (std::size_t length = 1; length <= all.size(); ++length) {
        log.append(all.substr(length - 1, 1));
        const std::size_t begin = length > 1500 ? length - 1500 : 0;
        ASSERT_EQ(log.text(), all.substr(begin, length - begin));
        ASSERT_EQ(log.begin(), begin);
    }
}

TEST(LogTextTest, AChunkLongerThanTheLimitLeavesItsEnd) {
    LogText log;
    log.append("before");
    log.append(numbered(1'000'000));
    EXPECT_EQ(log.characterCount(), 160'000U);
    EXPECT_EQ(log.text(), numbered(1'000'000).substr(840'000));
    EXPECT_EQ(log.end(), 1'000'006U);
}

TEST(LogTextTest, OfManyLinesAtOnceTheNewestCharactersStay) {
    std::string lines;
    for (int i = 0; lines.size() < 1'000'000; ++i)
        lines += "line " + std::to_string(i) + "\n";
    LogText log;
    log.append("before");
    log.append(lines);
    EXPECT_EQ(log.characterCount(), 160'000U);
    EXPECT_EQ(log.text(), std::string_view(lines).substr(lines.size() - 160'000));
    EXPECT_EQ(log.end(), 6 + lines.size());
    log.append("!");
    EXPECT_EQ(log.characterCount(), 160'001U);
}

TEST(LogTextTest, ALongChunkOfFewCharactersKeepsAllOfThem) {
    LogText log(10, 5);
    std::string dotted = "\n";
    for (int dots = 0; dots < 50; ++dots)
        dotted += "a\u0307\u0307\u0307\u0307\n";
    log.append(dotted.substr(0, 46));
    EXPECT_EQ(log.characterCount(), 10U);
    EXPECT_EQ(log.text(), dotted.substr(0, 46));
}

TEST(LogTextTest, TheLimitCountsCharactersNotBytes) {
    LogText log(4, 2);
    log.append("\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7e\u0301\r\n");
    EXPECT_EQ(log.characterCount(), 4U);
    log.append("x");
    EXPECT_EQ(log.text(), "\r\nx");
    EXPECT_EQ(log.characterCount(), 2U);
}

TEST(LogTextTest, AChunkThatContinuesTheLastCharacterDoesNotPassTheLimit) {
    LogText log(3, 1);
    log.append("ab\r");
    log.append("\n");
    EXPECT_EQ(log.text(), "ab\r\n");
    EXPECT_EQ(log.characterCount(), 3U);
    log.append("e");
    EXPECT_EQ(log.text(), "e");
    log.append("\u0301");
    EXPECT_EQ(log.text(), "e\u0301");
    EXPECT_EQ(log.characterCount(), 1U);
}

TEST(LogTextTest, TrimmingMayCutALine) {
    LogText log(8, 4);
    log.append("one\ntwo\nx");
    EXPECT_EQ(log.text(), "wo\nx");
}

TEST(LogTextTest, AnyTextInAnyPiecesIsTrimmedAsTheDefinitionSays) {
    const std::vector<std::string> alphabet = {"a",
                                               "a line of the server\r\n",
                                               "— restarting —\n",
                                               "\r",
                                               "\n",
                                               "\u0301",
                                               "\u200D",
                                               "é",
                                               "\U0001F1E9",
                                               "\U0001F468",
                                               "\u1112",
                                               "\u1161",
                                               "\U0001F3FD",
                                               "\u0600"};
    std::mt19937 random(3);
    const std::pair<std::size_t, std::size_t> sizes[] = {
        {1, 1}, {20, 20}, {50, 40}, {5000, 2500}, {2000, 1990}};
    for (const auto& [limit, kept] : sizes) {
        for (int round = 0; round < 3; ++round) {
            LogText log(limit, kept);
            PlainLog plain(limit, kept);
            for (int appends = 0; appends < 300; ++appends) {
                std::string chunk;
                for (auto parts = random() % (limit > 1000 ? 60 : 6); parts > 0; --parts) {
                    chunk += alphabet[random() % alphabet.size()];
                }
                log.append(chunk);
                plain.append(chunk);
                ASSERT_EQ(log.text(), plain.text);
                ASSERT_EQ(log.characterCount(), plain.characterCount);
                ASSERT_EQ(log.end() - log.begin(), plain.text.size());
            }
        }
    }
}

TEST(LogTextTest, AViewFollowsByWhatChangedAlone) {
    LogText log(1000, 700);
    std::string view;
    std::uint64_t viewBegin = 0;
    std::mt19937 random(4);
    for (int appends = 0; appends < 500; ++appends) {
        log.append(numbered(random() % 300));
        if (random() % 3 == 0) continue;  // The view need not look each time.
        const std::uint64_t viewEnd = viewBegin + view.size();
        if (log.begin() >= viewEnd) {
            view = log.text();
        } else {
            view.erase(0, log.begin() - viewBegin);
            view += log.text().substr(viewEnd - log.begin());
        }
        viewBegin = log.begin();
        ASSERT_EQ(view, log.text());
    }
    EXPECT_GT(log.begin(), 50'000U);
}

TEST(LogTextTest, MemoryStaysBoundedHoweverMuchIsAppended) {
    const auto peakMemory = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;  // In kB, on some systems in bytes.
    };
    const std::string chunk = numbered(65'536);
    LogText log;
    for (int i = 0; i < 20; ++i)
        log.append(chunk);
    const auto before = peakMemory();
    for (int i = 0; i < 4000; ++i)
        log.append(chunk);  // 262 MB
    EXPECT_LT(peakMemory() - before, 16'384);
    EXPECT_LE(log.characterCount(), 200'000U);
}

}  // namespace

}  // namespace orvane::test
