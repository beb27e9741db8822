#include "process/smooth/size_bitmap.h"

#include <algorithm>

#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "process/smooth/rows.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// The rows of results one after the other.
class RowWriter {
 public:
  explicit RowWriter(BitmapHandle& bitmap) : bitmap_(bitmap), accessed_(bitmap) {}

  Status put(const uint8_t* row) {
    const std::span<const uint8_t> line(row, bitmap_.BytesPerLine);
    return core::put_row(bitmap_, next_++, line);
  }

 private:
  BitmapHandle& bitmap_;
  core::AccessScope accessed_;
  uint32_t next_ = 0;
};

Status resize_rows(BitmapHandle& bitmap, BitmapHandle& sized, SmoothFilter filter) {
  core::Progress progress;
  TRY(progress.start());
  SmoothRows smooth;
  TRY(smooth.start({filter, bitmap.Width, bitmap.Height, sized.Width, sized.Height}, bitmap,
                   sized));
  color::RowBlocks rows(bitmap);
  TRY(rows.start());
  RowWriter writer(sized);
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(rows.rows(), height - y);
    const uint8_t* row = nullptr;
    TRY(rows.read(y, n, row));
    for (uint32_t i = 0; i < n; ++i, row += rows.stride()) {
      TRY(smooth.take(row, [&](const uint8_t* result) { return writer.put(result); }));
      TRY(progress.at(y + i, height));
    }
  }
  return progress.finish();
}

}  // namespace

Status size_bitmap_smoothly(BitmapHandle& bitmap, int32_t width, int32_t height,
                            SmoothFilter filter) {
  TRY(check_bitmap(bitmap));
  core::OwnedBitmap sized;
  TRY(describe_smooth(*sized, bitmap, width, height));
  if (bitmap.Width == width && bitmap.Height == height) return kOk;
  TRY(core::allocate_quietly(*sized));
  TRY(resize_rows(bitmap, *sized, filter));
  core::take_place(bitmap, *sized);
  return kOk;
}

}  // namespace tavo::process
