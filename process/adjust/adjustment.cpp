#include "process/adjust/adjustment.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "color/paint_palette.h"
#include "core/bitmap.h"
#include "platform/platform.h"
#include "process/adjust/level_table.h"
#include "process/whole_picture.h"
#include "process/work_rows.h"

namespace tavo::process {

namespace {

// Rows as they are worked on.
class RowChange {
 public:
  RowChange(const Adjustment& adjustment, const BitmapHandle& bitmap, const WorkLayout& layout)
      : adjustment_(adjustment),
        layout_(layout),
        levels_(adjustment.levels),
        is_red_first_(bitmap.Order == T_ORDER_RGB) {}

  void apply(uint8_t* row) const {
    if (layout_.depth == 8 || adjustment_.colors == nullptr) {
      levels_.apply(row, layout_.row_bytes);
    } else {
      adjustment_.colors(adjustment_.data, row, layout_.width, {layout_.step, is_red_first_});
    }
  }

 private:
  const Adjustment& adjustment_;
  const WorkLayout& layout_;
  LevelMap levels_;
  bool is_red_first_;
};

// Entries are pixels of 32 bits, blue first.
Status change_palette(BitmapHandle& bitmap, const Adjustment& adjustment,
                      core::Progress& progress) {
  const color::PaintPalette painted(bitmap);
  const uint32_t count = std::min(bitmap.Colors, 256u);
  T_PaletteEntry changed[256];
  std::copy_n(painted.entries, count, changed);
  auto* const bytes = reinterpret_cast<uint8_t*>(changed);
  if (adjustment.colors == nullptr) {
    LevelMap(adjustment.levels).apply(bytes, count * sizeof(T_PaletteEntry));
  } else {
    adjustment.colors(adjustment.data, bytes, count, {sizeof(T_PaletteEntry), false});
  }
  TRY(progress.finish());
  bool differs = false;
  for (uint32_t i = 0; i < count; ++i) {
    T_PaletteEntry& entry = bitmap.Info.Palette[i];
    changed[i].Reserved = entry.Reserved;
    differs = differs || std::memcmp(&changed[i], &entry, 3) != 0 ||
              std::memcmp(&changed[i], &painted.entries[i], 3) != 0;
    entry = changed[i];
  }
  if (!differs) return kOk;
  for (uintptr_t* object : {&bitmap.GdiObjectB, &bitmap.GdiObjectA}) {
    if (*object != 0) platform::delete_object(*object);
    *object = 0;
  }
  return kOk;
}

Status change_pixels(BitmapHandle& made, BitmapHandle& bitmap, const Adjustment& adjustment,
                     core::Progress& progress, uint32_t percent_done) {
  const WorkLayout layout(bitmap, Widening::kNone);
  const RowChange change(adjustment, bitmap, layout);
  WorkReader reader(bitmap, layout);
  WorkWriter writer(made, bitmap, layout);
  Buffer row;
  TRY(reader.start());
  TRY(writer.start());
  TRY(row.allocate(layout.row_bytes));
  for (uint32_t y = 0; y < layout.height; ++y) {
    TRY(reader.read(y, row.data()));
    change.apply(row.data());
    TRY(writer.write(y, row.data()));
    TRY(progress.at(
        uint64_t{percent_done} * layout.height + (100 - percent_done) * (y + uint64_t{1}),
        uint64_t{100} * layout.height));
  }
  return progress.finish();
}

// Pixels that carry nothing and are stored as they are worked on.
Status change_in_place(BitmapHandle& bitmap, const Adjustment& adjustment) {
  const WorkLayout layout(bitmap, Widening::kNone);
  const RowChange change(adjustment, bitmap, layout);
  RowWindow rows(bitmap);
  TRY(rows.start());
  for (uint32_t y = 0; y < layout.height; ++y) change.apply(rows.row(y));
  return rows.store(0, layout.height);
}

}  // namespace

bool changes_palette(const BitmapHandle& bitmap) {
  return bitmap.BitsPerPixel <= 8 && !is_gray_ramp(bitmap);
}

Status adjust_bitmap(BitmapHandle& bitmap, const Adjustment& adjustment, core::Progress& progress,
                     uint32_t percent_done) {
  if (changes_palette(bitmap)) return change_palette(bitmap, adjustment, progress);
  if (may_work_in_place(bitmap)) {
    if (bitmap.BitsPerPixel == 8 || bitmap.BitsPerPixel == 24) {
      return change_in_place(bitmap, adjustment);
    }
    return change_pixels(bitmap, bitmap, adjustment, progress, percent_done);
  }
  core::OwnedBitmap made;
  TRY(allocate_like(*made, bitmap));
  TRY(change_pixels(*made, bitmap, adjustment, progress, percent_done));
  core::take_place(bitmap, *made);
  return kOk;
}

}  // namespace tavo::process
