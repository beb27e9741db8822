#include "format_fuzzer.h"

// Pages are made whole before the first of their rows is delivered: of large ones the fuzzer would
// see little but white.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  T_SetDrawScale((data[size - 1] & 0x80) != 0 ? 3 : 1);
  T_SetDrawSmooth(data[size - 1] & 0x40);
  FILEINFO info;
  if (T_FileInfoMemory(data, &info, static_cast<uint32_t>(size)) != T_OK) return 0;
  if (info.BitsPerPixel == 24 && int64_t{info.Width} * info.Height > 1 << 18) return 0;
  return tavo::fuzz::load_save_load(T_FORMAT_PCT, 1u << 1 | 1u << 4 | 1u << 8 | 1u << 24, data,
                                    size);
}
