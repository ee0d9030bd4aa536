// Following a long server stream with the log at its limit, beside grep counting the lines with the same
// markers in the same bytes.
#include "app/AppDelegate.h"
#include "support/TestPlatform.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

namespace orvane {

namespace {

/// What a server with eight phones prints in the course of a long day: a status report a second, and talk in
/// between.
class Stream {
  public:
    const std::string& text() const { return text_; }
    /// The text as a pipe delivers it: whole lines, at most 64 KiB at once.
    const std::vector<std::string_view>& chunks() const { return chunks_; }
    /// The same bytes as a file, for grep.
    const std::string& path() const { return path_; }

    Stream() {
        while (text_.size() < 64U << 20)
            addSecond();
        cut();
        path_ = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/orvane-bench-stream";
        std::ofstream(path_, std::ios::binary) << text_;
    }
    ~Stream() { std::remove(path_.c_str()); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

  private:
    std::size_t random(std::size_t below) {
        return std::uniform_int_distribution<std::size_t>(0, below - 1)(generator_);
    }

    void addSecond() {
        ++second_;
        for (std::size_t line = 0; line < 24; ++line)
            addTalk();
        if (second_ % 5 == 0) addPhones();
        if (second_ % 30 == 0) addDevices();
        text_ += "status t=" + std::to_string(second_) + " phone=yes align=on routing to VIRTUAL cpu 3.1%\n";
    }
    void addTalk() {
        static constexpr const char* talk[] = {
            "[net] udp 192.168.1.23:50112 seq gap 3, concealed 2 frames (plc), jitter 4.1 ms, clock skew +11 "
            "ppm",
            "[mix] block 512 @ 48000 Hz, 8 in, 16 out, peak -12.4 dBFS, limiter idle, render 0.41 ms of "
            "10.67 ms",
            "[buf] slot 3 depth 41 ms target 40 ms drift -0.2 ms; resampler ratio 1.000012 (hold)",
            "[tcp] client 127.0.0.1:49822 keepalive ok, rtt 0.2 ms, sent 18432 bytes, queue empty",
            "[dbg] scheduler woke 0.03 ms late; watchdog fed; heap 14.2 MB; threads 9; fds 31",
        };
        text_ += talk[random(std::size(talk))];
        text_ += " #" + std::to_string(random(1'000'000)) + '\n';
    }
    void addPhones() {
        text_ += "sessions: 8\n";
        for (std::size_t phone = 0; phone < 8; ++phone) {
            text_ += "session:\t" + std::to_string(phone) + '\t' + std::to_string(2 * phone + 1) + '\t' +
                     std::to_string(second_ * 50) + '\t' + std::to_string(38 + random(6)) + "\t40\t0\t11." +
                     std::to_string(random(10)) + "\t4.25\tvoice\t192.168.1." + std::to_string(20 + phone) +
                     "\t48k s16 mono\t" + std::to_string(70 + phone) + "\tKüche – Pixel " +
                     std::to_string(phone) + '\n';
        }
    }
    void addDevices() {
        text_ +=
            "devices: 2\ndevice:\t1\t16\t1\tBlackHole16ch_UID\tBlackHole "
            "16ch\ndevice:\t0\t2\t1\tBuiltIn\tSpeakers\n";
    }
    void cut() {
        const std::string_view all = text_;
        for (std::size_t begin = 0; begin < all.size();) {
            const auto limit = std::min(begin + (64U << 10), all.size());
            const auto end = all.rfind('\n', limit - 1) + 1;
            chunks_.push_back(all.substr(begin, end - begin));
            begin = end;
        }
    }

    std::mt19937 generator_{1};
    std::size_t second_ = 0;
    std::string text_;
    std::vector<std::string_view> chunks_;
    std::string path_;
};

const Stream& stream() {
    static const Stream made;
    return made;
}

template <typename Work>
double secondsFor(Work&& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::string grepCommand() {
    std::string command = "grep -F -c";
    for (const char* marker :
         {"devices: ", "device:\t", "sessions: ", "session:\t", "align=off", "align=on",
          "pairing code: ", "pairing: REJECTED", "pairing: too many wrong codes", "phone=yes",
          "phone=waiting", "routing to default-output", "routing to VIRTUAL"}) {
        command += std::string(" -e '") + marker + "'";
    }
    return command + " " + stream().path();
}

/// Reads grep's answer: with its output thrown away it would stop at the first match.
bool grep(const std::string& command) {
    std::FILE* output = popen(command.c_str(), "r");
    if (!output) return false;
    int lines = 0;
    const bool counted = std::fscanf(output, "%d", &lines) == 1 && lines > 0;
    pclose(output);
    return counted;
}

/// Both read the whole stream by turns. "grep/ours" is the ratio of the times: above 1, ours is the faster.
void BM_IngestBesideGrep(benchmark::State& state) {
    test::TestPlatform system;
    const auto delegate = std::make_shared<AppDelegate>(system.platform);
    delegate->applicationDidFinishLaunching();
    delegate->ingest(std::string(200'000, 'x'));
    const std::string command = grepCommand();
    double ourSeconds = 0;
    double grepSeconds = 0;
    for ([[maybe_unused]] auto _ : state) {
        const double seconds = secondsFor([&] {
            for (const auto chunk : stream().chunks())
                delegate->ingest(chunk);
        });
        state.SetIterationTime(seconds);
        ourSeconds += seconds;
        grepSeconds += secondsFor([&] {
            if (!grep(command)) state.SkipWithError("grep failed");
        });
    }
    state.counters["grep/ours"] = grepSeconds / ourSeconds;
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * stream().text().size()));
}
BENCHMARK(BM_IngestBesideGrep)->Unit(benchmark::kMillisecond)->UseManualTime();

}  // namespace

}  // namespace orvane
