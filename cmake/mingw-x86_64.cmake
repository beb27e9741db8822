# 64-bit Windows.
set(machine x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
