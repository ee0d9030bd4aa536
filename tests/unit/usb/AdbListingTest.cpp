#include "support/Growth.h"
#include "usb/AdbListing.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

struct Listing {
    const char* name;
    const char* text;
    std::optional<std::string> serial;
    bool sawUnauthorized = false;
};

void PrintTo(const Listing& listing, std::ostream* out) {
    *out << listing.name;
}

class AdbListingTableTest : public testing::TestWithParam<Listing> {};

TEST_P(AdbListingTableTest, ChoosesThePhone) {
    const AdbListing listing = AdbListing::parse(GetParam().text);
    EXPECT_EQ(listing.serial, GetParam().serial);
    EXPECT_EQ(!listing.serial && listing.sawUnauthorized, GetParam().sawUnauthorized);
}

const Listing listings[] = {
    {"Nothing", "", {}},
    {"HeaderAlone", "List of devices attached\n\n", {}},
    {"HeaderWithoutLineFeed", "List of devices attached", {}},
    {"OnePhone", "List of devices attached\n29171FDH2007YT\tdevice\n\n", "29171FDH2007YT"},
    {"PhoneOverTheNetwork", "List of devices attached\n192.168.1.20:5555\tdevice\n\n", "192.168.1.20:5555"},
    {"Emulator", "List of devices attached\nemulator-5554\tdevice\n\n", "emulator-5554"},
    {"Unauthorized", "List of devices attached\nR58M123ABCD\tunauthorized\n\n", {}, true},
    {"Offline", "List of devices attached\nR58M123ABCD\toffline\n\n", {}},
    {"Recovery", "List of devices attached\nR58M123ABCD\trecovery\n\n", {}},
    {"Sideload", "List of devices attached\nR58M123ABCD\tsideload\n\n", {}},
    {"Authorizing", "List of devices attached\nR58M123ABCD\tauthorizing\n\n", {}},
    {"NoPermissions",
     "List of devices attached\n"
     "R58M123ABCD\tno permissions (missing udev rules? user is in the plugdev group); see "
     "[http://developer.android.com/tools/device.html]\n\n",
     {}},
    {"UnauthorizedThenReady", "List of devices attached\nAAA\tunauthorized\nBBB\tdevice\n\n", "BBB"},
    {"ReadyThenUnauthorized", "List of devices attached\nAAA\tdevice\nBBB\tunauthorized\n\n", "AAA"},
    {"OfflineThenUnauthorized", "List of devices attached\nAAA\toffline\nBBB\tunauthorized\n\n", {}, true},
    {"UnauthorizedThenOffline", "List of devices attached\nAAA\tunauthorized\nBBB\toffline\n\n", {}, true},
    {"TwoReadyPhones", "List of devices attached\nAAA\tdevice\nBBB\tdevice\n\n", "AAA"},
    {"CarriageReturns", "List of devices attached\r\nAAA\tunauthorized\r\nBBB\tdevice\r\n\r\n", "BBB"},
    {"BareCarriageReturns", "List of devices attached\rAAA\tdevice\r", "AAA"},
    {"OtherLineBreaks", "List of devices attached\u2028AAA\toffline\u0085BBB\tdevice\u2029", "BBB"},
    {"StatusWithBlanksAround", "List of devices attached\nAAA\t  device \n", "AAA"},
    {"BlanksInsteadOfTab", "List of devices attached\nAAA device\n", {}},
    {"BlankLinesAreNoHeader", "\n\nList of devices attached\n\nAAA\tdevice\n", "AAA"},
    {"EmptyPiecesBetweenTabs", "List of devices attached\n\tAAA\t\tdevice\tusb:1-2\n", "AAA"},
    {"SerialWithBlanksIsKeptWhole", "List of devices attached\n A A \tdevice\n", " A A "},
    {"SerialAlone", "List of devices attached\nAAA\n", {}},
    {"TabsAlone", "List of devices attached\n\t\t\n", {}},
    {"BlanksAsSerialAndStatus", "List of devices attached\n \t \n", {}},
    {"StatusWithMoreWords", "List of devices attached\nAAA\tdevice product:x model:y\n", {}},
    {"StatusInCapitals", "List of devices attached\nAAA\tDevice\nBBB\tUNAUTHORIZED\n", {}},
    {"FirstLineIsNeverAPhone", "AAA\tdevice\n", {}},
    {"FirstLineIsNeverAPhoneBeforeOthers", "AAA\tdevice\nBBB\toffline\n", {}},
    // The noise goes to standard error as a rule. On standard output its first line takes the header's place,
    // and the rest, without tabs, passes for nothing.
    {"DaemonStarting",
     "* daemon not running; starting now at tcp:5037\n* daemon started successfully\n"
     "List of devices attached\nAAA\tdevice\n\n",
     "AAA"},
    {"DaemonStartingWithoutPhones",
     "* daemon not running. starting it now on port 5037 *\n* daemon started successfully *\n"
     "List of devices attached\n\n",
     {}},
    {"DaemonOfAnotherVersion",
     "adb server version (40) doesn't match this client (41); killing...\n"
     "* daemon started successfully\nList of devices attached\nAAA\tunauthorized\n\n",
     {},
     true},
    {"Garbage", "\x01\x02 \t\t\x7f\n{\"a\":\t1}\n%s%n\tdevices\n", {}},
};

INSTANTIATE_TEST_SUITE_P(Real, AdbListingTableTest, testing::ValuesIn(listings),
                         [](const auto& instance) { return instance.param.name; });

TEST(AdbListingGrowthTest, ALongLineManyLinesAndManyPhonesCostNoMoreThanTheirLength) {
    for (const std::string piece :
         {"x", "\t", "a\tb\t", "\n", "\r", "serial\tunauthorized\n", "serial\tdevice\n"}) {
        SCOPED_TRACE(testing::PrintToString(piece));
        expectLinear(128 * 1024, [&](std::size_t size) {
            return [text = "List of devices attached\n" + repeatedUpTo(piece, size)] {
                AdbListing::parse(text);
            };
        });
    }
}

}  // namespace

}  // namespace orvane::test
