// A controller on a system that only exists in the test, driven through the seam: what the server prints,
// what the user chooses.
#pragma once

#include "app/AppDelegate.h"
#include "support/StatusLines.h"
#include "support/TestPlatform.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace orvane::test {

class AppDelegateTest : public testing::Test {
  protected:
    TestPlatform system;
    std::shared_ptr<AppDelegate> delegate = std::make_shared<AppDelegate>(system.platform);

    /// Starts the program and lets the main queue settle.
    void launch() {
        delegate->applicationDidFinishLaunching();
        system.runLoop.runPending();
    }

    Menu& menu() const { return *system.application.statusItem->menu; }
    /// The row of the status menu with this number, counted from 1 and with separators.
    MenuItem& row(std::size_t number) const { return *menu().items().at(number - 1); }
    MenuItem& statusRow() const { return row(1); }
    MenuItem& pairingRow() const { return row(3); }
    MenuItem& usbRow() const { return row(6); }
    MenuItem& bluetoothRow() const { return row(7); }
    MenuItem& phonesRow() const { return row(9); }
    MenuItem& alignRow() const { return row(10); }
    MenuItem& deviceRow() const { return row(12); }
    MenuItem& volumeRow() const { return row(13); }

    ScriptedTask& server() const { return system.processes.latest(); }
    /// The server prints `text`, which arrives as one read.
    void serverPrints(std::string_view text) {
        server().print(text);
        system.runLoop.runPending();
    }
    void serverExits(int status) {
        server().exit(status);
        system.runLoop.runPending();
    }
    std::string log() const { return std::string(delegate->log().text()); }
    std::size_t launches() const { return system.processes.tasks.size(); }

    /// One line as the server announces a phone.
    static std::string session(std::uint32_t id, std::int64_t firstChannel, const std::string& name,
                               int xruns = 0) {
        return PhoneLine{.firstChannel = std::to_string(firstChannel),
                         .xruns = std::to_string(xruns),
                         .deviceId = std::to_string(id),
                         .name = name}
            .text();
    }
    static std::string device(bool active, int channels, const std::string& uid, const std::string& name) {
        return DeviceLine{
            .active = active ? "1" : "0", .outChannels = std::to_string(channels), .uid = uid, .name = name}
            .text();
    }
    void serverLists(const std::vector<std::string>& sessions) {
        std::string block = "sessions: " + std::to_string(sessions.size()) + "\n";
        for (const auto& line : sessions)
            block += line;
        serverPrints(block);
    }
    void serverListsDevices(const std::vector<std::string>& devices) {
        std::string block = "devices: " + std::to_string(devices.size()) + "\n";
        for (const auto& line : devices)
            block += line;
        serverPrints(block);
    }

    /// What `act` does to files and servers, in order, and whether `line` was in the log by then.
    std::vector<std::string> effectsOf(const std::function<void()>& act, const std::string& line) {
        std::vector<std::string> effects;
        const auto note = [&](const std::string& effect) {
            effects.push_back(effect + (log().find(line) == std::string::npos ? "" : ", logged"));
        };
        system.fileManager.onChange = [&](const std::string& change) {
            if (!change.starts_with("mkdir")) note(change.substr(0, change.find(' ')));
        };
        server().onTerminate = [&] { note("end"); };
        system.processes.onLaunch = [&](ScriptedTask&) { note("launch"); };
        act();
        system.fileManager.onChange = {};
        system.processes.onLaunch = {};
        for (const auto& task : system.processes.tasks)
            task->onTerminate = {};
        return effects;
    }

    static std::vector<std::string> titles(const Menu& menu) {
        std::vector<std::string> all;
        for (const auto& item : menu.items())
            all.push_back(item->isSeparator() ? "-" : item->title());
        return all;
    }
};

}  // namespace orvane::test
