// A list that the server announces with its length and then sends record by record.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace orvane {

/// Collects the records of one block; a list shows as a whole or not at all. `listed` is called with the
/// whole list, from within the call that completes it.
template <typename Record>
class RecordBlock {
  public:
    /// A header: `count` records are announced, and what was collected is thrown away. None announced is a
    /// whole list; a negative count never completes.
    template <typename Listed>
    void open(std::int64_t count, const Listed& listed) {
        expecting_ = count;
        incoming_.clear();
        if (count == 0) listed({});
    }

    /// One record line; none when it could not be read, which leaves the block waiting.
    template <typename Listed>
    void add(std::optional<Record> record, const Listed& listed) {
        // Outside a block, and in one too long to be meant, nothing will ever be committed: so nothing is
        // kept.
        if (expecting_ <= 0 || expecting_ > maxRecords) return;
        if (record) incoming_.push_back(std::move(*record));
        if (std::cmp_less(incoming_.size(), expecting_)) return;
        expecting_ = 0;
        listed(std::exchange(incoming_, {}));
    }

  private:
    /// Far beyond any real list; keeps a server that announces nonsense from filling the memory.
    static constexpr std::int64_t maxRecords = 65'536;

    std::int64_t expecting_ = 0;
    std::vector<Record> incoming_;
};

}  // namespace orvane
