# Builds for macOS on Linux, with zig's compiler and declarations of our own for the frameworks: see
# docs/macos.md, and scripts/build-macos, which sets the two variables.
#   ORVANE_ZIG         path of the zig program
#   ORVANE_MACOS_ARCH  arm64 or x86_64
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVANE_ZIG ORVANE_MACOS_ARCH)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${ORVANE_MACOS_ARCH})
set(CMAKE_SIZEOF_VOID_P 8)
set(CMAKE_OSX_SYSROOT "")

string(REPLACE arm64 aarch64 target ${ORVANE_MACOS_ARCH}-macos.11.0)
set(sdk ${CMAKE_CURRENT_LIST_DIR}/../tests/macos/sdk)
set(CMAKE_C_COMPILER ${ORVANE_ZIG} cc)
set(CMAKE_CXX_COMPILER ${ORVANE_ZIG} c++)
set(CMAKE_OBJCXX_COMPILER ${ORVANE_ZIG} c++)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET ${target})
  # zig names a language option of its own, which the compiler then calls unused.
  set(CMAKE_${language}_FLAGS_INIT "-F\"${sdk}\" -Wno-unused-command-line-argument")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-L\"${sdk}/lib\"")

include(${CMAKE_CURRENT_LIST_DIR}/newest_tool.cmake)
newest_tool(CMAKE_AR llvm-ar)
newest_tool(CMAKE_RANLIB llvm-ranlib)
newest_tool(CMAKE_INSTALL_NAME_TOOL llvm-install-name-tool)
# Nothing that is installed here fits the target.
set(ENV{PKG_CONFIG_LIBDIR} ${sdk})
set(CMAKE_FIND_ROOT_PATH ${sdk})
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

# Programs built here cannot run here.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
# GoogleTest, built for the target.
set(GTest_DIR ${CMAKE_CURRENT_LIST_DIR}/../tests/macos/gtest)
set(CMAKE_DISABLE_PRECOMPILE_HEADERS ON)  # zig has no language for a header by itself
