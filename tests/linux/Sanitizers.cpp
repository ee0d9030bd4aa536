// What LeakSanitizer is told: what libraries keep until the process ends is not ours to judge.

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the sanitizer's own name.
extern "C" {

const char* __lsan_default_suppressions();
const char* __lsan_default_suppressions() {
    // libedit keeps the names of functions that were added to an editor, and ncurses what it knows of a
    // terminal. Their callers do not show in the stack.
    return "leak:wcsdup\n"
           "leak:_nc_trim_sgr0\n";
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)
