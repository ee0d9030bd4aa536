// A list that the server announces with its length and then sends record by record.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace orvane {

/// Collects the records of one block; a list shows as a whole or not at all.
template <typename Record>
class RecordBlock {
  public:
    /// A header: `count` records are announced, and what was collected is thrown away. A negative count never
    /// completes.
    void open(std::int64_t count) {
        expecting_ = count;
        incoming_.clear();
    }

    /// One record line; none when it could not be read, which leaves the block waiting. The whole list when
    /// this line completes it.
    std::optional<std::vector<Record>> add(std::optional<Record> record) {
        // Outside a block, and in one too long to be meant, nothing will ever be committed: so nothing is
        // kept.
        if (expecting_ <= 0 || expecting_ > maxRecords) return std::nullopt;
        if (record) incoming_.push_back(std::move(*record));
        if (std::cmp_less(incoming_.size(), expecting_)) return std::nullopt;
        expecting_ = 0;
        return std::exchange(incoming_, {});
    }

  private:
    /// Far beyond any real list; keeps a server that announces nonsense from filling the memory.
    static constexpr std::int64_t maxRecords = 65'536;

    std::int64_t expecting_ = 0;
    std::vector<Record> incoming_;
};

}  // namespace orvane
