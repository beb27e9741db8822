#include "reduce/dither_bitmap.h"

#include <algorithm>

#include "color/row_blocks.h"
#include "core/rows.h"
#include "dither/dither.h"

namespace tavo::color {

Status dither_bitmap(BitmapHandle& source, BitmapHandle& destination, const T_PaletteEntry* palette,
                     uint32_t count, uint32_t* inverse_table, core::Progress& progress,
                     uint32_t percent_done, bool consumes) {
  RowBlocks from(source);
  RowBlocks to(destination);
  TRY(from.start());
  TRY(to.start());

  // The pass hangs from a record of its own: the caller may have one open.
  BitmapHandle described;
  core::copy_bitmap_handle(described, source);
  described.DitherMethod = destination.DitherMethod;
  TRY(start_pass(described, palette, count, inverse_table, destination.BitsPerPixel));
  const PassScope pass(described);

  const auto height = static_cast<uint32_t>(source.Height);
  const uint32_t step = std::min(from.rows(), to.rows());
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(step, height - y);
    const uint8_t* rows = nullptr;
    TRY(from.read(y, n, rows));
    TRY(dither_rows(described, rows, from.stride(), to.place(y), to.stride(), n));
    TRY(to.store(y, n));
    if (consumes) from.drop_above(y + n);
    const uint64_t left = uint64_t{y + n} * (100 - percent_done);
    TRY(progress.at(uint64_t{height} * percent_done + left, uint64_t{height} * 100));
  }
  return kOk;
}

}  // namespace tavo::color
