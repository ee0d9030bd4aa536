#include "usb/AdbBridge.h"

#include "platform/Bundle.h"
#include "platform/FileManager.h"
#include "platform/Task.h"
#include "platform/Threads.h"
#include "text/HarmlessText.h"
#include "text/Utf8.h"
#include "usb/AdbListing.h"

namespace orvane {

namespace {

constexpr Duration pollInterval{2.0};
constexpr Duration commandTimeLimit{8.0};
constexpr Duration commandPollInterval{0.02};
/// How long a command that was asked to end may take over it.
constexpr Duration terminationGrace{2.0};
/// More than any adb command used here prints. A command that prints without end is no longer read from here
/// on, so it blocks until its time is up and yields nothing.
constexpr std::size_t drainLimit = std::size_t{4} << 20;

/// Ends a child that ignored the request to, without anybody waiting for it. Any thread.
void killAfterGrace(RunLoop& runLoop, const std::shared_ptr<Task>& task) {
    runLoop.async([&runLoop, task] { runLoop.asyncAfter(terminationGrace, [task] { task->kill(); }); });
}

}  // namespace

AdbBridge::AdbBridge(Roles roles, std::uint16_t port)
    : roles_(roles), port_(port), queue_(roles.threads.makeSerialQueue("audio.orvane.adb")) {}

AdbBridge::~AdbBridge() {
    // A probe may hold the last reference, on the queue's thread; timers end on the main one.
    roles_.runLoop.async([timer = std::move(timer_), replaced = std::move(replacedTimers_)] {});
}

void AdbBridge::start(ChangeHandler onChange) {
    onChange_ = std::move(onChange);
    poll();
    if (timer_) replacedTimers_.push_back(timer_);
    timer_ = roles_.runLoop.scheduledTimer(pollInterval, [weak = weak_from_this()] {
        if (const auto bridge = weak.lock()) bridge->poll();
    });
}

void AdbBridge::stop() {
    if (timer_) timer_->invalidate();
    timer_.reset();
}

AdbState AdbBridge::state() const {
    const std::lock_guard lock(stateMutex_);
    return state_;
}

void AdbBridge::poll() {
    queue_->async([weak = weak_from_this()] {
        if (const auto bridge = weak.lock()) bridge->update(bridge->probe());
    });
}

void AdbBridge::update(const AdbState& found) {
    {
        const std::lock_guard lock(stateMutex_);
        if (found == state_) return;
        state_ = found;
    }
    roles_.runLoop.async([weak = weak_from_this(), found] {
        const auto bridge = weak.lock();
        if (bridge && bridge->onChange_) bridge->onChange_(found);
    });
}

AdbState AdbBridge::probe() const {
    const auto adb = findAdb(roles_.bundle, roles_.fileManager);
    if (!adb) return AdbState::noAdb;
    const auto devices = run(roles_, *adb, {"devices"});
    if (!devices) return AdbState::noDevice;
    const AdbListing listing = AdbListing::parse(*devices);
    if (!listing.serial) return listing.sawUnauthorized ? AdbState::unauthorized : AdbState::noDevice;

    const auto onPhone = [&](std::vector<std::string> command) {
        command.insert(command.begin(), {"-s", *listing.serial});
        return run(roles_, *adb, command).value_or("");
    };
    const std::string tunnels = onPhone({"reverse", "--list"});
    const std::string printed = onPhone({"shell", "getprop", "ro.product.model"});
    // The phone chooses both texts, and they end up in a line of the log that is then read like the server's.
    const std::string named = nameFromOutside(printed);
    const std::string model = named.empty() ? nameFromOutside(*listing.serial) : named;

    // Any text of the list counts, so tcp:55550 does as well as tcp:5555.
    const std::string endpoint = "tcp:" + std::to_string(port_);
    const bool isTunnelled = tunnels.find(endpoint) != std::string::npos;
    if (isSuspended()) {
        if (isTunnelled) onPhone({"reverse", "--remove", endpoint});
        return AdbState::yielded(model);
    }
    if (!isTunnelled) onPhone({"reverse", endpoint, endpoint});
    return AdbState::ready(model);
}

std::optional<std::string> AdbBridge::findAdb(const Bundle& bundle, const FileManager& files) {
    std::vector<std::string> candidates;
    if (const auto& resources = bundle.resourceDirectory) candidates.push_back(*resources + "/adb");
    candidates.push_back(files.homeDirectory() + "/Library/Android/sdk/platform-tools/adb");
    candidates.emplace_back("/opt/homebrew/bin/adb");
    candidates.emplace_back("/usr/local/bin/adb");
    candidates.emplace_back("/opt/local/bin/adb");

    for (const auto& candidate : candidates) {
        if (files.isExecutableFile(candidate)) return candidate;
    }
    return std::nullopt;
}

std::optional<std::string> AdbBridge::run(const Roles& roles, const std::string& path,
                                          const std::vector<std::string>& arguments) {
    const auto output = roles.processes.makePipe();
    const auto errors = roles.processes.makePipe();  // never read
    const auto task = roles.processes.makeTask();
    task->setExecutable(path);
    task->setArguments(arguments);
    task->setStandardOutput(output);
    task->setStandardError(errors);
    if (task->launch()) return std::nullopt;

    const TimePoint deadline = roles.clock.now() + commandTimeLimit;
    std::string text;
    while (task->isRunning() && roles.clock.now() < deadline) {
        roles.clock.sleep(commandPollInterval);
        if (text.size() < drainLimit) text += output->readAvailable();
    }
    if (task->isRunning()) {
        task->terminate();
        killAfterGrace(roles.runLoop, task);
        return std::nullopt;
    }
    // The child is gone, so all it printed is in the pipe. A process that it has left behind may hold the
    // pipe open: the end of the stream is not waited for.
    text += output->readDataToEndOfFile();
    if (!isValidUtf8(text)) return std::nullopt;
    return text;
}

}  // namespace orvane
