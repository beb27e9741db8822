#include <algorithm>

#include "base/variants.h"
#include "color/index_rows.h"
#include "dither/black_white.h"
#include "dither/dither_pass.h"

namespace tavo::color {

void diffuse_row_black_white(DitherPass& pass, const uint8_t* row, uint8_t* out) {
  constexpr uint32_t kPiece = BlackWhitePiece::kPixels;
  const BlackWhiteKernels& kernels =
      *Variants<const BlackWhiteKernels*>{.any = &kBlackWhiteSse2, .avx2 = &kBlackWhiteAvx2}.best();
  const uint32_t colors[2] = {pass.choice_of(0), pass.choice_of(1)};
  BlackWhitePiece piece;
  uint8_t indices[kPiece];
  // The row's errors take the place of those of the row above, but for those of the pixel before a
  // piece, which its first pixel still needs.
  int16_t left_above[3] = {};
  for (uint32_t x = 0; x < pass.width; x += kPiece) {
    piece.count = std::min(kPiece, pass.width - x);
    int16_t* const errors = pass.error_row(1) + size_t{3} * x;
    read_rgb(pass, row, x, piece.count, piece.components);
    int16_t left[3];
    std::copy_n(errors - 3, 3, left);
    std::copy_n(left_above, 3, errors - 3);
    std::copy_n(errors + 3 * (piece.count - 1), 3, left_above);
    kernels.add_up(piece, errors);
    std::copy_n(left, 3, errors - 3);
    kernels.diffuse(colors, piece, errors);
    for (uint32_t i = 0; i < piece.count; ++i) {
      indices[i] = static_cast<uint8_t>(piece.are_black[i] + 1);
    }
    pack_indices(pass.depth_out, {indices, piece.count}, out + packed_offset(pass.depth_out, x));
  }
}

}  // namespace tavo::color
