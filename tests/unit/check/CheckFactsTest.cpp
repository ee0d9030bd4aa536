#include "check/CheckFacts.h"
#include "platform/Bundle.h"
#include "platform/Threads.h"
#include "support/FakeFileManager.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace orvane::test {

namespace {

using namespace std::chrono_literals;

/// Real threads: what is tested is that one that hangs holds up nobody.
class JoinedThreads : public Threads {
  public:
    ~JoinedThreads() override {
        for (std::thread& thread : threads_)
            thread.join();
    }
    std::unique_ptr<SerialQueue> makeSerialQueue(const std::string&) override { return nullptr; }
    bool start(const std::string&, Block body) override {
        if (areUsedUp) return false;
        threads_.emplace_back(std::move(body));
        return true;
    }

    bool areUsedUp = false;

  private:
    std::vector<std::thread> threads_;
};

class FakeInspection : public Inspection {
  public:
    ProgramPresence program(const std::string& path) const override {
        askedFor = path;
        return ProgramPresence::executable;
    }
    std::string obstacleToWriting(const std::string& folder,
                                  const std::vector<std::string>& names) const override {
        std::string asked;
        for (const std::string& name : names)
            asked += " " + name;
        return folder == obstructed ? "asked for" + asked : "";
    }
    std::string settingsPath() const override { return ownSettings; }
    std::vector<std::string> writableByAll(const std::string& folder) const override {
        return {folder + "/device"};
    }
    std::optional<PortFacts> port(std::uint16_t) const override { return PortFacts{}; }
    std::optional<std::string> output(const std::string&, const std::vector<std::string>& arguments,
                                      std::chrono::milliseconds) const override {
        if (arguments.front() == "version") return "Android Debug Bridge version 1.0.41\nVersion 34\n";
        ++listings;
        return "List of devices attached\nSERIAL\tdevice\n";
    }
    std::optional<std::string> setting(const std::string& key) const override { return key; }
    bool adbDaemonRuns() const override { return daemonRuns; }
    std::optional<BluetoothFacts> bluetooth() const override {
        std::unique_lock lock(mutex);
        released.wait(lock, [this] { return !hangs; });
        return BluetoothFacts{};
    }
    std::optional<SoundFacts> sound() const override { return SoundFacts{"a server", {}}; }
    std::optional<SurfaceFacts> surface() const override { return SurfaceFacts{true, "a window", ""}; }
    std::optional<AutostartFacts> autostart() const override { return std::nullopt; }

    void release() {
        const std::lock_guard lock(mutex);
        hangs = false;
        released.notify_all();
    }

    std::string obstructed;   ///< A folder.
    std::string ownSettings;  ///< A file.
    bool hangs = false;
    bool daemonRuns = true;
    mutable std::string askedFor;
    mutable std::atomic<int> listings = 0;
    mutable std::mutex mutex;
    mutable std::condition_variable released;
};

struct CheckFactsTest : testing::Test {
    FakeInspection inspection;
    FakeFileManager files;
    Bundle bundle{"/opt/orvane/bin/orvane", "/opt/orvane/share/orvane"};
    JoinedThreads threads;  // Last: joined before what they use goes.

    CheckFacts collect(std::chrono::milliseconds patience) {
        return collectFacts({threads, bundle, files, inspection}, 5555, patience);
    }
};

TEST_F(CheckFactsTest, EverythingIsAskedAtTheRightPlaces) {
    files.executables = {"/opt/orvane/share/orvane/adb"};
    const CheckFacts facts = collect(10s);
    EXPECT_EQ(inspection.askedFor, "/opt/orvane/bin/orvaned");
    EXPECT_EQ(facts.server.fact, ProgramPresence::executable);
    EXPECT_EQ(facts.settingsFolder, "/home/tester/Library/Application Support/Orvane");
    EXPECT_EQ(facts.settingsWritableByAll.fact, std::vector{facts.settingsFolder + "/device"});
    EXPECT_EQ(facts.chosenPhone.fact, "btDevice");
    ASSERT_TRUE(facts.adb.fact);
    EXPECT_EQ(facts.adb.fact->path, "/opt/orvane/share/orvane/adb");
    EXPECT_EQ(facts.adb.fact->version, "Android Debug Bridge version 1.0.41");
    EXPECT_EQ(facts.adb.fact->phones->at(0).serial, "SERIAL");
    EXPECT_FALSE(facts.autostart.fact || facts.autostart.isLate);
}

TEST_F(CheckFactsTest, WhatCannotBeKeptIsNamedWithItsPlace) {
    EXPECT_EQ(collect(10s).settingsObstacle.fact, "");
    inspection.ownSettings = "/home/tester/.config/Orvane/Orvane.conf";
    EXPECT_EQ(collect(10s).settingsObstacle.fact, "");
    inspection.obstructed = "/home/tester/.config/Orvane";
    EXPECT_EQ(collect(10s).settingsObstacle.fact, "/home/tester/.config/Orvane asked for Orvane.conf");
    inspection.obstructed = "/home/tester/Library/Application Support/Orvane";
    EXPECT_EQ(collect(10s).settingsObstacle.fact,
              inspection.obstructed + " asked for device channels pairing");
}

TEST_F(CheckFactsTest, AdbIsNotAskedForPhonesWhereThatWouldStartItsDaemon) {
    files.executables = {"/opt/orvane/share/orvane/adb"};
    inspection.daemonRuns = false;
    EXPECT_FALSE(collect(10s).adb.fact->phones);
    EXPECT_EQ(inspection.listings, 0);
}

TEST_F(CheckFactsTest, WithoutAnAdbThePathIsEmpty) {
    EXPECT_EQ(collect(10s).adb.fact->path, "");
}

TEST_F(CheckFactsTest, AThingThatHangsIsLate) {
    inspection.hangs = true;
    const CheckFacts facts = collect(50ms);
    EXPECT_TRUE(facts.bluetooth.isLate);
    EXPECT_FALSE(facts.bluetooth.fact);
    inspection.release();
}

TEST_F(CheckFactsTest, WithoutThreadsEverythingIsLate) {
    threads.areUsedUp = true;
    const CheckFacts facts = collect(10s);
    EXPECT_TRUE(facts.server.isLate && facts.adb.isLate && facts.autostart.isLate);
}

TEST(ListedPhonesTest, ALineWithoutATabIsNoPhone) {
    const auto phones =
        listedPhones("header\tdevice\nA\tdevice\n\nB offline\nC\tno permissions; see [x]\r\n\tdevice\n");
    ASSERT_EQ(phones.size(), 2U);
    EXPECT_EQ(phones[0].serial + "=" + phones[0].state, "A=device");
    EXPECT_EQ(phones[1].serial + "=" + phones[1].state, "C=no permissions; see [x]");
}

}  // namespace
}  // namespace orvane::test
