// The text is written to a file without a name (O_TMPFILE, open(2)), which vanishes with us. Only rename(2)
// replaces a file, and it needs a name: for those two calls the new file has one. They are made by a child in
// a session of its own, which a kill of this process, or of its group, does not reach. Should the machine
// itself stop between the two, the name is found and taken away at the next write.
#include "linux/system/AtomicWrite.h"

#include "posix/Descriptor.h"

#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr mode_t fileMode = 0644;

struct Target {
    std::string folder;
    std::string name;
    std::string passingName;  // Of the new file, in the same folder, for a moment.
};

Target split(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::string folder = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    return {folder, name, "." + name + ".new"};
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::fsync(descriptor) == 0;
}

bool moveIntoPlace(int folder, const Target& target) {
    const char* passing = target.passingName.c_str();
    if (::renameat(folder, passing, folder, target.name.c_str()) == 0) return true;
    ::unlinkat(folder, passing, 0);
    return false;
}

// Only async-signal-safe calls: this runs between fork and exit.
bool nameAndMove(int folder, const Target& target, const char* unnamed) {
    const char* passing = target.passingName.c_str();
    const auto link = [&] { return ::linkat(AT_FDCWD, unnamed, folder, passing, AT_SYMLINK_FOLLOW) == 0; };
    if (!link()) {
        if (errno != EEXIST || ::unlinkat(folder, passing, 0) != 0 || !link()) return false;
    }
    return moveIntoPlace(folder, target);
}

bool inOwnSession(const auto& work) {
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);  // The child runs none of our handlers.
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid();
        ::_exit(work() ? 0 : 1);
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child < 0) return false;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// As much as `nameAndMove`, and the writing: for filesystems that know no files without a name.
bool writeAndMove(int folder, const Target& target, std::string_view text) {
    const char* passing = target.passingName.c_str();
    ::unlinkat(folder, passing, 0);
    const int file =
        ::openat(folder, passing, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, fileMode);
    if (file < 0) return false;
    if (writeAll(file, text)) return moveIntoPlace(folder, target);
    ::unlinkat(folder, passing, 0);
    return false;
}

Descriptor openFolder(const Target& target) {
    return Descriptor(::open(target.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

bool replaceFile(const std::string& path, std::string_view text) {
    const Target target = split(path);
    const Descriptor folder = openFolder(target);
    if (!folder || target.name.empty()) return false;

    const Descriptor file(::openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, fileMode));
    const bool isUnknown = !file && (errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL);
    if (isUnknown) return replaceFileByNamed(path, text);

    const std::string unnamed = "/proc/self/fd/" + std::to_string(file.get());
    return file && writeAll(file.get(), text) &&
           inOwnSession([&] { return nameAndMove(folder.get(), target, unnamed.c_str()); });
}

bool replaceFileByNamed(const std::string& path, std::string_view text) {
    const Target target = split(path);
    const Descriptor folder = openFolder(target);
    return folder && inOwnSession([&] { return writeAndMove(folder.get(), target, text); });
}

}  // namespace orvane
