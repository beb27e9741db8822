# 32-bit Windows.
set(machine i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
