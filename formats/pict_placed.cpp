// Bitmaps of a PICT file on a page.
#include <algorithm>

#include "draw/placement.h"
#include "formats/pict_colors.h"
#include "formats/pict_player.h"

namespace tavo::pict {

namespace {

// Of bitmaps without colours, whose ones come as black: where they are (or are not, inverted) the
// colour comes, or what is there is inverted; elsewhere it stays.
draw::RasterOp stencil_operation(const Transfer& transfer) {
  const uint32_t ones = transfer.inverts ? kOfSource : ~kOfSource;
  const uint32_t drawn = transfer.mode == Mode::kXor ? ~kOfPage : kOfPattern;
  return draw::RasterOp(static_cast<uint8_t>((drawn & ones) | (kOfPage & ~ones)));
}

}  // namespace

// A mask is a region in the coordinates of the picture: it narrows the clip for this bitmap alone.
Status Player::place_bitmap() {
  const draw::Box target = grid_.pixels(records_.bitmap().destination);
  if (target.is_empty()) return kOk;
  const Region& mask = records_.mask();
  if (mask.is_open_to(records_.bitmap().destination)) return put_rows(target);

  const draw::Box& seen = canvas_.clip_box();
  TRY(grid_.region(mask, seen.top, seen.bottom, canvas_, pixels_));
  TRY(canvas_.spend(static_cast<int64_t>(pixels_.boxes().size() + clip_.boxes().size())));
  TRY(narrowed_.combine(pixels_, clip_, draw::Region::Operation::kBoth));
  TRY(canvas_.set_clip(narrowed_));
  const Status status = put_rows(target);
  TRY(canvas_.set_clip(clip_));
  return status;
}

// Each row of the bitmap that is seen, as often as it is.
Status Player::put_rows(const draw::Box& target) {
  const Bitmap& bitmap = records_.bitmap();
  const draw::Box& seen = canvas_.clip_box();
  const int32_t first = std::max(target.top, seen.top), end = std::min(target.bottom, seen.bottom);
  if (first >= end || target.left >= seen.right || target.right <= seen.left) return kOk;
  const Transfer transfer = draws_ ? transfer_of(bitmap.mode) : Transfer{};
  if (transfer.mode == Mode::kNothing) return kOk;
  ColorRows rows(records_.rows(), bitmap, T_ORDER_RGB);
  const bool has_colors = !draws_ || bitmap.has_palette || !bitmap.is_indexed();
  const bool is_stencil = !has_colors && transfer.mode != Mode::kCopy;
  if (!has_colors && !is_stencil) {
    const T_PaletteEntry colors[] = {state_.background, state_.foreground};
    rows.set_two_levels(colors[transfer.inverts], colors[!transfer.inverts]);
  }
  TRY(rows.start());

  const draw::Brush brush =
      draw::solid(transfer.mode == Mode::kBic ? state_.background : state_.foreground);
  const draw::RasterOp operation = is_stencil   ? stencil_operation(transfer)
                                   : has_colors ? color_operation(transfer, kOfSource)
                                                : draw::kCopySource;
  const int32_t width = bitmap.source.width(), height = bitmap.source.height();
  draw::PlacedPicture placed(canvas_, {{0, 0, width, height}, target}, operation, brush);
  if (draws_ && bitmap.mode == kTransparent) placed.hide(state_.background);
  TRY(placed.start(width));
  int64_t last = -1;
  for (int32_t y = first; y < end; ++y) {
    // The row that the page's row begins in; none is mixed with its neighbours. Those between are
    // passed over, but count as work by their bytes.
    const int64_t row = (int64_t{y} - target.top) * height / (target.bottom - target.top);
    if (row != last) {
      TRY(canvas_.spend((row - last) * bitmap.row_bytes));
      last = row;
      TRY(rows.take(static_cast<uint32_t>(row)));
      TRY(placed.put_row(static_cast<int32_t>(row), rows.pixels()));
    }
    painted_rows_ = std::max(painted_rows_, y + 1);
  }
  return records_.rows().outcome();
}

}  // namespace tavo::pict
