#include "format_fuzzer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return tavo::fuzz::load_save_load(T_FORMAT_PCT, 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24, data,
                                    size);
}
