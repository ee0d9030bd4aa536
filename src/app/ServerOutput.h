// What the server's output means: text in, events out. Needs no system and remembers nothing but the two
// lists that are being collected.
#pragma once

#include "app/RecordBlock.h"
#include "model/LoopbackDevice.h"
#include "model/PhoneSession.h"

#include <functional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace orvane {

/// A whole list; a list that is announced as empty is whole at once.
struct DevicesListed {
    std::vector<LoopbackDevice> devices;
    bool operator==(const DevicesListed&) const = default;
};
struct PhonesListed {
    std::vector<PhoneSession> phones;
    bool operator==(const PhonesListed&) const = default;
};
struct AlignmentReported {
    bool on;
    bool operator==(const AlignmentReported&) const = default;
};
struct PairingCodeAnnounced {
    std::string code;
    bool operator==(const PairingCodeAnnounced&) const = default;
};
enum class ConnectionReport {
    wrongCode,  ///< A phone was turned away.
    locked,     ///< So many were that pairing pauses.
    connected,
    waiting,
};
enum class RoutingReport { defaultOutput, loopback };

using ServerEvent = std::variant<DevicesListed, PhonesListed, AlignmentReported, PairingCodeAnnounced,
                                 ConnectionReport, RoutingReport>;

class ServerOutput {
  public:
    using Handler = std::function<void(ServerEvent)>;

    /// Calls `handler` with what each line of `text` means, in order. Every text is cut into lines on its
    /// own: nothing is carried over to the next.
    void read(std::string_view text, const Handler& handler);

  private:
    void readLine(std::string_view line, const Handler& handler);
    /// The headers and records of the two lists. True when the line is one of them: nothing else is looked
    /// for in it then.
    bool readList(std::string_view line, const Handler& handler);

    RecordBlock<LoopbackDevice> devices_;
    RecordBlock<PhoneSession> phones_;
};

}  // namespace orvane
