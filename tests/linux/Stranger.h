// Another user of this computer. Only root can play one: without it the test is to be skipped, and say so.
#pragma once

#include <array>
#include <csignal>
#include <functional>

#include <grp.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::test {

constexpr uid_t strangersNumber = 54321;

/// A process of that user, which does something and then stays until this object goes, with all it holds.
class Stranger {
  public:
    explicit Stranger(const std::function<bool()>& act) {
        std::array<int, 2> done{};
        if (::pipe(done.data()) != 0) return;
        process_ = ::fork();
        if (process_ == 0) {
            const bool isStranger = ::setgroups(0, nullptr) == 0 && ::setgid(strangersNumber) == 0 &&
                                    ::setuid(strangersNumber) == 0;
            const char answer = isStranger && act() ? 'y' : 'n';
            if (::write(done[1], &answer, 1) == 1) ::pause();
            ::_exit(0);
        }
        ::close(done[1]);
        char answer = 'n';
        succeeded_ = ::read(done[0], &answer, 1) == 1 && answer == 'y';
        ::close(done[0]);
    }
    ~Stranger() {
        if (process_ <= 0) return;
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
    Stranger(const Stranger&) = delete;
    Stranger& operator=(const Stranger&) = delete;

    /// That it could do what it was to do.
    bool succeeded() const { return succeeded_; }
    static bool canBePlayed() { return ::geteuid() == 0; }

  private:
    pid_t process_ = -1;
    bool succeeded_ = false;
};

}  // namespace orvane::test
