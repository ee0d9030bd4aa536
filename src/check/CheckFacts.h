// What was found out about the things that the program needs, before anybody judges it.
#pragma once

#include "platform/Inspection.h"
#include "platform/Remedies.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

struct Bundle;
class FileManager;
class Threads;

struct AdbFacts {
    struct Phone {
        std::string serial;
        std::string state;  ///< As adb says it.
    };
    std::string path;
    std::string version;  ///< Empty when adb did not tell.
    bool daemonRuns = false;
    std::optional<std::vector<Phone>> phones;  ///< Nothing when adb was not asked or did not answer.
};

/// The answer to one question: `late` when it had not come in time.
template <typename Fact>
struct Answer {
    bool isLate = false;
    std::optional<Fact> fact;  ///< Nothing: late, or the question means nothing on this system.
};

struct CheckFacts {
    std::string serverPath;
    Answer<ProgramPresence> server;
    std::uint16_t portNumber = 0;
    Answer<PortFacts> port;
    std::string settingsFolder;
    Answer<std::string> settingsObstacle;  ///< A sentence that begins with a path. Empty: there is none.
    Answer<std::vector<std::string>> settingsWritableByAll;  ///< Paths.
    /// An empty path: there is none at the usual places.
    Answer<AdbFacts> adb;
    Answer<BluetoothFacts> bluetooth;
    Answer<std::string> chosenPhone;  ///< A Bluetooth address; nothing when none is chosen.
    Answer<SoundFacts> sound;
    Answer<SurfaceFacts> surface;
    Answer<AutostartFacts> autostart;
    Remedies remedies;
};

/// Whom to ask. All of it outlives the process: a question that nobody waits for any more may still use it.
struct CheckSources {
    Threads& threads;
    const Bundle& bundle;
    FileManager& fileManager;
    const Inspection& inspection;
};

/// Asks everything at once, each thing on a thread of its own, and waits at most `patience` for the answers.
CheckFacts collectFacts(const CheckSources& sources, std::uint16_t port, std::chrono::milliseconds patience);

/// The phones that `adb devices` lists, in its order.
std::vector<AdbFacts::Phone> listedPhones(std::string_view listing);

}  // namespace orvane
