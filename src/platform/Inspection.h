// A look at what the program needs of its computer, for a user who is stuck. Nothing is changed by it, and no
// other instance is needed.
//
// Each question may take as long as the thing that it asks; whoever asks gives each a thread of its own and
// decides when to wait no longer. Where a question means nothing on a system, its answer is nothing.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// A folder, a pipe or a device is no file.
enum class ProgramPresence { executable, notExecutable, noFile, absent };

struct PortFacts {
    bool isFree = true;
    /// Name of the program that listens, and its process; empty and 0 when that cannot be told.
    std::string holder;
    std::int64_t process = 0;
    std::string user = {};  ///< Whose program it is, when it is another's; empty for one's own, and when that
                            ///< cannot be told.
};

struct AdapterFacts {
    std::string name;
    bool isPowered = false;
};

struct BluetoothFacts {
    struct Phone {
        std::string name;
        std::string address;
    };
    bool busAnswers = false;   ///< The system bus, by which Bluetooth is reached.
    bool serviceRuns = false;  ///< The system's Bluetooth service.
    bool hasHardware = false;  ///< The kernel knows an adapter, whatever the service says.
    bool isBlocked = false;    ///< By a switch or a setting of the computer.
    bool isRefused = false;    ///< To this program, by the user.
    std::vector<AdapterFacts> adapters;
    std::vector<Phone> paired;
};

struct SoundFacts {
    struct Device {
        std::string name;
        std::uint32_t channels = 0;
        bool isLoopback = false;
    };
    std::string server;  ///< Name and version; empty when none answers.
    std::vector<Device> devices;
};

struct SurfaceFacts {
    bool isVisible = false;  ///< False: nobody would see the program.
    std::string kind;        ///< "an icon in the panel's tray".
    std::string reason;
};

struct AutostartFacts {
    bool isOn = false;
    std::string path;  ///< Of the entry that decides.
};

/// Any thread.
class Inspection {
  public:
    virtual ~Inspection() = default;

    virtual ProgramPresence program(const std::string& path) const = 0;
    /// Why the files of those names cannot be written into the folder, as the end of a sentence that begins
    /// with the folder; empty when they can, also where the folder is yet to be made.
    virtual std::string obstacleToWriting(const std::string& folder,
                                          const std::vector<std::string>& names) const = 0;
    /// The folder and what lies in it, as far as every user of the computer may write to it. Nothing where
    /// the folder lies in one that only its user may enter.
    virtual std::vector<std::string> writableByAll(const std::string&) const { return {}; }
    virtual std::optional<PortFacts> port(std::uint16_t port) const = 0;
    /// What the command prints on standard output; nothing when it cannot be started or takes longer than
    /// `patience`, after which it is killed.
    virtual std::optional<std::string> output(const std::string& path,
                                              const std::vector<std::string>& arguments,
                                              std::chrono::milliseconds patience) const = 0;
    /// What the program remembers for itself under that key (`UserDefaults`).
    virtual std::optional<std::string> setting(const std::string& key) const = 0;
    /// The file in which it remembers that; empty where the system keeps it.
    virtual std::string settingsPath() const { return {}; }
    /// True when adb can be asked for devices without starting its daemon.
    virtual bool adbDaemonRuns() const = 0;
    virtual std::optional<BluetoothFacts> bluetooth() const = 0;
    virtual std::optional<SoundFacts> sound() const = 0;
    virtual std::optional<SurfaceFacts> surface() const = 0;
    virtual std::optional<AutostartFacts> autostart() const = 0;
};

}  // namespace orvane
