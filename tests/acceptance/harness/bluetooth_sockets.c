// Preloaded into the program under test: sockets of the kernel's Bluetooth protocols become UNIX sockets in
// the folder ORVANE_TEST_BLUETOOTH, where the test plays the phone. An RFCOMM channel is "rfcomm-ADDRESS-CHANNEL"
// there, a service discovery server "sdp-ADDRESS"; our end is bound to "from-ADAPTER-NUMBER". The server's port
// is that of ORVANE_TEST_PORT, and the system's log is "log".
//
// Files in the folder make the system a worse one: "no-threads", "no-descriptors" (for these sockets),
// "interruptions" (each third call on a socket is interrupted), "halves" (at most half of a write is taken).
// With ORVANE_TEST_SWIFT set the system is a good one for good: nothing is looked for on the way, and a link keeps as
// much as a UNIX socket does, so that what is measured is the program.
#define _GNU_SOURCE
#include <arpa/inet.h>
#include <dlfcn.h>
#include <errno.h>
#include <netinet/in.h>
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

enum { bluetooth = 31, solBluetooth = 274, l2cap = 0, rfcomm = 3, maxDescriptor = 1024, serverPort = 5555 };

#define REAL(name)                                                        \
    ({                                                                    \
        static __typeof__(&name) real;                                    \
        real ? real : (real = (__typeof__(&name))dlsym(RTLD_NEXT, #name)); \
    })

static int protocolOf[maxDescriptor];  // One more than the protocol; 0: none of ours.
static int bound;
static int calls;
static int swift;

__attribute__((constructor)) static void begin(void) { swift = getenv("ORVANE_TEST_SWIFT") != NULL; }

static const char* folder(void) {
    const char* path = getenv("ORVANE_TEST_BLUETOOTH");
    return path ? path : "/nonexistent";
}

static int isWanted(const char* what) {
    if (swift) return 0;
    char path[200];
    snprintf(path, sizeof path, "%s/%s", folder(), what);
    return access(path, F_OK) == 0;
}

static int isOurs(int fd) { return fd >= 0 && fd < maxDescriptor && protocolOf[fd] != 0; }

static int isRelay(int fd) {
    int domain = 0;
    socklen_t size = sizeof domain;
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_INET;
}

static int interrupted(int fd) {
    if (swift) return 0;
    if (!isOurs(fd) && !isRelay(fd)) return 0;
    if (!isWanted("interruptions") || __sync_add_and_fetch(&calls, 1) % 3 != 0) return 0;
    errno = EINTR;
    return 1;
}

static void writeAddress(char* text, const unsigned char* b) {
    sprintf(text, "%02X:%02X:%02X:%02X:%02X:%02X", b[5], b[4], b[3], b[2], b[1], b[0]);
}

int socket(int domain, int type, int protocol) {
    if (domain != bluetooth) return REAL(socket)(domain, type, protocol);
    if (isWanted("no-descriptors")) {
        errno = EMFILE;
        return -1;
    }
    const int fd = REAL(socket)(AF_UNIX, type, 0);
    if (fd < 0 || fd >= maxDescriptor) return fd;
    protocolOf[fd] = protocol + 1;
    // What the kernel keeps of an RFCOMM link is some frames.
    const int size = 1;  // The kernel makes it its least: two frames.
    if (protocol == rfcomm && !swift) setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    return fd;
}

int close(int fd) {
    if (isOurs(fd)) protocolOf[fd] = 0;
    return REAL(close)(fd);
}

int bind(int fd, const struct sockaddr* address, socklen_t size) {
    if (!isOurs(fd)) return REAL(bind)(fd, address, size);
    char adapter[18];
    // sockaddr_rc has its address at 2, sockaddr_l2 behind its port at 4.
    writeAddress(adapter, (const unsigned char*)address + (protocolOf[fd] - 1 == rfcomm ? 2 : 4));
    struct sockaddr_un local = {.sun_family = AF_UNIX};
    snprintf(local.sun_path, sizeof local.sun_path, "%s/from-%s-%d", folder(), adapter,
             __sync_add_and_fetch(&bound, 1));
    return REAL(bind)(fd, (struct sockaddr*)&local, sizeof local);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t size) {
    if (isOurs(fd) && level == solBluetooth) return 0;
    return REAL(setsockopt)(fd, level, name, value, size);
}

int connect(int fd, const struct sockaddr* address, socklen_t size) {
    if (address->sa_family == AF_INET) {
        struct sockaddr_in there = *(const struct sockaddr_in*)address;
        const char* port = getenv("ORVANE_TEST_PORT");
        if (port && ntohs(there.sin_port) == serverPort) there.sin_port = htons((unsigned short)atoi(port));
        return REAL(connect)(fd, (struct sockaddr*)&there, sizeof there);
    }
    struct sockaddr_un there = {.sun_family = AF_UNIX};
    if (address->sa_family == AF_UNIX && strcmp(((const struct sockaddr_un*)address)->sun_path, "/dev/log") == 0) {
        snprintf(there.sun_path, sizeof there.sun_path, "%s/log", folder());
        return REAL(connect)(fd, (struct sockaddr*)&there, sizeof there);
    }
    if (!isOurs(fd)) return REAL(connect)(fd, address, size);
    const unsigned char* bytes = (const unsigned char*)address;
    char phone[18];
    if (protocolOf[fd] - 1 == rfcomm) {
        writeAddress(phone, bytes + 2);
        snprintf(there.sun_path, sizeof there.sun_path, "%s/rfcomm-%s-%d", folder(), phone, bytes[8]);
    } else {
        writeAddress(phone, bytes + 4);
        snprintf(there.sun_path, sizeof there.sun_path, "%s/sdp-%s", folder(), phone);
    }
    if (REAL(connect)(fd, (struct sockaddr*)&there, sizeof there) == 0) return 0;
    if (errno == ENOENT || errno == ECONNREFUSED) errno = EHOSTDOWN;
    return -1;
}

ssize_t send(int fd, const void* bytes, size_t size, int flags) {
    if (interrupted(fd)) return -1;
    if (!swift && size > 1 && (isOurs(fd) || isRelay(fd)) && isWanted("halves")) size /= 2;
    return REAL(send)(fd, bytes, size, flags);
}

ssize_t recv(int fd, void* bytes, size_t size, int flags) {
    return interrupted(fd) ? -1 : REAL(recv)(fd, bytes, size, flags);
}

ssize_t read(int fd, void* bytes, size_t size) {
    return interrupted(fd) ? -1 : REAL(read)(fd, bytes, size);
}

// What the compiler makes of the two in a fortified build.
ssize_t __recv_chk(int fd, void* bytes, size_t size, size_t room, int flags);
ssize_t __recv_chk(int fd, void* bytes, size_t size, size_t room, int flags) {
    return size > room ? -1 : recv(fd, bytes, size, flags);
}

ssize_t __read_chk(int fd, void* bytes, size_t size, size_t room);
ssize_t __read_chk(int fd, void* bytes, size_t size, size_t room) {
    return size > room ? -1 : read(fd, bytes, size);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* argument) {
    if (isWanted("no-threads")) return EAGAIN;
    return REAL(pthread_create)(thread, attributes, body, argument);
}
