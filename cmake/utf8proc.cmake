# utf8proc from its source (ORVANE_UTF8PROC_SOURCE), linked in: for builds whose target the installed library
# does not fit, such as a universal one.
enable_language(C)
add_library(utf8proc STATIC ${ORVANE_UTF8PROC_SOURCE}/utf8proc.c)
target_include_directories(utf8proc SYSTEM PUBLIC ${ORVANE_UTF8PROC_SOURCE})
target_compile_definitions(utf8proc PUBLIC UTF8PROC_STATIC)
target_compile_options(utf8proc PRIVATE -w)
add_library(PkgConfig::utf8proc ALIAS utf8proc)
