// Random server output in random reads: the controller knows and shows what the rules, written down a second
// time, say.
#include "support/IngestionModel.h"
#include "unit/app/AppDelegateFixture.h"

#include <cstdlib>
#include <random>

namespace orvane::test {

/// What a server may print, likely and unlikely, in reads that cut it anywhere.
class RandomOutput {
  public:
    explicit RandomOutput(std::uint32_t seed) : generator_(seed) {}

    /// One read or two that belong together.
    std::vector<std::string> reads() {
        std::string text;
        for (std::size_t lines = 1 + below(6); lines > 0; --lines)
            text += line() + pick(newlines_);
        if (below(8) > 0) return {text};
        const std::size_t cut = below(text.size() + 1);
        return {text.substr(0, cut), text.substr(cut)};
    }

  private:
    std::size_t below(std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(generator_);
    }
    std::string pick(const std::vector<std::string>& choices) { return choices[below(choices.size())]; }

    std::string line() {
        switch (below(10)) {
            case 0:
            case 1:
                return "devices: " + pick(counts_);
            case 2:
            case 3:
                return "sessions: " + pick(counts_);
            case 4:
            case 5:
                return fields("device:", 5);
            case 6:
            case 7:
                return fields("session:", 13);
            default:
                return pick(words_) + pick(words_) + pick(words_);
        }
    }
    /// A record: mostly right, each field now and then not.
    std::string fields(const std::string& prefix, std::size_t count) {
        std::string text = prefix;
        for (std::size_t i = 0; i < count; ++i)
            text += "\t" + (below(40) == 0 ? pick(words_) : pick(numbers_));
        return below(12) == 0 ? text + "\t" + pick(words_) : text;
    }

    std::mt19937 generator_;
    const std::vector<std::string> newlines_ = {"\n", "\n",     "\n",     "\r\n",   "\v",   "\f",
                                                "\r", "\u0085", "\u2028", "\u2029", "\n\n", ""};
    const std::vector<std::string> counts_ = {"0",
                                              "1",
                                              "1",
                                              "1",
                                              "2",
                                              "2",
                                              "2",
                                              "3",
                                              "4",
                                              "+1",
                                              "-1",
                                              " 2 ",
                                              "x",
                                              "01",
                                              "-0",
                                              "9999999999",
                                              "1 x",
                                              "",
                                              "0x1",
                                              "\u00A01\u3000",
                                              "9223372036854775808",
                                              "sessions: 1",
                                              "1\t"};
    const std::vector<std::string> numbers_ = {"0",  "1",  "1",  "2",  "3",  "7",
                                               "12", "16", "64", "+4", "-0", "007"};
    const std::vector<std::string> words_ = {"devices: ",
                                             "devices: 0",
                                             "device:\t",
                                             "sessions: ",
                                             "session:\t",
                                             "align=off",
                                             "align=on",
                                             "pairing code: ",
                                             "pairing: REJECTED",
                                             "pairing: too many wrong codes",
                                             "phone=yes",
                                             "phone=waiting",
                                             "routing to default-output",
                                             "routing to VIRTUAL",
                                             "Phone=yes",
                                             " ",
                                             "\t",
                                             "\u00A0",
                                             "\u2003",
                                             "",
                                             "1",
                                             "-1",
                                             "4.25",
                                             "1e999",
                                             "nan",
                                             "0x1p3",
                                             "Küche",
                                             "e\u0301",
                                             "📱",
                                             "\xFF",
                                             "\xED\xA0\x80",
                                             "\xC2"};
};

class IngestionModelTest : public AppDelegateTest {
  protected:
    void SetUp() override { launch(); }

    /// False after the first difference, which is reported.
    bool agrees(const IngestionModel& model) const {
        EXPECT_EQ(recordsOf(delegate->devices()), model.devices);
        EXPECT_EQ(recordsOf(delegate->phones()), model.phones);
        EXPECT_EQ(delegate->alignStreams(), model.alignStreams);
        EXPECT_EQ(delegate->pairingCode(), model.pairingCode);
        EXPECT_EQ(delegate->driverMissing(), model.driverMissing);
        EXPECT_EQ(statusRow().title(), model.status);
        EXPECT_EQ(!system.application.statusItem->image->isTemplate, model.connected);
        EXPECT_EQ(alignRow().checkState(), model.alignStreams ? CheckState::on : CheckState::off);
        EXPECT_EQ(pairingRow().title(), model.pairingCode
                                            ? "Pairing code: " + *model.pairingCode + "   (click to copy)"
                                            : "Pairing code: …");
        return !HasFailure();
    }
};

TEST_F(IngestionModelTest, AgreesAfterEveryReadOfRandomOutput) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe)
    const bool atLength = std::getenv("ORVANE_FUZZ_SECONDS") != nullptr;
    RandomOutput output(20'261'121);
    IngestionModel model;
    std::size_t lists = 0;
    for (int read = 0, reads = atLength ? 1'000'000 : 30'000; read < reads;) {
        for (const auto& bytes : output.reads()) {
            model.print(bytes);
            serverPrints(bytes);
            ASSERT_TRUE(agrees(model)) << "after read " << read << ": " << bytes;
            ++read;
        }
        lists += model.phones.size() + model.devices.size();
        if (model.log.size() > 100'000) {
            // The log has tests of its own; here it only must not be cut.
            EXPECT_EQ(log(), model.log);
            delegate = std::make_shared<AppDelegate>(system.platform);
            launch();
            model = {};
        }
    }
    EXPECT_GT(lists, 10'000U) << "too little of what was printed meant anything";
}

}  // namespace orvane::test
