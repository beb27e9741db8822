// BMP files, Windows and OS/2.
#include "format_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const uint32_t depths = 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24;
  const bool os2 = size > 0 && data[size - 1] % 2 != 0;
  return tavo::fuzz::load_save_load(os2 ? T_FORMAT_BMP_OS2 : T_FORMAT_BMP, depths, data, size);
}
