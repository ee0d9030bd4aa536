// The bridge's connection into the server, and the end of a link.
#include "bluetooth/BluetoothBridge.h"
#include "bluetooth/LocalRelay.h"
#include "platform/Platform.h"
#include "platform/Threads.h"

#include <utility>

namespace orvane {

bool BluetoothBridge::connectLocal() {
    // The new socket comes before the old one is closed, so that their numbers differ: a reader's end is
    // matched to the connection by number.
    const int fd = makeServerSocket();
    closeLocal();
    if (fd < 0) return false;

    const auto weak = weak_from_this();
    LocalReader::Handlers handlers;
    handlers.received = [weak](const LocalReader::Bytes& chunk) {
        if (const auto self = weak.lock()) self->send(FrameType::data, chunk);
    };
    handlers.ended = [weak, fd] {
        if (const auto self = weak.lock()) self->localEnded(fd);
    };
    auto reader = std::make_shared<LocalReader>(fd, platform_.runLoop, hasChannel_, std::move(handlers));
    if (!reader->isOpen() || !connectToServer(fd, port_)) {
        closeServerSocket(fd);
        return false;
    }
    localFd_ = fd;
    localReader_ = reader;
    platform_.threads.start("orvane.bt.local", [weak, reader] {
        if (!weak.expired()) reader->run();
    });
    return true;
}

void BluetoothBridge::closeLocal() {
    if (localReader_) localReader_->stop();
    localReader_.reset();
    if (localFd_ >= 0) closeServerSocket(std::exchange(localFd_, -1));
}

/// The reader of the connection `fd` has come to its end. Does nothing when the bridge has closed or replaced
/// that connection meanwhile, unless the new one was given the same number.
void BluetoothBridge::localEnded(int fd) {
    if (localFd_ != fd) return;
    closeLocal();
    if (channel_) setState(BtState::searching(deviceName()));
}

void BluetoothBridge::teardown() {
    closeLocal();
    if (channel_) {
        channel_->setDelegate({});
        channel_->closeChannel();
    }
    setChannel(nullptr);
    channelOpen_ = false;
    openedAt_.reset();
    inbox_.clear();
}

}  // namespace orvane
