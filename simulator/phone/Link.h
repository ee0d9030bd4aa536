// The phone's end of the connection, whatever carries it: takes one computer at a time, without blocking.
#pragma once

#include "posix/Descriptor.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace phone {

class Link {
  public:
    class Events {
      public:
        virtual ~Events() = default;
        virtual void linked() = 0;
        virtual void received(std::span<const std::uint8_t> bytes) = 0;
        virtual void unlinked(const std::string& reason) = 0;
    };

    /// `events` outlives the link.
    Link(orvane::Descriptor listening, Events& events) : listening_(std::move(listening)), events_(events) {}

    bool isUp() const { return static_cast<bool>(connection_); }
    /// Queues the bytes; they leave during `wait`. Nothing happens when the link is down.
    void send(std::span<const std::uint8_t> bytes);
    std::size_t unsent() const { return outgoing_.size(); }
    /// Closes the connection from this side, and goes on listening.
    void drop();

    /// Lets happen what can happen within `milliseconds`; returns after the first thing that did. True when
    /// `other` (a descriptor; -1: none) can be read.
    bool wait(int milliseconds, int other);

  private:
    void accept();
    void receive();
    void flush();
    void ended(const std::string& reason);

    orvane::Descriptor listening_;
    orvane::Descriptor connection_;
    std::vector<std::uint8_t> outgoing_;
    Events& events_;
};

}  // namespace phone
