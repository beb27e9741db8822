#include "format_fuzzer.h"

// The size chooses how small the files become that are written.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  T_SetDeflateLevel(static_cast<int32_t>(size % 3));
  return tavo::fuzz::load_save_load(T_FORMAT_PNG, 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24, data,
                                    size);
}
