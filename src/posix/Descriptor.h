// A file descriptor that is closed with its owner.
#pragma once

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orvane {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) reset(std::exchange(other.descriptor_, -1));
        return *this;
    }
    ~Descriptor() { reset(); }

    /// -1 when there is none.
    int get() const { return descriptor_; }
    explicit operator bool() const { return descriptor_ >= 0; }
    void reset(int descriptor = -1) {
        if (descriptor_ >= 0) ::close(descriptor_);
        descriptor_ = descriptor;
    }

  private:
    int descriptor_ = -1;
};

/// Opens /dev/null in the place of each of the three standard descriptors that the program was started
/// without, so that nothing else it opens is taken for one. Before anything is opened.
inline void fillStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", O_RDWR);  // Takes the lowest that is free.
}

}  // namespace orvane
