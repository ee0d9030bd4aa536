#include "support/OwnResources.h"

#include <fcntl.h>

#ifdef __APPLE__
#include <mach/mach.h>
#else
#include <filesystem>
#include <iterator>
#include <system_error>
#endif

namespace orvane::test {

std::size_t openDescriptors() {
    constexpr int maxLooked = 4096;
    std::size_t count = 0;
    for (int descriptor = 0; descriptor < maxLooked; ++descriptor)
        count += ::fcntl(descriptor, F_GETFD) >= 0;
    return count;
}

#ifdef __APPLE__

std::optional<std::size_t> runningThreads() {
    thread_act_array_t threads = nullptr;
    mach_msg_type_number_t count = 0;
    if (task_threads(mach_task_self(), &threads, &count) != KERN_SUCCESS) return std::nullopt;
    for (mach_msg_type_number_t i = 0; i < count; ++i)
        mach_port_deallocate(mach_task_self(), threads[i]);
    vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(threads), count * sizeof *threads);
    return count;
}

#else

std::optional<std::size_t> runningThreads() {
    std::error_code error;
    const std::filesystem::directory_iterator tasks("/proc/self/task", error);
    if (error) return std::nullopt;
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

#endif

}  // namespace orvane::test
