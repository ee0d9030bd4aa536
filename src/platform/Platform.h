// Everything that the core asks of the system it runs on, handed over together.
#pragma once

#include "platform/PortOwner.h"
#include "platform/Remedies.h"
#include "platform/SystemLog.h"
#include "platform/UnreadBytes.h"

namespace orvane {

class Application;
class AudioHardware;
class Bluetooth;
struct Bundle;
class Clock;
class FileManager;
class Images;
class LogWindows;
class Pasteboard;
class Processes;
class RunLoop;
class Threads;
class UserDefaults;
class Workspace;

/// A reference to each role; what is a mere value or function is here itself. Whoever makes it owns the roles
/// and keeps them until the process ends.
struct Platform {
    RunLoop& runLoop;
    Clock& clock;
    Threads& threads;
    Processes& processes;
    FileManager& fileManager;
    const Bundle& bundle;
    UserDefaults& userDefaults;
    SystemLog systemLog;
    Application& application;
    Images& images;
    Pasteboard& pasteboard;
    Workspace& workspace;
    LogWindows& logWindows;
    AudioHardware& audioHardware;
    Bluetooth& bluetooth;
    Remedies (*remedies)() = [] { return Remedies{}; };  ///< Looked up when it is called.
    IsOurPort isOurPort = everyPortIsOurs;
    UnreadBytes unreadBytes = unreadBytesUnknown;
};

}  // namespace orvane
