# GoogleTest for macOS, from the source that Debian installs (package googletest): the library beside it is
# Linux's.
set(source /usr/src/googletest)
add_library(gmock STATIC ${source}/googletest/src/gtest-all.cc ${source}/googlemock/src/gmock-all.cc
                         ${source}/googletest/src/gtest_main.cc)
target_include_directories(gmock SYSTEM PUBLIC ${source}/googletest/include ${source}/googlemock/include
                                        PRIVATE ${source}/googletest ${source}/googlemock)
target_compile_options(gmock PRIVATE -w)
# The tests are compiled and linked, never run: so as fast as can be.
target_compile_options(gmock INTERFACE -O0 -fno-sanitize=undefined)
foreach(name gtest gmock gtest_main)
  add_library(GTest::${name} ALIAS gmock)
endforeach()
