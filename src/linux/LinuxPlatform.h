// Everything the core asks of a Linux system, except the surface that people see. Main thread only.
#pragma once

#include "linux/bluez/BluezBluetooth.h"
#include "linux/files/LinuxBundle.h"
#include "linux/files/PosixFileManager.h"
#include "linux/files/SettingsUserDefaults.h"
#include "linux/process/PosixProcesses.h"
#include "linux/system/LinuxRemedies.h"
#include "linux/system/PosixThreads.h"
#include "linux/system/PulseAudioHardware.h"
#include "linux/system/QtRunLoop.h"
#include "linux/system/SyslogSystemLog.h"
#include "linux/system/TcpTable.h"
#include "platform/Platform.h"

namespace orvane {

/// What people see: the desktop, or a terminal.
struct Surface {
    Application& application;
    Images& images;
    Pasteboard& pasteboard;
    Workspace& workspace;
    LogWindows& logWindows;
    bool isTerminal;
};

/// Made once the Qt application exists and never destroyed: background threads may use the roles up to the
/// very end of the process.
class LinuxPlatform {
  public:
    explicit LinuxPlatform(const Surface& surface)
        : surface_(surface),
          systemLog_(!surface.isTerminal),
          fileManager_([this](std::string_view line) { systemLog_.log(line); }),
          userDefaults_(fileManager_),
          bluetooth_(runLoop_, threads_, clock_) {
        runLoop_.attach();
    }

    QtRunLoop& runLoop() { return runLoop_; }
    PosixProcesses& processes() { return processes_; }

    Platform roles() {
        return {.runLoop = runLoop_,
                .clock = clock_,
                .threads = threads_,
                .processes = processes_,
                .fileManager = fileManager_,
                .bundle = bundle_,
                .userDefaults = userDefaults_,
                .systemLog = [this](std::string_view line) { onceLog_.log(line); },
                .application = surface_.application,
                .images = surface_.images,
                .pasteboard = surface_.pasteboard,
                .workspace = surface_.workspace,
                .logWindows = surface_.logWindows,
                .audioHardware = audioHardware_,
                .bluetooth = bluetooth_,
                .remedies = linuxRemedies,
                .isOurPort = isOurPort,
                .unreadBytes = unreadBytes};
    }

  private:
    Surface surface_;
    QtRunLoop runLoop_;
    SteadyClock clock_;
    PosixThreads threads_;
    PosixProcesses processes_;
    SyslogSystemLog systemLog_;
    PosixFileManager fileManager_;
    const Bundle bundle_ = findBundle();
    SettingsUserDefaults userDefaults_;
    OnceLog onceLog_{[this](std::string_view line) { systemLog_.log(line); }, clock_};
    PulseAudioHardware audioHardware_;
    BluezBluetooth bluetooth_;
};

}  // namespace orvane
