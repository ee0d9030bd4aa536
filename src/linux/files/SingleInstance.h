// Keeps a second instance of the same user from running beside the first, and lets it call the first one to
// the front.
#pragma once

#include "posix/Descriptor.h"

#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// The folders by which the instances of one user know each other: the runtime folder, when the environment
/// names one, and one in the home folder that belongs to this computer alone. Both, because a program that is
/// started over SSH or by cron may lack the first, and a home folder may be shared by computers.
std::vector<std::string> instanceFolders();

/// Holds flock(2) on a file in every folder that there is, so whoever has one folder in common meets it. The
/// locks end with the process however that ends, and children do not get them. Beside each file a socket
/// (unix(7)) listens.
class SingleInstance {
  public:
    /// Nothing when another instance holds a lock. Folders that cannot be written or are another user's count
    /// for nothing, and so do lock files of others; when none is left, a folder of the user's in /tmp serves.
    static std::optional<SingleInstance> acquire(const std::vector<std::string>& folders);

    /// Sockets on which later instances call.
    std::vector<int> listeningSockets() const;
    /// Takes one caller on that socket, runs `comeForward` and hands what it says to the caller. Callers of
    /// other users are turned away.
    template <typename ComeForward>
    static void serve(int listeningSocket, ComeForward comeForward) {
        if (const Descriptor caller = takeCaller(listeningSocket)) answer(caller, comeForward());
    }

  private:
    struct Place {
        Descriptor lock;
        Descriptor socket;  ///< None where the folder takes no sockets.
    };

    static Descriptor takeCaller(int listeningSocket);
    static void answer(const Descriptor& caller, const std::string& text);

    std::vector<Place> places_;
};

/// What the running instance did when it was called to the front.
struct InstanceAnswer {
    int process = 0;   ///< 0: none could be reached.
    std::string text;  ///< Empty when it did not answer in time.
};

/// Calls the instance that holds the lock and waits some seconds for its answer.
InstanceAnswer callRunningInstance(const std::vector<std::string>& folders);

}  // namespace orvane
