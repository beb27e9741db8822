// The dithering engine: rows of any depth become rows of palette indices.
//
// A pass hangs from BitmapHandle::DitherState. Its rows may come one by one or many at a time, in
// any mixture: the result is the same, only the speed differs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::color {

// An inverse colour table has one word per colour class, the top five bits of red, green and blue:
// red << 10 | green << 5 | blue. It holds 1 + the index of the palette entry that stands for the
// class, or 0 while nobody has looked for it.
inline constexpr uint32_t kColorClasses = 32768;

constexpr uint32_t color_class(uint32_t red, uint32_t green, uint32_t blue) {
  return (red >> 3) << 10 | (green >> 3) << 5 | blue >> 3;
}

// The depth of the rows that `colors` (1 to 256) palette entries make.
constexpr int32_t index_depth(uint32_t colors) { return colors <= 2 ? 1 : colors <= 16 ? 4 : 8; }

// Opens a pass for the rows of `bitmap`: its width, depth, order, painting palette and
// DitherMethod are read here. A null palette is the built-in one of the output depth. With
// `inverse_table` (kColorClasses words, the caller's, alive until the pass ends, its content given
// up) no table of that size is made, and the holes of the caller's are filled as they are met. The
// error is taken against the palette, whose entries beyond `count` are black. The output depth
// follows from `count` unless `depth_out` (1, 2, 4 or 8, enough for the palette) names it.
// kBadArgument (depths, count, method) or kNoMemory; the bitmap then has no pass.
Status start_pass(BitmapHandle& bitmap, const T_PaletteEntry* palette, uint32_t count,
                  uint32_t* inverse_table, int32_t depth_out = 0);

// Dithers `count` rows that lie `stride` bytes apart into packed indices `out_stride` bytes apart.
// The unused bits of a row's last byte keep their values. The areas may not overlap.
// kBadArgument when no pass is open.
Status dither_rows(BitmapHandle& bitmap, const uint8_t* rows, size_t stride, uint8_t* out,
                   size_t out_stride, uint32_t count);

// Ends the pass, if there is one.
void stop_pass(BitmapHandle& bitmap);

// Ends the pass of a bitmap at the end of a scope.
class PassScope {
 public:
  explicit PassScope(BitmapHandle& bitmap) : bitmap_(bitmap) {}
  ~PassScope() { stop_pass(bitmap_); }
  PassScope(const PassScope&) = delete;
  PassScope& operator=(const PassScope&) = delete;

 private:
  BitmapHandle& bitmap_;
};

}  // namespace tavo::color
