// Pictures as filters and adjustments work on them: rows of 8-bit channels, whatever is stored.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "color/convert.h"
#include "process/whole_picture.h"
#include "tavo45.h"

namespace tavo::process {

// Whether the palette entries 0 to 255 are the greys 0 to 255, and all of them count.
bool is_gray_ramp(const BitmapHandle& bitmap);

// What a picture becomes that gets new colours. Indexed ones are widened, to grey levels when their
// colours are grey; all others stay as they are.
enum class Widening { kNone, kGray, kColor };
Widening widening_of(const BitmapHandle& bitmap);

// Whether that leaves depth and palette as they are: of grey pictures with a ramp.
bool keeps_layout(const BitmapHandle& bitmap, Widening widening);

// A record like `bitmap` after its widening, of its size or another, not yet allocated.
Status describe_widened(BitmapHandle& made, const BitmapHandle& bitmap, Widening widening);
Status describe_widened(BitmapHandle& made, const BitmapHandle& bitmap, Widening widening,
                        int32_t width, int32_t height);

// The rows that are worked on: of 1 bit, or with 1, 3 or 4 bytes to a pixel. 16 bits are worked on
// as 24, in the order of the picture; the fourth byte of 32 bits goes along and does not count.
struct WorkLayout {
  WorkLayout(const BitmapHandle& bitmap, Widening the_widening);

  Widening widening;
  uint32_t width;
  uint32_t height;
  int32_t depth;     // 1, 8, 24 or 32
  size_t step;       // bytes from pixel to pixel; 1 for bits, too
  size_t row_bytes;  // of the pixels
};

// Rows of a picture in that layout, numbered from the top.
class WorkReader {
 public:
  WorkReader(BitmapHandle& bitmap, const WorkLayout& layout)
      : bitmap_(bitmap), layout_(layout), rows_(bitmap, RowNumbers::kFromTop) {}
  Status start();
  Status read(uint32_t y, uint8_t* row);

 private:
  BitmapHandle& bitmap_;
  const WorkLayout& layout_;
  RowWindow rows_;
  color::RowConverter converter_;
  bool copies_ = false;
  uint32_t first_ = 0;
  uint32_t count_ = 0;
};

// Puts such rows into `made`, which may be `bitmap` itself, in whose rows is what pixels carry.
class WorkWriter {
 public:
  WorkWriter(BitmapHandle& made, BitmapHandle& bitmap, const WorkLayout& layout)
      : made_(made),
        layout_(layout),
        rows_(made, RowNumbers::kFromTop),
        carried_(bitmap, RowNumbers::kFromTop) {}
  Status start();
  Status write(uint32_t y, const uint8_t* row);

 private:
  bool carries() const { return made_.BitsPerPixel == 16 || made_.BitsPerPixel == 32; }

  BitmapHandle& made_;
  const WorkLayout& layout_;
  RowWindow rows_;
  RowWindow carried_;
  Buffer narrow_;
};

}  // namespace tavo::process
