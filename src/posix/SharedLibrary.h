// A library that is loaded when something of it is first needed, and need not be installed.
#pragma once

#include <initializer_list>

#include <dlfcn.h>

namespace orvane {

/// Loaded for as long as the process lives.
class SharedLibrary {
  public:
    /// The first of these that is there: one library has other names on other systems.
    explicit SharedLibrary(std::initializer_list<const char*> names) {
        for (const char* name : names)
            if (!handle_) handle_ = ::dlopen(name, RTLD_LAZY | RTLD_LOCAL);
    }

    template <typename Function>
    void find(Function& function, const char* name) {
        function = handle_ ? reinterpret_cast<Function>(::dlsym(handle_, name)) : nullptr;
        isComplete_ = isComplete_ && function;
    }

    /// Everything that was looked for has been found.
    bool isComplete() const { return isComplete_; }

  private:
    void* handle_ = nullptr;
    bool isComplete_ = true;
};

}  // namespace orvane
