#include "linux/CheckCommand.h"

#include "app/AppDelegate.h"
#include "linux/files/LinuxBundle.h"
#include "linux/files/PosixFileManager.h"
#include "linux/inspection/LinuxInspection.h"
#include "linux/inspection/PulseFiles.h"
#include "linux/system/LinuxRemedies.h"
#include "linux/system/PosixThreads.h"

namespace orvane {

namespace {

constexpr std::chrono::milliseconds patience{2300};

}  // namespace

CheckReport checkComputer() {
    keepPulseFromMakingFiles();
    // Never destroyed: for the threads that are left, like everything they use.
    static auto& threads = *new PosixThreads;
    static const auto& bundle = *new Bundle(findBundle());
    static auto& files = *new PosixFileManager;
    static const auto& inspection = *new LinuxInspection;

    CheckFacts facts = collectFacts({threads, bundle, files, inspection}, AppDelegate::serverPort, patience);
    facts.remedies = linuxRemedies();
    return CheckReport::judge(facts);
}

}  // namespace orvane
