// The TCP port that phones reach: any number of connections, none of which can hold up another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace orvaned {

class Listener {
  public:
    using Id = int;

    /// What becomes of the connections; ids are used again after `left`.
    struct Events {
        std::function<void(Id, const std::string& address)> joined;
        std::function<void(Id, std::size_t bytes)> sent;
        std::function<void(Id)> left;
    };

    /// With `echo` every connection gets its own bytes back.
    Listener(Events events, bool echo) : events_(std::move(events)), echo_(echo) {}
    ~Listener();
    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    /// Listens on 127.0.0.1. Returns what stands against it, or nothing on success.
    std::optional<std::string> open(std::uint16_t port);

    /// Waits until something happens, at most `milliseconds` (-1: for ever), and deals with it.
    void wait(int milliseconds);

  private:
    void accept();
    void serve(Id id);
    bool receive(Id id);
    bool sendBack(Id id);

    Events events_;
    bool echo_;
    int socket_ = -1;
    bool isShort_ = false;                   ///< The system had no descriptor for the last caller.
    std::map<Id, std::string> connections_;  ///< Descriptor → bytes still to be sent back.
};

}  // namespace orvaned
