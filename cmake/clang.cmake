# Builds with the newest clang that is installed.
include(${CMAKE_CURRENT_LIST_DIR}/newest_tool.cmake)
newest_tool(ORVANE_CLANG clang++)
set(CMAKE_CXX_COMPILER ${ORVANE_CLANG})
