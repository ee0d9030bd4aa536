#include "linux/system/SyslogSystemLog.h"

#include "text/HarmlessText.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <string>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace orvane {

namespace {

/// The form of RFC 3164, section 4.1, as glibc writes it: priority, local time, name and process.
std::string datagram(const std::string& text) {
    constexpr std::array months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    ::localtime_r(&now, &local);
    std::array<char, 32> time;  // Not by the locale: its months would be no months to the daemon.
    std::strftime(time.data(), time.size(), " %e %H:%M:%S ", &local);
    return "<" + std::to_string(LOG_USER | LOG_NOTICE) + ">" +
           months.at(static_cast<std::size_t>(local.tm_mon)) + time.data() + "orvane[" +
           std::to_string(::getpid()) + "]: " + text;
}

int openSocket() {
    return ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

}  // namespace

SyslogSystemLog::SyslogSystemLog(bool echoes, std::string socketPath)
    : echoes_(echoes && ::isatty(STDERR_FILENO) == 1),
      socketPath_(std::move(socketPath)),
      socket_(openSocket()) {}

void SyslogSystemLog::log(std::string_view line) {
    std::string text = harmless(line);
    {
        const std::lock_guard lock(mutex_);
        const bool isToldOfLoss =
            lost_ == 0 || send("Orvane: " + std::to_string(lost_) + " lines were lost: the log took none");
        if (isToldOfLoss) lost_ = 0;
        if (!isToldOfLoss || !send(text)) ++lost_;
    }
    if (!echoes_) return;
    text += '\n';
    [[maybe_unused]] const auto written = ::write(STDERR_FILENO, text.data(), text.size());
}

/// A daemon that has been restarted has another socket under the old name: one new attempt.
bool SyslogSystemLog::send(const std::string& text) {
    const std::string packet = datagram(text);
    const auto isTaken = [&] {
        return socket_ && ::send(socket_.get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
                              static_cast<ssize_t>(packet.size());
    };
    if (isTaken()) return true;
    if (socket_ && (errno == EAGAIN || errno == EMSGSIZE)) return false;
    connect();
    return isTaken();
}

void SyslogSystemLog::connect() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath_.copy(address.sun_path, sizeof address.sun_path - 1);
    if (!socket_) socket_.reset(openSocket());
    // Where nobody listens, the next send says so.
    static_cast<void>(::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
}

void OnceLog::log(std::string_view line) {
    const std::size_t arrow = std::min(line.rfind(" -> "), line.size());
    const std::string_view subject = line.substr(0, arrow);
    const std::string_view status = line.substr(arrow);
    std::size_t leftOut = 0;
    {
        const std::lock_guard lock(mutex_);
        const TimePoint now = clock_.now();
        if (isRepeated(subject, status, now)) return;
        if (now - secondBegan_ >= Duration(1.0)) {
            leftOut = newInSecond_ - std::min(newInSecond_, maxASecond);
            secondBegan_ = now;
            newInSecond_ = 0;
        }
        if (++newInSecond_ > maxASecond) return;
        remember(subject, status, now);
    }
    if (leftOut > 0) log_("Orvane: " + std::to_string(leftOut) + " lines were left out: too many at once");
    log_(line);
}

bool OnceLog::isRepeated(std::string_view subject, std::string_view status, TimePoint now) {
    const auto known = heard_.find(subject);
    if (known == heard_.end() || known->second.status != status) return false;
    return now - std::exchange(known->second.when, now) < silence;
}

void OnceLog::remember(std::string_view subject, std::string_view status, TimePoint now) {
    if (heard_.size() >= maxSubjects && !heard_.contains(subject)) forgetOldest();
    heard_.insert_or_assign(std::string(subject), Heard{std::string(status), now});
}

void OnceLog::forgetOldest() {
    heard_.erase(std::ranges::min_element(heard_, {}, [](const auto& entry) { return entry.second.when; }));
}

}  // namespace orvane
