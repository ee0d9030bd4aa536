// Pipes that are read while somebody goes on writing.
#include "posix/Descriptor.h"
#include "posix/PendingBytes.h"

#include <algorithm>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane::test {

class PendingBytesTest : public testing::Test {
  protected:
    PendingBytesTest() {
        int ends[2];
        EXPECT_EQ(::pipe(ends), 0);
        reading.reset(ends[0]);
        writing.reset(ends[1]);
    }

    void write(const std::string& text) const {
        ASSERT_EQ(::write(writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    /// Writes until nothing more fits. Returns how much did.
    std::size_t fill() const {
        ::fcntl(writing.get(), F_SETFL, O_NONBLOCK);
        const std::string piece(4096, 'x');
        while (::write(writing.get(), piece.data(), piece.size()) > 0)
            ;
        ::fcntl(writing.get(), F_SETFL, 0);
        return pendingBytes(reading.get());
    }

    Descriptor reading;
    Descriptor writing;
};

TEST_F(PendingBytesTest, WhatIsThereIsReadAndTheEmptyPipeIsNotWaitedFor) {
    EXPECT_EQ(readPending(reading.get()), "");
    write("one ");
    write("two");
    EXPECT_EQ(pendingBytes(reading.get()), 7U);
    EXPECT_EQ(readPending(reading.get()), "one two");
    EXPECT_EQ(readPending(reading.get()), "");
}

TEST_F(PendingBytesTest, WhatIsLeftOfAStreamThatHasEndedIsRead) {
    write("last words");
    writing.reset();
    EXPECT_EQ(readPending(reading.get()), "last words");
    EXPECT_EQ(readPending(reading.get()), "");
    EXPECT_EQ(readPending(-1), "");
}

TEST_F(PendingBytesTest, AWriterThatGoesOnWritingHoldsNobody) {
    const std::size_t capacity = fill();
    const std::string more(std::size_t{16} << 20, 'y');
    std::thread writer([&] { write(more); });
    std::size_t read = 0;
    std::size_t most = 0;
    while (read < capacity + more.size()) {
        const std::size_t count = readPending(reading.get()).size();
        read += count;
        most = std::max(most, count);
    }
    writer.join();
    EXPECT_LE(most, capacity);
}

}  // namespace orvane::test
