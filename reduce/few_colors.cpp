#include "reduce/few_colors.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/buffer.h"
#include "color/convert.h"
#include "color/paint_palette.h"
#include "color/row_blocks.h"

namespace tavo::color {

namespace {

uint32_t color_at(const uint8_t* bgr) {
  return static_cast<uint32_t>(bgr[0]) << 16 | static_cast<uint32_t>(bgr[1]) << 8 | bgr[2];
}

// Looks through a row of 24 bits, blue first; false at the third colour.
bool look_through(const uint8_t* row, uint32_t width, uint32_t (&known)[2], uint32_t& count) {
  for (uint32_t x = 0; x < width; ++x) {
    const uint32_t color = color_at(row + size_t{3} * x);
    const uint32_t* end = known + count;
    if (std::find(static_cast<const uint32_t*>(known), end, color) != end) continue;
    if (count == 2) return false;
    known[count++] = color;
  }
  return true;
}

T_PaletteEntry entry_of(uint32_t color) {
  return {static_cast<uint8_t>(color >> 16), static_cast<uint8_t>(color >> 8),
          static_cast<uint8_t>(color), 0};
}

}  // namespace

Status find_few_colors(BitmapHandle& bitmap, FewColors& found) {
  RowBlocks blocks(bitmap);
  TRY(blocks.start());
  const PaintPalette palette(bitmap);
  RowConverter converter;
  TRY(converter.start(bitmap.BitsPerPixel, 24, static_cast<int32_t>(bitmap.Order), T_ORDER_BGR,
                      palette.entries, nullptr));
  const auto width = static_cast<uint32_t>(bitmap.Width);
  Buffer row;
  TRY(row.allocate(std::max<uint64_t>(blocks.stride(), uint64_t{3} * width)));
  uint32_t known[2] = {};
  uint32_t count = 0;
  for (uint32_t y = 0; y < static_cast<uint32_t>(bitmap.Height); ++y) {
    const uint8_t* from = nullptr;
    TRY(blocks.read(y, 1, from));
    std::memcpy(row.data(), from, blocks.stride());
    TRY(converter.convert(row.data(), bitmap.Width));
    if (!look_through(row.data(), width, known, count)) {
      found.count = 3;
      return kOk;
    }
  }
  if (count == 2 && known[0] > known[1]) std::swap(known[0], known[1]);
  for (uint32_t i = 0; i < count; ++i) found.colors[i] = entry_of(known[i]);
  found.count = count;
  return kOk;
}

}  // namespace tavo::color
