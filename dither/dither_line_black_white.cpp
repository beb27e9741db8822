// The three channels meet in one decision a pixel, and the next pixel waits for it. So the four low
// elements of a vector go on as if it were black, the four high ones as if it were white, while it
// is taken; then one of the halves is chosen. In a half: red, green, blue, and one to ignore.
//
// Values are kept kBias higher than they are: sixteen times that, the component and what is carried
// to it end where 16-bit elements do when the sum is 255, so that the addition clamps it.
#include <algorithm>

#include "base/vector_sse2.h"
#include "color/index_rows.h"
#include "dither/dither_pass.h"

namespace tavo::color {

namespace {

using namespace sse2;

constexpr int kBias = (32767 - (16 * 255 + 15)) / 16;
constexpr uint32_t kPiece = 512;  // pixels

// Pixels with the channels interleaved: red, green, blue. Whole vectors are read of them, and one
// value behind them.
struct Piece {
  uint32_t count;
  alignas(16) uint8_t components[3 * kPiece];
  // What the row above gives, in sixteenths; and with the component, which has the bias, as well.
  alignas(16) int16_t sums[3 * kPiece + 8];
  alignas(16) int16_t totals[3 * kPiece + 8];
  alignas(16) int32_t are_black[kPiece];
};

// `above` are the errors of the row above, with a pixel at either side.
void add_up(Piece& piece, const int16_t* above) {
  const int16_t* const left = above - 3;
  const int16_t* const right = above + 3;
  for (uint32_t i = 0; i < 3 * piece.count; ++i) {
    piece.sums[i] = static_cast<int16_t>(left[i] + 5 * above[i] + 3 * right[i]);
  }
  for (uint32_t i = 0; i < 3 * piece.count; i += 8) {
    const V components = shift_left16<4>(load_widened8(piece.components + i));
    store(piece.totals + i, add16(add16(components, splat16(16 * kBias)), load(piece.sums + i)));
  }
}

// One half is zero: the other in both.
V both_halves(V v) { return v | swap_halves(v); }

// The components of a palette entry with the bias, in both halves.
V biased_color(uint32_t choice) {
  const auto component = [=](int shift) { return static_cast<int>(choice >> shift & 255); };
  return add16(splat_fours16(component(16), component(8), component(0), 0), splat16(kBias));
}

struct BlackWhite {
  explicit BlackWhite(const DitherPass& pass)
      : entries(unpack_low64(biased_color(pass.choice_of(0)), biased_color(pass.choice_of(1)))),
        seven_entries(sub16(shift_left16<3>(entries), entries)) {}

  // All ones in the half that the pixel with these values, which are in both, chooses. Its grey
  // level is 128 or more from 2 red + 5 green + blue = 1020 on.
  V choose(V values) const {
    const V parts = multiply_add16(values, weights);
    return greater32(add32(parts, swap_pairs32(parts)), limits);
  }

  // What the next pixel becomes after either choice.
  V next(V values, const int16_t* next_sums, const int16_t* next_totals) const {
    const V sums = sub16(load_low64_twice(next_sums), seven_entries);
    const V totals = sub16(load_low64_twice(next_totals), seven_entries);
    // Seven times the error and what comes from above; a negative sum is divided toward zero.
    const V eight_values = shift_left16<3>(values);
    const V carried = add16(eight_values, sub16(sums, values));
    const V total = add16_clamped(eight_values, sub16(totals, values));
    const V rounded = add16_clamped(total, shift_right16<12>(carried));
    return max16(shift_right16<4>(rounded), splat16(kBias));
  }

  V entries;
  V seven_entries;
  // Negative for black, which is chosen below the limit.
  static constexpr int kBright = 1020 + 8 * kBias;
  V weights = unpack_low64(splat_fours16(-2, -5, -1, 0), splat_fours16(2, 5, 1, 0));
  V limits = unpack_low64(splat32(static_cast<uint32_t>(-kBright)), splat32(kBright - 1));
};

// Leaves the errors in `errors`, whose pixel before the piece has its own.
void diffuse(const BlackWhite& engine, Piece& piece, int16_t* errors) {
  // The pixel before is taken for a black one whose value leaves its error.
  const V before = splat_fours16(errors[-3], errors[-2], errors[-1], 0);
  const int16_t behind = errors[3 * piece.count];
  V values = add16(before, unpack_low64(engine.entries, engine.entries));
  V choice = unpack_low64(equal8(V{}, V{}), V{});
  for (uint32_t i = 0; i < piece.count; ++i) {
    values = both_halves(engine.next(values, piece.sums + 3 * i, piece.totals + 3 * i) & choice);
    choice = engine.choose(values);
    store_low64(errors + 3 * i, both_halves(sub16(values, engine.entries) & choice));
    store_low32(piece.are_black + i, choice);
  }
  errors[3 * piece.count] = behind;
}

}  // namespace

void diffuse_row_black_white(DitherPass& pass, const uint8_t* row, uint8_t* out) {
  Piece piece;
  uint8_t indices[kPiece];
  const BlackWhite engine(pass);
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
    add_up(piece, errors);
    std::copy_n(left, 3, errors - 3);
    diffuse(engine, piece, errors);
    for (uint32_t i = 0; i < piece.count; ++i) {
      indices[i] = static_cast<uint8_t>(piece.are_black[i] + 1);
    }
    pack_indices(pass.depth_out, {indices, piece.count}, out + packed_offset(pass.depth_out, x));
  }
}

}  // namespace tavo::color
