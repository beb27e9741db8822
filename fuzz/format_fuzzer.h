// What the fuzz targets of picture formats share: load, and what loads must save and load back.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/bitmap.h"
#include "core/rows.h"
#include "input.h"
#include "tavo45.h"

namespace tavo::fuzz {

// Stops a load at a mebipixel, so that no reader needs a limit for the fuzzer's sake.
struct Meter {
  uint64_t pixels = 0;
  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    auto* meter = static_cast<Meter*>(context);
    const auto* bytes = static_cast<const uint8_t*>(rows);
    // Every byte must be there.
    volatile uint8_t last = bytes[size_t{source->BytesPerLine} * static_cast<uint32_t>(count) - 1];
    static_cast<void>(last);
    meter->pixels += uint64_t{static_cast<uint32_t>(source->Width)} * static_cast<uint32_t>(count);
    return meter->pixels > 1 << 20 ? -77 : T_OK;
  }
};

// One file in memory that a save writes.
struct OneFile {
  Bytes bytes;
  uint32_t position = 0;
};
inline OneFile& one_file() {
  static OneFile file;
  return file;
}
inline int32_t T_CALL open_one(const char*, int32_t, int32_t) {
  one_file() = {};
  return 5;
}
inline uint32_t T_CALL read_one(int32_t, void* bytes, uint32_t count) {
  OneFile& file = one_file();
  const size_t part = std::min<size_t>(
      count, file.bytes.size() - std::min<size_t>(file.position, file.bytes.size()));
  if (part != 0) std::memcpy(bytes, file.bytes.data() + file.position, part);
  file.position += static_cast<uint32_t>(part);
  return static_cast<uint32_t>(part);
}
inline uint32_t T_CALL write_one(int32_t, const void* bytes, uint32_t count) {
  OneFile& file = one_file();
  if (file.bytes.size() < file.position + size_t{count}) file.bytes.resize(file.position + count);
  if (count != 0) std::memcpy(file.bytes.data() + file.position, bytes, count);
  file.position += count;
  return count;
}
inline int32_t T_CALL seek_one(int32_t, int32_t offset, int32_t origin) {
  OneFile& file = one_file();
  const auto size = static_cast<int32_t>(file.bytes.size());
  const int32_t base = origin == 0 ? 0 : origin == 1 ? static_cast<int32_t>(file.position) : size;
  file.position = static_cast<uint32_t>(base + offset);
  return base + offset;
}
inline int32_t T_CALL close_one(int32_t) { return 0; }

inline Bytes saved(BitmapHandle* bitmap, int32_t format) {
  T_RedirectIO(open_one, read_one, write_one, seek_one, close_one);
  const int32_t status = T_SaveBitmap("out", bitmap, format, 0, 0);
  T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
  return status == T_OK ? one_file().bytes : Bytes{};
}

// The pixels, top row first.
inline Bytes pixels(BitmapHandle* bitmap) {
  const core::AccessScope accessed(*bitmap);
  const auto line = static_cast<size_t>(
      core::packed_bytes(static_cast<uint32_t>(bitmap->Width), bitmap->BitsPerPixel));
  Bytes row(bitmap->BytesPerLine);
  Bytes all;
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    T_GetBitmapRow(bitmap, row.data(), core::stored_row(*bitmap, static_cast<uint32_t>(y)),
                   bitmap->BytesPerLine);
    core::clear_padding(row, bitmap->Width, bitmap->BitsPerPixel);
    all.insert(all.end(), row.begin(), row.begin() + static_cast<ptrdiff_t>(line));
  }
  return all;
}

// Loads `data`, whose last byte chooses how. What loads whole at a depth that `save_depths` names
// (bit d: depth d, bit 0: 32) is saved as `format`, and must come back pixel for pixel.
inline int load_save_load(int32_t format, uint32_t save_depths, const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const uint8_t options = data[size - 1];
  const auto bytes = static_cast<uint32_t>(size);
  FILEINFO info;
  if (T_FileInfoMemory(data, &info, bytes) != T_OK || info.Format != format) return 0;

  constexpr int32_t kDepths[] = {0, 1, 4, 8, 16, 24, 32, 2};
  const int32_t order = (options >> 3 & 3) - 1;
  const bool is_small =
      uint64_t{static_cast<uint32_t>(info.Width)} * static_cast<uint32_t>(info.Height) <= 1 << 20;
  // Big pictures are streamed as they are: anything else may hold them whole, as it should.
  const int32_t bits = is_small ? kDepths[options & 7] : 0;
  const uint32_t flags = is_small && (options & 0x20) != 0 ? T_LOAD_GIF_WHOLE : 0;
  {
    BitmapHandle target = {};
    Meter meter;
    T_LoadMemory(data, &target, bits, order, flags, Meter::sink, &meter, bytes);
    T_FreeBitmap(&target);
  }
  // Headers of 16 bits or five digits cannot state longer sides.
  if (!is_small || info.Width > UINT16_MAX || info.Height > UINT16_MAX) return 0;

  core::OwnedBitmap first, second;
  if (T_LoadBitmapMemory(data, first.get(), 0, -1, bytes) != T_OK) return 0;
  if ((save_depths >> (first->BitsPerPixel % 32) & 1) == 0) return 0;
  const Bytes file = saved(first.get(), format);
  if (T_LoadBitmapMemory(file.data(), second.get(), 0, static_cast<int32_t>(first->Order),
                         static_cast<uint32_t>(file.size())) != T_OK) {
    std::abort();
  }
  if (pixels(first.get()) != pixels(second.get())) std::abort();
  return 0;
}

}  // namespace tavo::fuzz
