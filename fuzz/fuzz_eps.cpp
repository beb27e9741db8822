#include "format_fuzzer.h"

// Saves that are not direct make grey pictures, so nothing can be compared.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tavo::fuzz::load_save_load(T_FORMAT_EPS_TEXT, 0, data, size);
  return tavo::fuzz::load_save_load(T_FORMAT_EPS, 1u << 1, data, size);
}
