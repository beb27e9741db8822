// Encoder parameters and pixels from the fuzzer: no crash, only documented statuses, streams that
// begin and end as they must.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "input.h"
#include "tavo45.h"

namespace {

using tavo::fuzz::Bytes;
using tavo::fuzz::Input;

void require(bool holds) {
  if (!holds) std::abort();
}

struct Collector {
  Bytes bytes;
  uint32_t limit = UINT32_MAX;

  static uint32_t T_CALL write(const void* bytes, uint32_t size, void* user) {
    auto& self = *static_cast<Collector*>(user);
    const uint32_t taken = std::min(size, self.limit);
    self.limit -= taken;
    const auto* from = static_cast<const uint8_t*>(bytes);
    self.bytes.insert(self.bytes.end(), from, from + taken);
    return taken;
  }
};

void check_ends(const Bytes& file, int32_t type) {
  const size_t begin = type == 0 ? 24 : 0;
  const size_t end = file.size() - (type == 0 ? 12 : 0);
  require(file.size() > 100 && file[begin] == 0xFF && file[begin + 1] == 0xD8);
  require(file[end - 2] == 0xFF && file[end - 1] == 0xD9);
  // Segments up to the scan, then no marker: every byte 0xFF is followed by a zero.
  size_t at = begin + 2;
  for (bool is_scan = false; !is_scan;) {
    require(at + 4 < end && file[at] == 0xFF);
    is_scan = file[at + 1] == 0xDA;
    at += 2 + (size_t{file[at + 2]} << 8 | file[at + 3]);
  }
  require(at <= end - 2);
  for (; at < end - 2; ++at) require(file[at] != 0xFF || file[at + 1] == 0);
}

void load_table(Input& input) {
  uint32_t table[64];
  for (uint32_t& entry : table) entry = input.byte();
  T_LoadCustomQTable(table);
}

void compress_strips(Input& input) {
  BitmapHandle bitmap = {};
  const auto width = static_cast<int32_t>(input.word() % 700) - 2;
  const auto height = static_cast<int32_t>(input.byte()) - 2;
  T_InitBitmap(&bitmap, width, height, static_cast<int32_t>(input.byte() % 40));
  bitmap.Flags = input.word();
  bitmap.ViewPerspective = input.byte() & 3;
  const auto type = static_cast<int32_t>(input.byte() % 9) - 1;
  const auto quality = static_cast<int32_t>(input.word() % 280) - 12;
  const uint32_t rows = input.byte() % 40;
  const bool is_gray = bitmap.BitsPerPixel == 8 && (bitmap.Flags & T_FLAG_GRAY) != 0;
  const uint32_t row_bytes = static_cast<uint32_t>(std::max(width, 0)) * (is_gray ? 1 : 3);
  Collector out;
  if (input.byte() < 64) out.limit = input.word() * 4;
  const uint32_t buffer = input.word();
  if (T_StartCompressBuffer(&bitmap, Collector::write, rows * row_bytes, buffer, nullptr, type,
                            quality, &out) != T_OK) {
    require(T_EndCompressBuffer() == T_ERR_INCOMPLETE);
    return;
  }
  Bytes strip(size_t{rows} * row_bytes);
  int32_t status = T_OK;
  for (int32_t y = 0; y < height && status == T_OK; y += static_cast<int32_t>(rows)) {
    input.fill(strip);
    status = T_CompressBuffer(strip.data());
  }
  const int32_t end = T_EndCompressBuffer();
  require(status == T_OK || status == T_ERR_WRITE);
  require(end == T_OK || end == T_ERR_WRITE);
  if (status == T_OK && end == T_OK) check_ends(out.bytes, type);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const uint32_t mode = input.byte();
  if ((mode & 2) != 0) load_table(input);
  compress_strips(input);
  T_LoadCustomQTable(nullptr);
  return 0;
}
