#include "text/Canonical.h"

#include <cstdlib>
#include <memory>
#include <optional>

#include <utf8proc.h>

namespace orvane {

namespace {

struct Free {
    void operator()(utf8proc_uint8_t* memory) const { std::free(memory); }
};

/// Normalization form D; nothing for what is no UTF-8.
class Decomposed {
  public:
    explicit Decomposed(std::string_view text) {
        utf8proc_uint8_t* memory = nullptr;
        length_ = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                               static_cast<utf8proc_ssize_t>(text.size()), &memory,
                               static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE));
        memory_.reset(memory);
    }

    std::optional<std::string_view> text() const {
        if (length_ < 0) return std::nullopt;
        return std::string_view(reinterpret_cast<const char*>(memory_.get()),
                                static_cast<std::size_t>(length_));
    }

  private:
    std::unique_ptr<utf8proc_uint8_t, Free> memory_;
    utf8proc_ssize_t length_ = 0;
};

}  // namespace

bool canonicallyEqual(std::string_view left, std::string_view right) {
    if (left == right) return true;
    const Decomposed decomposedLeft(left);
    const Decomposed decomposedRight(right);
    return decomposedLeft.text() && decomposedLeft.text() == decomposedRight.text();
}

}  // namespace orvane
