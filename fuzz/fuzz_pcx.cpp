#include "format_fuzzer.h"

// The last byte but one chooses the page.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size >= 2) T_SetPageNumber(1 + data[size - 2] % 4);
  return tavo::fuzz::load_save_load(T_FORMAT_PCX, 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24, data,
                                    size);
}
