#include "linux/system/OnceLog.h"

#include <algorithm>

namespace orvane {

void OnceLog::log(std::string_view line) {
    if (isNew(line)) log_(line);
}

bool OnceLog::isNew(std::string_view line) {
    const std::size_t arrow = std::min(line.rfind(" -> "), line.size());
    const std::string_view status = line.substr(arrow);
    const TimePoint now = clock_.now();

    const std::lock_guard lock(mutex_);
    const auto known = heard_.find(line.substr(0, arrow));
    if (known == heard_.end()) {
        if (heard_.size() >= maxSubjects) forgetOldest();
        heard_.insert({std::string(line.substr(0, arrow)), {std::string(status), now}});
        return true;
    }
    const bool isRepeated = known->second.status == status && now - known->second.when < silence;
    known->second = {std::string(status), now};
    return !isRepeated;
}

void OnceLog::forgetOldest() {
    heard_.erase(std::ranges::min_element(heard_, {}, [](const auto& entry) { return entry.second.when; }));
}

}  // namespace orvane
