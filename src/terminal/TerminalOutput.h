// Standard output that never makes the program wait: what its reader does not take is kept, up to a bound,
// and written when there is room. Main thread only.
#pragma once

#include "posix/Descriptor.h"

#include <QSocketNotifier>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace orvane {

class TerminalOutput {
  public:
    /// What is kept for a reader that does not read; beyond it whole texts are left out, which is said
    /// afterwards.
    static constexpr std::size_t maxKept = 8 << 20;  ///< In bytes.

    /// Writes where `descriptor` leads, which stays open and as it is. SIGPIPE is ignored by the program.
    explicit TerminalOutput(int descriptor);

    /// A reader that has gone is no error: then nothing is written any more.
    void write(std::string_view text);
    /// Waits at most `patience` for what is kept to be written.
    void finish(std::chrono::milliseconds patience);

  private:
    enum class Kind { neverBlocks, mayBlock, socket };

    void writeKept();
    ssize_t writeSome(std::string_view text) const;
    void close();

    Descriptor descriptor_;
    Kind kind_ = Kind::neverBlocks;
    std::string kept_;
    std::size_t written_ = 0;  ///< Of what is kept.
    bool hasGap_ = false;
    std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace orvane
