// macOS as the core sees it: one object per role.
#pragma once

#include "platform/Platform.h"
#include "platform/macos/MacApplication.h"
#include "platform/macos/MacAudioHardware.h"
#include "platform/macos/MacBluetooth.h"
#include "platform/macos/MacBundle.h"
#include "platform/macos/MacFileManager.h"
#include "platform/macos/MacImages.h"
#include "platform/macos/MacLogWindow.h"
#include "platform/macos/MacPasteboard.h"
#include "platform/macos/MacRunLoop.h"
#include "platform/macos/MacSystemLog.h"
#include "platform/macos/MacTask.h"
#include "platform/macos/MacThreads.h"
#include "platform/macos/MacUserDefaults.h"
#include "platform/macos/MacWorkspace.h"

namespace orvane {

class MacPlatform {
  public:
    Platform& roles() { return roles_; }

  private:
    MacRunLoop runLoop_;
    MacClock clock_;
    MacThreads threads_;
    MacProcesses processes_;
    MacFileManager fileManager_;
    MacBundle bundle_;
    MacUserDefaults userDefaults_;
    MacSystemLog systemLog_;
    MacApplication application_;
    MacImages images_;
    MacPasteboard pasteboard_;
    MacWorkspace workspace_;
    MacLogWindows logWindows_;
    MacAudioHardware audioHardware_;
    MacBluetooth bluetooth_;

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
