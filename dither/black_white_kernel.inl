// black_white.h for one instruction set, which says how a half is taken.
//
// The three channels meet in one decision a pixel, and the next pixel waits for it. So one half of
// a vector goes on as if it were black, the other as if it were white, while it is taken; then one
// of the halves is. In a half: red, green, blue, and one to ignore.

V in_halves(V black, V white) {
  return kBlackIsLow ? unpack_low64(black, white) : unpack_low64(white, black);
}

// The components of a colour with the bias, in both halves.
V biased_color(uint32_t color) {
  const auto component = [=](int shift) { return static_cast<int>(color >> shift & 255); };
  return add16(splat_fours16(component(16), component(8), component(0), 0),
               splat16(BlackWhitePiece::kBias));
}

struct BlackWhite {
  explicit BlackWhite(const uint32_t (&colors)[2])
      : entries(in_halves(biased_color(colors[0]), biased_color(colors[1]))),
        seven_entries(sub16(shift_left16<3>(entries), entries)) {}

  // What take() wants to know of the pixel with these values, which are in both halves. Its grey
  // level is 128 or more from 2 red + 5 green + blue = 1020 on.
  V choose(V values) const {
    const V parts = multiply_add16(values, weights);
    return greater32(add32(parts, swap_pairs32(parts)), limits);
  }

  // What the next pixel becomes after either choice: its component with n / 16, which drops the
  // fraction, n being seven times the error and what comes from above. As floor((16 component + n)
  // / 16) that is right for n >= 0, with 15 more for n <= 0; the greater one is, unless the second
  // exceeds what n = 0 gives.
  V next(V values, const int16_t* next_own, const int16_t* next_totals) const {
    const V constant = sub16(load_low64_twice(next_totals), seven_entries);
    const V eight_values = shift_left16<3>(values);
    const V down = add16_clamped(eight_values, sub16(constant, values));
    const V up = add16_clamped(eight_values, sub16(add16(constant, splat16(15)), values));
    const V most = add16(load_low64_twice(next_own), splat16(15));
    const V zero = splat16(16 * BlackWhitePiece::kBias);
    return shift_right16<4>(max16(max16(down, zero), min16(up, most)));
  }

  V entries;
  V seven_entries;
  static constexpr int kBright = 1020 + 8 * BlackWhitePiece::kBias;
  // Negative where black is asked for: it is chosen below the limit.
  V weights = in_halves(splat_fours16(-2, -5, -1, 0),
                        kBlackIsLow ? splat_fours16(2, 5, 1, 0) : splat_fours16(-2, -5, -1, 0));
  V limits = in_halves(splat32(static_cast<uint32_t>(-kBright)),
                       splat32(kBlackIsLow ? kBright - 1 : static_cast<uint32_t>(-kBright)));
};

void diffuse(const uint32_t (&colors)[2], BlackWhitePiece& piece, int16_t* errors) {
  const BlackWhite engine(colors);
  // The pixel before is taken for a black one whose value leaves its error.
  const V before = splat_fours16(errors[-3], errors[-2], errors[-1], 0);
  const int16_t behind = errors[3 * piece.count];
  V choice = kBlack;
  V values = add16(before, take(engine.entries, choice));
  for (uint32_t i = 0; i < piece.count; ++i) {
    values = take(engine.next(values, piece.own + 3 * i, piece.totals + 3 * i), choice);
    choice = engine.choose(values);
    store_low64(errors + 3 * i, take(sub16(values, engine.entries), choice));
    store_low32(piece.are_black + i, choice);
  }
  errors[3 * piece.count] = behind;
}

// For compilers to make vectors of.
void add_up(BlackWhitePiece& piece, const int16_t* above) {
  const int16_t* const left = above - 3;
  const int16_t* const right = above + 3;
  for (uint32_t i = 0; i < 3 * piece.count; ++i) {
    const int32_t own = 16 * (piece.components[i] + BlackWhitePiece::kBias);
    piece.own[i] = static_cast<int16_t>(own);
    piece.totals[i] = static_cast<int16_t>(own + left[i] + 5 * above[i] + 3 * right[i]);
  }
}
