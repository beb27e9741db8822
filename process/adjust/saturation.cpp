#include "color/gray.h"
#include "process/adjust/adjust.h"
#include "process/adjust/color_rows.h"
#include "process/rounding.h"
#include "process/whole_picture.h"

namespace tavo::process {

namespace {

// What a difference from the grey level becomes.
class Stretch {
 public:
  explicit Stretch(int32_t factor) {
    for (int32_t d = -255; d <= 255; ++d) {
      of_difference_[d + 255] = static_cast<int16_t>(divide_rounded(d * factor, 1000));
    }
  }

  void stretch(uint8_t& red, uint8_t& green, uint8_t& blue) const {
    const int32_t gray = color::gray_level(red, green, blue);
    for (uint8_t* const v : {&red, &green, &blue}) {
      *v = clamp_level(gray + of_difference_[*v - gray + 255]);
    }
  }

 private:
  int16_t of_difference_[511];
};

void change_saturation_row(const void* data, uint8_t* row, size_t width, ChannelLayout layout) {
  const auto& saturation = *static_cast<const Stretch*>(data);
  for_each_color(row, width, layout, [&saturation](uint8_t& red, uint8_t& green, uint8_t& blue) {
    saturation.stretch(red, green, blue);
  });
}

}  // namespace

Status change_saturation(BitmapHandle& bitmap, int32_t level) {
  if (level < -1000 || level > 1000) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (level == 0) return kOk;
  const Stretch saturation(1000 + level);
  return adjust_colors(bitmap, change_saturation_row, &saturation);
}

}  // namespace tavo::process
