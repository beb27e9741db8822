# Compiler settings: tavo_flags for all our code, tavo_library_flags for the library module alone.
add_library(tavo_flags INTERFACE)
target_compile_options(tavo_flags INTERFACE
  $<$<COMPILE_LANGUAGE:C,CXX>:-Wall -Wextra -Wshadow -Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wno-sign-conversion>)

add_library(tavo_library_flags INTERFACE)
target_compile_options(tavo_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fvisibility=hidden)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # How fast a kernel is must not hang on what stands before it.
  target_compile_options(tavo_library_flags INTERFACE
    $<$<CONFIG:Release>:-falign-functions=32 -falign-loops=32>)
endif()

if(EMSCRIPTEN)
  add_compile_options(-msimd128 -msse2)
elseif(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Every processor with SSE2, in the order that suits those of today. Callers enter with the stack
  # aligned to 4 bytes; vector spills need 16.
  add_compile_options(-march=i686 -mtune=generic -msse2 -mfpmath=sse -mstackrealign)
endif()

if(UNIX)
  # A disk bitmap may have nearly 4 GiB, and files are read to that size.
  add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

# Hardening of what is shipped; the sanitizers bring checks of their own. Without stack protector and
# fortified functions on Windows: programs that link the static library would need libssp for them.
if(WIN32)
  add_link_options(-Wl,--dynamicbase -Wl,--nxcompat)
  # The same sources give the same bytes.
  add_link_options(-Wl,--no-insert-timestamp)
elseif(NOT TAVO_SANITIZE AND NOT EMSCRIPTEN)
  set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fstack-protector-strong>
                      $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=2>)
  add_link_options(-Wl,-z,relro -Wl,-z,now)
  include(CheckPIESupported)
  check_pie_supported(LANGUAGES CXX)
endif()

if(TAVO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Warnings that follow the flow of data see impossible paths in instrumented code; the other
    # builds give them.
    add_compile_options(-Wno-stringop-overflow -Wno-array-bounds -Wno-maybe-uninitialized)
  endif()
endif()
if(TAVO_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Linking Windows programs: no DLL of the compiler's beside them.
if(WIN32)
  add_library(tavo_program_flags INTERFACE)
  target_link_options(tavo_program_flags INTERFACE -static)
else()
  add_library(tavo_program_flags INTERFACE)
endif()
