// macOS as the core sees it: one object per role.
#pragma once

#include "macos/bluetooth/MacBluetooth.h"
#include "macos/desktop/MacApplication.h"
#include "macos/desktop/MacDesktop.h"
#include "macos/desktop/MacImages.h"
#include "macos/desktop/MacLogWindow.h"
#include "macos/system/MacAudioHardware.h"
#include "macos/system/MacBundle.h"
#include "macos/system/MacFileManager.h"
#include "macos/system/MacRunLoop.h"
#include "macos/system/MacSystemLog.h"
#include "macos/system/MacTask.h"
#include "macos/system/MacThreads.h"
#include "macos/system/MacUserDefaults.h"
#include "platform/Platform.h"

namespace orvane {

inline Remedies macRemedies() {
    return {.allowBluetooth = "allow Orvane in System Settings → Privacy → Bluetooth"};
}

class MacPlatform {
  public:
    Platform& roles() { return roles_; }
    MacApplication& application() { return application_; }

  private:
    MacRunLoop runLoop_;
    MacClock clock_;
    MacThreads threads_;
    MacProcesses processes_;
    MacFileManager fileManager_;
    const Bundle bundle_ = mainBundle();
    MacUserDefaults userDefaults_;
    MacApplication application_;
    MacImages images_;
    MacPasteboard pasteboard_;
    MacWorkspace workspace_;
    MacLogWindows logWindows_;
    MacAudioHardware audioHardware_;
    MacBluetooth bluetooth_{runLoop_};

    Platform roles_{.runLoop = runLoop_,
                    .clock = clock_,
                    .threads = threads_,
                    .processes = processes_,
                    .fileManager = fileManager_,
                    .bundle = bundle_,
                    .userDefaults = userDefaults_,
                    .systemLog = logToSystem,
                    .application = application_,
                    .images = images_,
                    .pasteboard = pasteboard_,
                    .workspace = workspace_,
                    .logWindows = logWindows_,
                    .audioHardware = audioHardware_,
                    .bluetooth = bluetooth_,
                    .remedies = macRemedies};
};

}  // namespace orvane
