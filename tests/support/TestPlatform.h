// Every role at the seam as a test double, together.
#pragma once

#include "platform/Bluetooth.h"
#include "platform/Bundle.h"
#include "platform/Platform.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeFileManager.h"
#include "support/RecordedApplication.h"
#include "support/ScriptedProcesses.h"
#include "support/TestRunLoop.h"
#include "support/TestThreads.h"

namespace orvane::test {

/// A computer without Bluetooth.
struct NoBluetooth : Bluetooth {
    std::vector<std::shared_ptr<BluetoothDevice>> pairedDevices() override { return {}; }
    std::shared_ptr<BluetoothDevice> deviceWithAddress(const std::string&) override { return nullptr; }
};

/// The doubles, and the `Platform` that hands them to the core. A test that needs another double for a role
/// makes a `Platform` of its own from these.
struct TestPlatform {
    TestRunLoop runLoop;
    TestThreads threads;
    ScriptedProcesses processes;
    FakeFileManager fileManager;
    Bundle bundle{"/opt/orvane/bin/orvane", "/opt/orvane/share/orvane"};
    FakeUserDefaults userDefaults;
    RecordedSystemLog systemLog;
    RecordedApplication application;
    RecordedImages images;
    RecordedPasteboard pasteboard;
    RecordedWorkspace workspace;
    RecordedLogWindows logWindows;
    FakeAudioHardware audioHardware;
    NoBluetooth noBluetooth;

    Platform platform = with(threads, noBluetooth);

    /// The same computer with other threads or another Bluetooth.
    Platform with(Threads& otherThreads, Bluetooth& bluetooth) {
        return {.runLoop = runLoop,
                .clock = runLoop,
                .threads = otherThreads,
                .processes = processes,
                .fileManager = fileManager,
                .bundle = bundle,
                .userDefaults = userDefaults,
                .systemLog = systemLog,
                .application = application,
                .images = images,
                .pasteboard = pasteboard,
                .workspace = workspace,
                .logWindows = logWindows,
                .audioHardware = audioHardware,
                .bluetooth = bluetooth};
    }
};

}  // namespace orvane::test
