// What an append to the server log costs when the log is full, relative to an empty one.
#include "text/LogText.h"

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

using namespace orvane;

constexpr std::size_t perRound = 150'000;  ///< Bytes: what an empty log takes without reaching its limit.

std::vector<std::string> repeated(const std::string& line, std::size_t chunkSize) {
    std::vector<std::string> chunks;
    for (std::size_t bytes = 0; bytes < perRound; bytes += chunks.back().size()) {
        chunks.emplace_back();
        do
            chunks.back() += line;
        while (chunks.back().size() < chunkSize);
    }
    return chunks;
}

double secondsToAppend(LogText& log, const std::vector<std::string>& chunks) {
    const auto start = std::chrono::steady_clock::now();
    for (const std::string& chunk : chunks)
        log.append(chunk);
    benchmark::DoNotOptimize(log.text().data());
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Both logs get the same chunks by turns. "full/empty" is the ratio of the times: 1 means that
/// a full log costs no more, the trimming included.
void appendAtTheLimit(benchmark::State& state, const std::string& line) {
    const std::vector<std::string> chunks = repeated(line, static_cast<std::size_t>(state.range(0)));
    LogText full;
    for (int i = 0; i < 10; ++i)
        secondsToAppend(full, chunks);
    double fullSeconds = 0;
    double emptySeconds = 0;
    for ([[maybe_unused]] auto _ : state) {
        LogText empty;
        emptySeconds += secondsToAppend(empty, chunks);
        const double seconds = secondsToAppend(full, chunks);
        fullSeconds += seconds;
        state.SetIterationTime(seconds);
    }
    state.counters["full/empty"] = fullSeconds / emptySeconds;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * perRound));
}

const std::string ascii =
    "session:\t2\t5\t183204\t42\t40\t3\t11.5\t4.25\tvoice\tLeft mic\t48k s16 mono\t7\tKitchen phone\n";
const std::string accented = "— Küche: 48 kHz, 16 Bit, Puffer 42 ms — 🎤 läuft\r\n";

/// Chunks of one line, of a short read and of a whole pipe.
BENCHMARK_CAPTURE(appendAtTheLimit, ascii, ascii)->Arg(1)->Arg(4096)->Arg(65536)->UseManualTime();
BENCHMARK_CAPTURE(appendAtTheLimit, accented, accented)->Arg(1)->Arg(4096)->Arg(65536)->UseManualTime();

}  // namespace
