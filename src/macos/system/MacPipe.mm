#include "macos/system/MacPipe.h"

#include "posix/PendingBytes.h"

#include <poll.h>

namespace orvane {

namespace {

std::string_view bytes(NSData* data) { return {static_cast<const char*>(data.bytes), data.length}; }

/// What poll(2) says of the descriptor now.
short readiness(int descriptor) {
    pollfd entry{descriptor, POLLIN, 0};
    return poll(&entry, 1, 0) > 0 ? entry.revents : short{0};
}

NSData* availableData(NSFileHandle* handle) {
    @try {
        return handle.availableData;
    } @catch (NSException*) {
        return nil;
    }
}

NSData* dataToEndOfFile(NSFileHandle* handle) {
    @try {
        return [handle readDataToEndOfFile];
    } @catch (NSException*) {
        return nil;
    }
}

}  // namespace

MacPipe::~MacPipe() { [pipe_.fileHandleForWriting closeAndReturnError:nil]; }

void MacPipe::setReadabilityHandler(ReadabilityHandler handler) {
    // The handler holds the pipe until the stream ends; without an end to it, it would be called for ever.
    NSPipe* pipe = pipe_;
    pipe_.fileHandleForReading.readabilityHandler = ^(NSFileHandle* handle) {
      NSData* data = availableData(handle);
      if (data.length > 0) {
          handler(bytes(data));
      } else {
          pipe.fileHandleForReading.readabilityHandler = nil;
      }
    };
}

std::string MacPipe::readAvailable() { return readPending(pipe_.fileHandleForReading.fileDescriptor); }

std::string MacPipe::readDataToEndOfFile() {
    NSFileHandle* handle = pipe_.fileHandleForReading;
    // Only with every writer gone is the end there already, and reading up to it does not wait.
    if (readiness(handle.fileDescriptor) & POLLHUP) return std::string(bytes(dataToEndOfFile(handle)));
    return readAvailable();
}

}  // namespace orvane
