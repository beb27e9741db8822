# WebAssembly with Debian's Emscripten.
include(/usr/share/emscripten/cmake/Modules/Platform/Emscripten.cmake)
# Its standard library has no <ranges>; that of LLVM 16 for WebAssembly (libc++-16-dev-wasm32) has, and
# is configured alike: musl, no threads, the same version of the binary interface. What is used of it is
# in the headers.
set(CMAKE_CXX_FLAGS_INIT
    "-nostdinc++ -isystem /usr/lib/llvm-16/include/wasm32-wasi/c++/v1")
# Where the packages of node are that shorten scripts.
set(CMAKE_CXX_LINKER_LAUNCHER ${CMAKE_COMMAND} -E env NODE_PATH=/usr/share/nodejs)
