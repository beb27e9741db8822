# Compiler settings: tavo_flags for all our code, tavo_library_flags for the library module alone.
add_library(tavo_flags INTERFACE)
target_compile_options(tavo_flags INTERFACE
  $<$<COMPILE_LANGUAGE:C,CXX>:-Wall -Wextra -Wshadow -Werror>
  $<$<COMPILE_LANGUAGE:CXX>:-Wconversion -Wno-sign-conversion>)

add_library(tavo_library_flags INTERFACE)
target_compile_options(tavo_library_flags INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti -fno-threadsafe-statics>
  -fvisibility=hidden)

if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Every processor with SSE2, in the order that suits those of today. Callers enter with the stack
  # aligned to 4 bytes; vector spills need 16.
  add_compile_options(-march=i686 -mtune=generic -msse2 -mfpmath=sse -mstackrealign)
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
