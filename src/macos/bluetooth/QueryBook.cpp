#include "macos/bluetooth/QueryBook.h"

#include <utility>

namespace orvane {

void QueryBook::ask(const std::string& address, const std::function<BluetoothStatus()>& begin, Done done) {
    const auto [entry, isNew] = queries_.try_emplace(address);
    entry->second.done = std::move(done);
    if (!isNew) return;
    entry->second.number = ++lastNumber_;
    const BluetoothStatus status = begin();
    if (status == bluetoothSuccess)
        endLater(address, maxWait, timedOut_);
    else
        endLater(address, Duration::zero(), status);
}

void QueryBook::endLater(const std::string& address, Duration delay, BluetoothStatus status) {
    const auto block = [weak = std::weak_ptr(self_), address, status, number = lastNumber_] {
        const auto self = weak.lock();
        if (!self) return;
        const auto query = (*self)->queries_.find(address);
        if (query == (*self)->queries_.end() || query->second.number != number) return;
        (*self)->answer(address, status);
    };
    runLoop_.asyncAfter(delay, block);
}

void QueryBook::answer(const std::string& address, BluetoothStatus status) {
    const auto query = queries_.extract(address);
    if (query) query.mapped().done(status);
}

}  // namespace orvane
