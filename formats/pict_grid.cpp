#include "formats/pict_grid.h"

namespace tavo::pict {

Status Grid::region(const Region& region, int32_t first, int32_t end, draw::Canvas& canvas,
                    draw::Region& pixels) const {
  const Rect& box = region.box();
  if (region.is_rect()) return pixels.assign(this->pixels(box));
  pixels.clear();
  TRY(canvas.spend(static_cast<int64_t>(region.lines().size())));
  RegionRows rows;
  TRY(rows.start(region));
  // Units that may have pixels in these rows, two more for what rounding moves.
  const int64_t above = first * scale.units / scale.pixels + top - 2;
  const int64_t below = end * scale.units / scale.pixels + top + 2;
  const auto begin = static_cast<int32_t>(std::max<int64_t>(box.top, above));
  const auto last = static_cast<int32_t>(std::min<int64_t>(box.bottom, below));
  for (int32_t unit = begin; unit < last; ++unit) {
    const auto points = rows.row(unit);
    // Unit after unit takes the rows up to where the next begins, so that spans come in order and
    // no row twice; of several units in one row the last has it.
    const int32_t bottom = std::min(row(unit + 1), end);
    TRY(canvas.spend(1));
    for (int32_t y = std::max(row(unit), first); y < bottom; ++y) {
      TRY(canvas.spend(static_cast<int64_t>(points.size())));
      for (size_t i = 0; i + 1 < points.size(); i += 2) {
        TRY(pixels.add(y, column(points[i]), column(points[i + 1])));
      }
    }
  }
  pixels.finish();
  return kOk;
}

}  // namespace tavo::pict
