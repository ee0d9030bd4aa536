#include "linux/CheckCommand.h"

#include "app/AppDelegate.h"
#include "check/CheckReport.h"
#include "linux/files/LinuxBundle.h"
#include "linux/files/PosixFileManager.h"
#include "linux/inspection/LinuxInspection.h"
#include "linux/system/LinuxRemedies.h"
#include "linux/system/PosixThreads.h"

#include <cstdio>
#include <cstdlib>

namespace orvane {

namespace {

constexpr std::chrono::milliseconds patience{2300};

}  // namespace

int runCheck(bool asJson) {
    // Never destroyed: for the threads that are left, like everything they use.
    static auto& threads = *new PosixThreads;
    static const auto& bundle = *new Bundle(findBundle());
    static auto& files = *new PosixFileManager;
    static const auto& inspection = *new LinuxInspection;

    CheckFacts facts = collectFacts({threads, bundle, files, inspection}, AppDelegate::serverPort, patience);
    facts.remedies = linuxRemedies();
    const CheckReport report = CheckReport::judge(facts);
    std::fputs((asJson ? report.json() : report.table()).c_str(), stdout);
    return report.canRun() ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace orvane
