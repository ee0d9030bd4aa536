// Under the sanitizers the program is linked so that its _Exit leads here, since that runs none of the
// handlers that would look for leaks.

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the sanitizer's and the linker's
// names.
extern "C" {

[[gnu::weak]] void __lsan_do_leak_check();  // ThreadSanitizer has none.
[[noreturn]] void __real__Exit(int status);

[[noreturn]] void __wrap__Exit(int status);
void __wrap__Exit(int status) {
    if (__lsan_do_leak_check != nullptr) __lsan_do_leak_check();
    __real__Exit(status);
}
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)
