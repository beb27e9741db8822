#include "format_fuzzer.h"

// Saves make grey pictures, with indices of their own: nothing can be compared.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  tavo::fuzz::load_save_load(T_FORMAT_EPS_TEXT, 0, data, size);
  return tavo::fuzz::load_save_load(T_FORMAT_EPS, 0, data, size);
}
