# What makes a mistake in memory end the program instead of obeying whoever provoked it. Sanitizers find more, and want to be alone.
include(CheckCXXSourceCompiles)
include(CheckCXXCompilerFlag)

# An older libc warns of level 3, and takes it for 2.
set(CMAKE_REQUIRED_FLAGS "-O2 -Werror")
set(CMAKE_REQUIRED_DEFINITIONS -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
check_cxx_source_compiles("#include <cstdio>\nint main() {}" ORVANE_FORTIFY_3)
unset(CMAKE_REQUIRED_FLAGS)
unset(CMAKE_REQUIRED_DEFINITIONS)
set(fortify -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=$<IF:$<BOOL:${ORVANE_FORTIFY_3}>,3,2>)
# It checks what the optimiser knows, and warns where there is none.
add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:${fortify}>")

foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "ORVANE_HAS${flag}" has)
  check_cxx_compiler_flag(${flag} ${has})  # Not every processor knows the last.
  if(${has})
    add_compile_options(${flag})
  endif()
endforeach()

add_compile_options(-fPIE)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
add_link_options(-pie -Wl,-z,relro -Wl,-z,now)
