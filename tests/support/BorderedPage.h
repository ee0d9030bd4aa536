// A place for texts where reading one byte before or behind them ends the program: what looks at many bytes
// at once must look at none that are not the text's.
#pragma once

#include <cstdlib>
#include <cstring>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

namespace orvane::test {

class BorderedPage {
  public:
    BorderedPage() {
        if (pages_ == MAP_FAILED) std::abort();
        if (::mprotect(page(), size_, PROT_READ | PROT_WRITE) != 0) std::abort();
    }
    ~BorderedPage() { ::munmap(pages_, 3 * size_); }
    BorderedPage(const BorderedPage&) = delete;
    BorderedPage& operator=(const BorderedPage&) = delete;

    /// A copy of `text`, no longer than a page, that begins where the page does. Good until the next one.
    std::string_view atFront(std::string_view text) { return at(0, text); }
    /// One that ends where the page does.
    std::string_view atEnd(std::string_view text) { return at(size_ - text.size(), text); }

  private:
    char* page() const { return static_cast<char*>(pages_) + size_; }
    std::string_view at(std::size_t offset, std::string_view text) {
        std::memcpy(page() + offset, text.data(), text.size());
        return {page() + offset, text.size()};
    }

    const std::size_t size_ = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* const pages_ = ::mmap(nullptr, 3 * size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};

}  // namespace orvane::test
