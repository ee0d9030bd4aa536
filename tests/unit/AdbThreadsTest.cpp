// The tunnel on real threads: what the main thread and the queue share. Of use under ThreadSanitizer.
#include "support/ScriptedAdb.h"
#include "usb/AdbBridge.h"

#include <gtest/gtest.h>

namespace orvane {
namespace {

class AdbThreads : public testing::Test {
  protected:
    AdbThreads() {
        adb_.answers["devices"] = {"List of devices attached\nAAA\tdevice\n\n"};
        adb_.answers["-s AAA shell getprop ro.product.model"] = {"Pixel 7\n"};
        bridge_ = std::make_shared<AdbBridge>(platform_);
    }
    /// Runs what arrives on the main thread until `done`.
    template <typename Condition>
    bool runUntil(Condition done) {
        while (!done())
            if (!system_.runLoop.waitForBlock()) return false;
        return true;
    }

    test::TestPlatform system_;
    test::ScriptedAdb adb_{system_};
    test::RealThreads threads_;
    Platform platform_{system_.runLoop,      system_.runLoop,       threads_,
                       system_.processes,    system_.fileManager,   system_.bundle,
                       system_.userDefaults, system_.systemLog,     system_.application,
                       system_.images,       system_.pasteboard,    system_.workspace,
                       system_.logWindows,   system_.audioHardware, system_.noBluetooth};
    std::shared_ptr<AdbBridge> bridge_;
};

TEST_F(AdbThreads, SuspensionWrittenOnTheMainThreadIsSeenByALaterProbe) {
    AdbState heard = AdbState::noDevice;
    const auto hear = [&](const AdbState& state) { heard = state; };
    bridge_->start(hear);
    ASSERT_TRUE(runUntil([&] { return heard == AdbState::ready("Pixel 7"); }));
    bridge_->setSuspended(true);
    bridge_->start(hear);
    ASSERT_TRUE(runUntil([&] { return heard == AdbState::yielded("Pixel 7"); }));
    EXPECT_EQ(bridge_->state(), heard);
}

TEST_F(AdbThreads, SuspensionAndStateMayBeUsedWhileProbesRun) {
    int changes = 0;
    for (int poll = 0; poll < 200; ++poll) {
        bridge_->start([&](const AdbState&) { ++changes; });
        bridge_->setSuspended(poll % 2 == 0);
        const AdbState seen = bridge_->state();
        EXPECT_TRUE(seen == AdbState::noDevice || seen.model == "Pixel 7") << seen.menuTitle();
    }
    EXPECT_TRUE(runUntil([&] { return changes > 0; }));
}

TEST_F(AdbThreads, ItCanBeGivenUpWhileAProbeRuns) {
    for (int life = 0; life < 50; ++life) {
        bridge_->start({});
        bridge_ = std::make_shared<AdbBridge>(platform_);
        system_.runLoop.runPending();
    }
    bridge_.reset();
}

}  // namespace
}  // namespace orvane
