// Which devices are being asked for their service records. IOBluetooth forgets to answer now and then (a
// device that is not connected may never be heard of), so that every query here has an end of its own. Main
// thread only.
#pragma once

#include "platform/Bluetooth.h"
#include "platform/RunLoop.h"

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace orvane {

class QueryBook {
  public:
    using Done = std::function<void(BluetoothStatus)>;
    /// Longer than the system looks for a device that is out of reach.
    static constexpr Duration maxWait{15};

    /// `timedOut` is the status of a query without an answer. The run loop outlives this.
    QueryBook(RunLoop& runLoop, BluetoothStatus timedOut) : runLoop_(runLoop), timedOut_(timedOut) {}

    /// Has `begin` start a query of the device, unless one is under way: then the end of that is told to
    /// `done` in place of whoever asked for it. `done` is called once, later, with success, with what `begin`
    /// failed with, or with the status of the answer; or with `timedOut`.
    void ask(const std::string& address, const std::function<BluetoothStatus()>& begin, Done done);
    bool isAsking(const std::string& address) const { return queries_.contains(address); }
    /// The answer. Does nothing when it comes too late.
    void answer(const std::string& address, BluetoothStatus status);

  private:
    struct Query {
        std::uint64_t number;
        Done done;
    };

    void endLater(const std::string& address, Duration delay, BluetoothStatus status);

    RunLoop& runLoop_;
    const BluetoothStatus timedOut_;
    std::map<std::string, Query> queries_;
    std::uint64_t lastNumber_ = 0;
    const std::shared_ptr<QueryBook*> self_ =
        std::make_shared<QueryBook*>(this);  ///< For blocks: goes with it.
};

}  // namespace orvane
