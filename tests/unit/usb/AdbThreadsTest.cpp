// The tunnel on real threads: what the main thread and the queue share. Of use under ThreadSanitizer.
#include "support/ScriptedAdb.h"
#include "usb/AdbBridge.h"

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

const AdbState ready = AdbState::ready("Pixel 7");
const AdbState yielded = AdbState::yielded("Pixel 7");

/// A computer with a phone attached, where the tunnel's queue has a thread of its own.
struct Threaded {
    Threaded() {
        adb.answers["devices"] = {"List of devices attached\nAAA\tdevice\n\n"};
        adb.answers["-s AAA shell getprop ro.product.model"] = {"Pixel 7\n"};
    }
    ~Threaded() {
        bridge.reset();
        threads.reset();
    }
    /// Runs what arrives on the main thread until `done`.
    template <typename Condition>
    bool runUntil(Condition done) {
        while (!done()) {
            if (!system.runLoop.waitForBlock()) return false;
        }
        return true;
    }

    TestPlatform system;
    ScriptedAdb adb{system};
    std::unique_ptr<RealThreads> threads = std::make_unique<test::RealThreads>();
    std::shared_ptr<AdbBridge> bridge = std::make_shared<AdbBridge>(adbRoles(system, *threads));
};

TEST(AdbThreadsTest, SuspensionWrittenOnTheMainThreadIsSeenByALaterProbe) {
    Threaded computer;
    AdbState heard = AdbState::noDevice;
    const auto hear = [&](const AdbState& state) { heard = state; };
    computer.bridge->start(hear);
    ASSERT_TRUE(computer.runUntil([&] { return heard == ready; }));
    computer.bridge->setSuspended(true);
    computer.bridge->start(hear);
    ASSERT_TRUE(computer.runUntil([&] { return heard == yielded; }));
    EXPECT_EQ(computer.bridge->state(), yielded);
}

TEST(AdbThreadsTest, SuspensionAndStateMayBeUsedWhileProbesRun) {
    Threaded computer;
    int changes = 0;
    for (int poll = 0; poll < 200; ++poll) {
        computer.bridge->start([&](const AdbState&) { ++changes; });
        computer.bridge->setSuspended(poll % 2 == 0);
        const AdbState seen = computer.bridge->state();
        EXPECT_TRUE(seen == AdbState::noDevice || seen == ready || seen == yielded) << seen.menuTitle();
    }
    EXPECT_TRUE(computer.runUntil([&] { return changes > 0; }));
}

TEST(AdbThreadsTest, ItCanBeGivenUpWhileAProbeRuns) {
    for (int life = 0; life < 100; ++life) {
        Threaded computer;
        const std::weak_ptr<AdbBridge> weak = computer.bridge;
        computer.bridge->start({});
        computer.bridge.reset();
        computer.threads.reset();
        EXPECT_TRUE(weak.expired());
        computer.system.runLoop.runPending();
        EXPECT_EQ(computer.system.runLoop.timerCount(), 0U);
    }
}

}  // namespace

}  // namespace orvane::test
