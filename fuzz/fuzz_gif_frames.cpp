#include "format_fuzzer.h"

// The last byte but one chooses the frame. Frames are not what a save of them loads as.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  T_SetGIFFrames(1);
  T_SetPageNumber(size > 1 ? data[size - 2] % 16 + 1 : 1);
  return tavo::fuzz::load_save_load(T_FORMAT_GIF, 0, data, size);
}
