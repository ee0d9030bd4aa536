// The text is written to a file without a name (O_TMPFILE, open(2)), which vanishes with us. Only rename(2)
// replaces a file, and it needs a name: for those two calls the new file has one.
#include "linux/files/AtomicWrite.h"

#include "posix/Descriptor.h"

#include <cerrno>
#include <cstdio>

#include <sys/stat.h>

namespace orvane {

namespace {

/// Of a new file. What is chosen here is nobody else's business.
constexpr mode_t privateFileMode = 0600;
/// More names than one: a folder that somebody has made under the first must not block a setting for ever.
constexpr int maxPassingNames = 8;

struct Target {
    std::string folder;
    std::string name;

    /// Of the new file, in the same folder, for a moment.
    std::string passingName(int number) const {
        return "." + name + ".new" + (number == 0 ? "" : std::to_string(number));
    }
};

Target split(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) return {".", path};
    return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

int writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        if (count == 0) return EIO;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return ::fsync(descriptor) == 0 ? 0 : errno;
}

int moveIntoPlace(int folder, const Target& target, const std::string& passing) {
    if (::renameat(folder, passing.c_str(), folder, target.name.c_str()) == 0) return 0;
    const int error = errno;
    ::unlinkat(folder, passing.c_str(), 0);
    return error;
}

/// Has `make` make a file under a passing name, which may still be there from a run that was killed, and
/// returns that name; empty with `errno` when none can be had.
std::string underPassingName(int folder, const Target& target, const auto& make) {
    for (int number = 0; number < maxPassingNames; ++number) {
        std::string passing = target.passingName(number);
        ::unlinkat(folder, passing.c_str(), 0);
        if (make(passing.c_str())) return passing;
        if (errno != EEXIST) return {};
    }
    return {};
}

/// A file that is replaced keeps its mode, but for what lets everybody write.
void keepMode(int folder, const Target& target, int file) {
    struct stat old = {};
    if (::fstatat(folder, target.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(old.st_mode))
        return;
    ::fchmod(file, old.st_mode & 07777 & ~mode_t{S_IWOTH});
}

Descriptor openFolder(const Target& target) {
    return Descriptor(::open(target.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

}  // namespace

int replaceFile(const std::string& path, std::string_view text) {
    const Target target = split(path);
    if (target.name.empty()) return ENOENT;
    const Descriptor folder = openFolder(target);
    if (!folder) return errno;

    const Descriptor file(::openat(folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, privateFileMode));
    if (!file) {
        const bool isUnknown = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL;
        return isUnknown ? replaceFileByNamed(path, text) : errno;
    }
    keepMode(folder.get(), target, file.get());
    if (const int error = writeAll(file.get(), text)) return error;

    const std::string unnamed = "/proc/self/fd/" + std::to_string(file.get());
    const std::string passing = underPassingName(folder.get(), target, [&](const char* name) {
        return ::linkat(AT_FDCWD, unnamed.c_str(), folder.get(), name, AT_SYMLINK_FOLLOW) == 0;
    });
    return passing.empty() ? errno : moveIntoPlace(folder.get(), target, passing);
}

int replaceFileByNamed(const std::string& path, std::string_view text) {
    const Target target = split(path);
    if (target.name.empty()) return ENOENT;
    const Descriptor folder = openFolder(target);
    if (!folder) return errno;

    Descriptor file;
    const std::string passing = underPassingName(folder.get(), target, [&](const char* name) {
        constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
        file.reset(::openat(folder.get(), name, flags, privateFileMode));
        return static_cast<bool>(file);
    });
    if (passing.empty()) return errno;
    keepMode(folder.get(), target, file.get());
    if (const int error = writeAll(file.get(), text)) {
        ::unlinkat(folder.get(), passing.c_str(), 0);
        return error;
    }
    return moveIntoPlace(folder.get(), target, passing);
}

}  // namespace orvane
