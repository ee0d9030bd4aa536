// macOS as the core sees it: one object per role.
#pragma once

#include "macos/MacApplication.h"
#include "macos/MacAudioHardware.h"
#include "macos/MacBluetooth.h"
#include "macos/MacBundle.h"
#include "macos/MacFileManager.h"
#include "macos/MacImages.h"
#include "macos/MacLogWindow.h"
#include "macos/MacPasteboard.h"
#include "macos/MacRunLoop.h"
#include "macos/MacSystemLog.h"
#include "macos/MacTask.h"
#include "macos/MacThreads.h"
#include "macos/MacUserDefaults.h"
#include "macos/MacWorkspace.h"
#include "platform/Platform.h"

namespace orvane {

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
    MacSystemLog systemLog_;
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
                    .systemLog = systemLog_,
                    .application = application_,
                    .images = images_,
                    .pasteboard = pasteboard_,
                    .workspace = workspace_,
                    .logWindows = logWindows_,
                    .audioHardware = audioHardware_,
                    .bluetooth = bluetooth_};
};

}  // namespace orvane
