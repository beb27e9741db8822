#include "format_fuzzer.h"

// Pages are drawn whole before the first of their rows is delivered: of large ones the fuzzer would
// see little but white.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FILEINFO info;
  if (T_FileInfoMemory(data, &info, static_cast<uint32_t>(size)) != T_OK) return 0;
  if (int64_t{info.Width} * info.Height > 1 << 20) return 0;
  constexpr uint32_t kDepths = 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24;
  return tavo::fuzz::load_save_load(T_FORMAT_WMF, kDepths, data, size);
}
