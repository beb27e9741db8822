#include "process/filters/filter.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// The rows of a bitmap.
class PictureRows final : public RowSource {
 public:
  PictureRows(BitmapHandle& bitmap, const WorkLayout& layout) : reader_(bitmap, layout) {}
  Status start() { return reader_.start(); }
  Status next(uint8_t* row) override { return reader_.read(y_++, row); }

 private:
  WorkReader reader_;
  uint32_t y_ = 0;
};

Status filter_rows(BitmapHandle& made, BitmapHandle& bitmap, const WorkLayout& layout,
                   Filter& filter, core::Progress& progress) {
  PictureRows picture(bitmap, layout);
  WorkWriter writer(made, bitmap, layout);
  WorkRow row;
  TRY(picture.start());
  TRY(writer.start());
  TRY(row.allocate(layout.row_bytes));
  TRY(filter.start(picture, layout));
  for (uint32_t y = 0; y < layout.height; ++y) {
    TRY(filter.next(row.data()));
    TRY(writer.write(y, row.data()));
    TRY(progress.at(y + uint64_t{1}, layout.height));
  }
  return progress.finish();
}

}  // namespace

Status RowBand::start(RowSource& source, const WorkLayout& layout, uint32_t radius_x,
                      uint32_t radius_y) {
  source_ = &source;
  width_ = layout.width;
  height_ = layout.height;
  step_ = layout.step;
  radius_x_ = radius_x;
  radius_y_ = radius_y;
  line_count_ = std::min(count() + 1, height_);
  constexpr size_t kCacheLine = 64;
  const size_t front = round_up(radius_x * step_ + kRowSlack, kCacheLine);
  const uint64_t stride = round_up(2 * uint64_t{front} + layout.row_bytes, uint64_t{kCacheLine});
  TRY(lines_.allocate(stride * line_count_ + kCacheLine));
  stride_ = static_cast<size_t>(stride);
  const auto address = reinterpret_cast<uintptr_t>(lines_.data());
  first_ = lines_.data() + front + (round_up(address, uintptr_t{kCacheLine}) - address);
  return window_.allocate(count());
}

void RowBand::repeat_edges(uint8_t* row) const {
  const size_t end = width_ * step_;
  const size_t margin = radius_x_ * step_;
  for (size_t i = 0; i < margin; ++i) {
    row[end + i] = row[end - step_ + i % step_];
    row[static_cast<ptrdiff_t>(i) - static_cast<ptrdiff_t>(margin)] = row[i % step_];
  }
}

Status RowBand::fetch() {
  uint8_t* const row = line(fetched_);
  TRY(source_->next(row));
  repeat_edges(row);
  ++fetched_;
  return kOk;
}

Status RowBand::advance() {
  const uint32_t y = next_++;
  const uint32_t wanted = std::min(y + radius_y_ + 1, height_);
  while (fetched_ < wanted) TRY(fetch());
  for (uint32_t i = 0; i < count(); ++i) {
    const uint32_t from_top = std::max(y + i, radius_y_) - radius_y_;
    window_[i] = line(std::min(from_top, height_ - 1));
  }
  return kOk;
}

Status filter_bitmap(BitmapHandle& bitmap, Filter& filter, Bits bits) {
  core::Progress progress;
  TRY(progress.start());
  const bool stays = bits == Bits::kKept && bitmap.BitsPerPixel == 1;
  const Widening widening = stays ? Widening::kNone : widening_of(bitmap);
  const WorkLayout layout(bitmap, widening);
  if (may_work_in_place(bitmap) && keeps_layout(bitmap, widening)) {
    TRY(filter_rows(bitmap, bitmap, layout, filter, progress));
    if (widening == Widening::kGray) bitmap.Flags |= T_FLAG_GRAY;
    return kOk;
  }
  core::OwnedBitmap made;
  TRY(describe_widened(*made, bitmap, widening));
  made->ViewPerspective = bitmap.ViewPerspective;
  TRY(core::allocate_quietly(*made));
  TRY(filter_rows(*made, bitmap, layout, filter, progress));
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace tavo::process
