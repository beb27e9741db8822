#include "display/paint.h"

#include <algorithm>

#include "base/depths.h"
#include "base/settings.h"
#include "core/progress.h"
#include "display/status.h"
#include "process/whole_picture.h"

namespace tavo::display {

namespace {

constexpr int32_t kLargestEffect = 1 << 15;  // pixels in each direction; screens have fewer

// What an effect is for: all of the destination, but of one that is larger than any screen, so that
// most steps would draw nothing, only what can be seen.
process::PixelRect effect_area(const Painting& painting) {
  const bool is_larger = std::max(painting.width(), painting.height()) > kLargestEffect;
  return is_larger ? painting.wanted()
                   : process::PixelRect{0, 0, painting.width(), painting.height()};
}

Status paint_steps(Painting& painting, const process::PixelRect& area,
                   const process::EffectSteps& steps, int32_t delay) {
  TRY(painting.keep());
  core::Progress progress;
  TRY(progress.start());
  for (int64_t number = 0; number < steps.count(); ++number) {
    if (number != 0 && delay != 0) Sleep(static_cast<DWORD>(delay));
    TRY(steps.step(number, [&](const process::PixelRect& part) {
      return painting.paint_part({area.left + part.left, area.top + part.top,
                                  area.left + part.right, area.top + part.bottom});
    }));
    GdiFlush();  // what is to be seen now may wait otherwise
    const auto done = static_cast<uint64_t>(number + 1);
    TRY(progress.after_step(done, static_cast<uint64_t>(steps.count())));
  }
  return kOk;
}

Status check_effect(int32_t effect, int32_t block, int32_t delay) {
  if (effect < T_EFFECT_NONE || effect > T_EFFECT_SPIRAL) return kBadArgument;
  return block < 1 || delay < 0 ? kBadArgument : kOk;
}

}  // namespace

Status paint_device(BitmapHandle& bitmap, HDC dc, const PaintTarget& target) {
  TRY(process::check_bitmap(bitmap));
  Painting painting(bitmap, dc);
  TRY(painting.start(target));
  return painting.paint();
}

Status paint_buffer(BitmapHandle& picture, const void* rows, int32_t first, int32_t count, HDC dc,
                    const PaintTarget& target) {
  if (!is_bitmap_depth(picture.BitsPerPixel)) return kBadArgument;
  if (picture.BitsPerPixel > 8 && picture.Order > T_ORDER_BGR) return kBadArgument;
  if (first < 0 || count < 0 || int64_t{first} + count > picture.Height) return kBadArgument;
  Painting painting(picture, dc);
  painting.take_band({static_cast<const uint8_t*>(rows), first, count});
  process::PixelRect part;
  if (count == 0) return read_source(picture, target.source, part);
  TRY(painting.start(target));
  return painting.paint();
}

Status paint_effect(BitmapHandle& bitmap, HDC dc, const PaintTarget& target, int32_t effect,
                    int32_t block, int32_t delay) {
  TRY(check_effect(effect, block, delay));
  if (effect == T_EFFECT_NONE) return paint_device(bitmap, dc, target);
  TRY(process::check_bitmap(bitmap));
  Painting painting(bitmap, dc);
  TRY(painting.start(target));
  const process::PixelRect area = effect_area(painting);
  if (area.is_empty()) return kOk;
  const process::EffectSteps steps(static_cast<process::Effect>(effect), area.right - area.left,
                                   area.bottom - area.top, block);
  return paint_steps(painting, area, steps, delay);
}

}  // namespace tavo::display
