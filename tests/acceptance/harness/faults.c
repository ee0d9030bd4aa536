// Preloaded into the program under test: makes of the system a worse one, as files in the folder $ORVANE_TEST_FAULTS say.
//
//   no-threads, no-forks   none is to be had
//   hoard                  while it is there, every descriptor is in use; those that come free later as well, with hoard-more
//   failing                lines "CALL ERRNO": that call fails with that error when it is about a file below the folder $ORVANE_TEST_SETTINGS.
//                          "tmpfile" and "create" are openat(2) with O_TMPFILE and O_CREAT; "write" writes half before it fails
//   clock                  "SECONDS": the clock that only counts on is ahead by as much, as after a sleep of the machine
//   calendar               "SECONDS": the calendar's clock is ahead by as much, or behind
//
// The system's log is the socket "log" there.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/un.h>
#include <time.h>
#include <unistd.h>

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

enum { maxHoard = 65536 };
static int hoard[maxHoard];
static int hoarded;
static pthread_mutex_t hoarding = PTHREAD_MUTEX_INITIALIZER;

static void pathTo(char* path, size_t size, const char* what) {
    const char* folder = getenv("ORVANE_TEST_FAULTS");
    snprintf(path, size, "%s/%s", folder ? folder : "/nonexistent", what);
}

static int isWanted(const char* what) {
    char path[200];
    pathTo(path, sizeof path, what);
    return access(path, F_OK) == 0;
}

/// The number behind `name` in the file `what`; 0 when there is none. Without a descriptor to be had there is none.
static int numberIn(const char* what, const char* name) {
    char path[200], text[512];
    pathTo(path, sizeof path, what);
    const int file = REAL(open)(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) return 0;
    const ssize_t count = REAL(read)(file, text, sizeof text - 1);
    REAL(close)(file);
    if (count <= 0) return 0;
    text[count] = 0;
    if (!*name) return atoi(text);
    const char* at = strstr(text, name);
    return at && at[strlen(name)] == ' ' ? atoi(at + strlen(name)) : 0;
}

// Descriptors

static void followHoard(void) {
    const int wanted = isWanted("hoard");
    if (pthread_mutex_trylock(&hoarding) != 0) return;  // Another thread is at it.
    if (wanted && (hoarded == 0 || isWanted("hoard-more"))) {
        while (hoarded < maxHoard && (hoard[hoarded] = REAL(open)("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0) ++hoarded;
    } else if (!wanted) {
        while (hoarded > 0) REAL(close)(hoard[--hoarded]);
    }
    pthread_mutex_unlock(&hoarding);
}

int ppoll(struct pollfd* sources, nfds_t count, const struct timespec* patience, const sigset_t* signals) {
    followHoard();
    return REAL(ppoll)(sources, count, patience, signals);
}

int poll(struct pollfd* sources, nfds_t count, int patience) {
    followHoard();
    return REAL(poll)(sources, count, patience);
}

// What the compiler makes of it in a fortified build, as that of GLib is.
int __poll_chk(struct pollfd* sources, nfds_t count, int patience, size_t room);
int __poll_chk(struct pollfd* sources, nfds_t count, int patience, size_t room) {
    return room / sizeof *sources < count ? -1 : poll(sources, count, patience);
}

// Threads and processes

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    if (isWanted("no-threads")) return EAGAIN;
    return REAL(pthread_create)(thread, attributes, body, argument);
}

pid_t fork(void) {
    if (!isWanted("no-forks")) return REAL(fork)();
    errno = EAGAIN;
    return -1;
}

// A function that has returned cannot hand on what shares its stack: a copy does as well.
pid_t vfork(void) { return fork(); }

// Files

static int isSetting(int folder, const char* name) {
    const char* settings = getenv("ORVANE_TEST_SETTINGS");
    char link[64], path[4096];
    if (!settings) return 0;
    if (name && *name == '/') return strncmp(name, settings, strlen(settings)) == 0;
    snprintf(link, sizeof link, "/proc/self/fd/%d", folder);
    const ssize_t count = readlink(link, path, sizeof path - 1);
    return count > 0 && strncmp(path, settings, strlen(settings)) == 0;
}

static int fails(const char* call, int folder, const char* name) {
    if (!isSetting(folder, name)) return 0;
    const int error = numberIn("failing", call);
    if (error) errno = error;
    return error;
}

int mkdir(const char* path, mode_t mode) {
    return fails("mkdir", -1, path) ? -1 : REAL(mkdir)(path, mode);
}

int open(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return fails("open", -1, path) ? -1 : REAL(open)(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    if ((flags & O_TMPFILE) == O_TMPFILE && fails("tmpfile", folder, path)) return -1;
    if ((flags & O_CREAT) && fails("create", folder, path)) return -1;
    return REAL(openat)(folder, path, flags, mode);
}

ssize_t write(int fd, const void* bytes, size_t size) {
    static __thread int isHalf;
    if (!fails("write", fd, NULL)) return REAL(write)(fd, bytes, size);
    isHalf = !isHalf;
    return isHalf && size > 1 ? REAL(write)(fd, bytes, size / 2) : -1;
}

int fsync(int fd) {
    return fails("fsync", fd, NULL) ? -1 : REAL(fsync)(fd);
}

int linkat(int from, const char* old, int to, const char* name, int flags) {
    return fails("linkat", to, name) ? -1 : REAL(linkat)(from, old, to, name, flags);
}

int renameat(int from, const char* old, int to, const char* name) {
    return fails("renameat", to, name) ? -1 : REAL(renameat)(from, old, to, name);
}

// The clocks, and the system's log

int clock_gettime(clockid_t clock, struct timespec* now) {
    const int result = REAL(clock_gettime)(clock, now);
    if (result == 0 && clock == CLOCK_MONOTONIC) now->tv_sec += numberIn("clock", "");
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) now->tv_sec += numberIn("calendar", "");
    return result;
}

int gettimeofday(struct timeval* restrict now, void* restrict zone) {
    const int result = REAL(gettimeofday)(now, zone);
    if (result == 0) now->tv_sec += numberIn("calendar", "");
    return result;
}

time_t time(time_t* result) {
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (result) *result = now.tv_sec;
    return now.tv_sec;
}

int connect(int fd, const struct sockaddr* address, socklen_t size) {
    struct sockaddr_un there = {.sun_family = AF_UNIX};
    if (address->sa_family != AF_UNIX || strcmp(((const struct sockaddr_un*)address)->sun_path, "/dev/log") != 0)
        return REAL(connect)(fd, address, size);
    pathTo(there.sun_path, sizeof there.sun_path, "log");
    return REAL(connect)(fd, (struct sockaddr*)&there, sizeof there);
}
