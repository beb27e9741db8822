// The inverse transform, compiled for each instruction set. A lane holds one block. The results are
// those of inverse_transform_plain, bit by bit, for damaged coefficients as well.

// 16-bit products of a lane, as 32-bit sums: the lower four columns and the upper four.
struct Wide {
  V low;
  V high;
};

// a0 b0 a1 b1 ...: a multiplication by pairs of factors makes one sum of each two.
inline Wide pairs(V a, V b) { return {unpack_low16(a, b), unpack_high16(a, b)}; }
inline Wide sum_of_products(Wide x, V factors) {
  return {multiply_add16(x.low, factors), multiply_add16(x.high, factors)};
}
inline Wide operator+(Wide a, Wide b) { return {add32(a.low, b.low), add32(a.high, b.high)}; }
inline Wide operator-(Wide a, Wide b) { return {sub32(a.low, b.low), sub32(a.high, b.high)}; }
inline Wide operator+(Wide a, V b) { return {add32(a.low, b), add32(a.high, b)}; }

template <int kShift>
inline V narrow(Wide a) {
  return pack32(shift_right32_signed<kShift>(a.low), shift_right32_signed<kShift>(a.high));
}

// Outputs i and 7 - i of a pass from their even and odd parts.
template <int kShift>
inline void finish(Wide even, Wide odd, V& first, V& second) {
  first = narrow<kShift>(even + odd);
  second = narrow<kShift>(even - odd);
}

// One pass over r[0] to r[7], eight columns at once. An output is one sum of products: pairs of
// inputs are multiplied and added by one instruction.
template <int kShift>
inline void full_pass(V (&r)[8]) {
  const V round = splat32(1 << (kShift - 1));
  const Wide r04 = pairs(r[0], r[4]);
  const Wide r26 = pairs(r[2], r[6]);
  const Wide r13 = pairs(r[1], r[3]);
  const Wide r57 = pairs(r[5], r[7]);
  // In the even part the term of rounding reaches both outputs of a pair.
  const Wide e0 = sum_of_products(r04, splat_pairs16(kOne, kOne)) + round;
  const Wide e1 = sum_of_products(r04, splat_pairs16(kOne, -kOne)) + round;
  const Wide e2 = sum_of_products(r26, splat_pairs16(kEven2, -kEven6));
  const Wide e3 = sum_of_products(r26, splat_pairs16(kEven6Sum, kEven2));
  const auto odd = [&](int i) {
    return sum_of_products(r13, splat_pairs16(kOdd[i][0], kOdd[i][1])) +
           sum_of_products(r57, splat_pairs16(kOdd[i][2], kOdd[i][3]));
  };
  finish<kShift>(e0 + e3, odd(0), r[0], r[7]);
  finish<kShift>(e1 + e2, odd(1), r[1], r[6]);
  finish<kShift>(e1 - e2, odd(2), r[2], r[5]);
  finish<kShift>(e0 - e3, odd(3), r[3], r[4]);
}

// The same with inputs 4 to 7 zero, as they mostly are: few blocks have coefficients beyond the
// corner. Half of the factors go, and e0 and e1 are one: input 0 alone.
template <int kShift>
inline void short_pass(V (&r)[8]) {
  const V round = splat32(1 << (kShift - 1));
  const Wide r02 = pairs(r[0], r[2]);
  const Wide r13 = pairs(r[1], r[3]);
  const auto even = [&](int factor) {
    return sum_of_products(r02, splat_pairs16(kOne, factor)) + round;
  };
  const auto odd = [&](int i) {
    return sum_of_products(r13, splat_pairs16(kOdd[i][0], kOdd[i][1]));
  };
  finish<kShift>(even(kEven6Sum), odd(0), r[0], r[7]);
  finish<kShift>(even(kEven2), odd(1), r[1], r[6]);
  finish<kShift>(even(-kEven2), odd(2), r[2], r[5]);
  finish<kShift>(even(-kEven6Sum), odd(3), r[3], r[4]);
}

// The first pass with rows 4 to 7 and columns 4 to 7 zero, transposed: r[0] to r[3] are columns.
// Half a vector holds four columns, so that one of 32-bit sums has all of them.
inline void corner_pass(V (&r)[8]) {
  const V round = splat32(1 << (kFirstShift - 1));
  const V r02 = unpack_low16(r[0], r[2]);
  const V r13 = unpack_low16(r[1], r[3]);
  const auto even = [&](int factor) {
    return add32(multiply_add16(r02, splat_pairs16(kOne, factor)), round);
  };
  const auto odd = [&](int i) {
    return multiply_add16(r13, splat_pairs16(kOdd[i][0], kOdd[i][1]));
  };
  const V e[4] = {even(kEven6Sum), even(kEven2), even(-kEven2), even(-kEven6Sum)};
  const V o[4] = {odd(0), odd(1), odd(2), odd(3)};
  const auto plus = [&](int i) { return shift_right32_signed<kFirstShift>(add32(e[i], o[i])); };
  const auto minus = [&](int i) { return shift_right32_signed<kFirstShift>(sub32(e[i], o[i])); };
  const V rows01 = pack32(plus(0), plus(1));
  const V rows23 = pack32(plus(2), plus(3));
  const V rows45 = pack32(minus(3), minus(2));
  const V rows67 = pack32(minus(1), minus(0));
  const V a0 = unpack_low16(rows01, rows23), a1 = unpack_high16(rows01, rows23);
  const V b0 = unpack_low16(rows45, rows67), b1 = unpack_high16(rows45, rows67);
  const V top01 = unpack_low16(a0, a1), top23 = unpack_high16(a0, a1);
  const V bottom01 = unpack_low16(b0, b1), bottom23 = unpack_high16(b0, b1);
  r[0] = unpack_low64(top01, bottom01);
  r[1] = unpack_high64(top01, bottom01);
  r[2] = unpack_low64(top23, bottom23);
  r[3] = unpack_high64(top23, bottom23);
}

// From the second pass's columns to rows of samples: out[i] holds rows 2i and 2i + 1. Saturating to
// signed bytes before the level shift (A.3.1) is clamping to 0 to 255 behind it.
inline void to_samples(const V (&r)[8], V (&out)[4]) {
  const V middle = splat8(-128);
  const V c02 = pack16(r[0], r[2]), c13 = pack16(r[1], r[3]);
  const V c46 = pack16(r[4], r[6]), c57 = pack16(r[5], r[7]);
  const V c01 = unpack_low8(c02, c13), c23 = unpack_high8(c02, c13);
  const V c45 = unpack_low8(c46, c57), c67 = unpack_high8(c46, c57);
  const V left_top = unpack_low16(c01, c23), left_bottom = unpack_high16(c01, c23);
  const V right_top = unpack_low16(c45, c67), right_bottom = unpack_high16(c45, c67);
  out[0] = add8(unpack_low32(left_top, right_top), middle);
  out[1] = add8(unpack_high32(left_top, right_top), middle);
  out[2] = add8(unpack_low32(left_bottom, right_bottom), middle);
  out[3] = add8(unpack_high32(left_bottom, right_bottom), middle);
}

// The whole transform of rows r of dequantised coefficients. Between the passes values saturate to
// 16 bits, by the packing. The first pass goes down the columns (as rows of the block are vectors),
// the second along the rows, behind a transposition.
inline void transform(V (&r)[8], Extent extent, V (&samples)[4]) {
  if (extent == Extent::kCorner) {
    corner_pass(r);
    short_pass<kSecondShift>(r);
  } else {
    full_pass<kFirstShift>(r);
    transpose16(r);
    full_pass<kSecondShift>(r);
  }
  to_samples(r, samples);
}

// A block that has a DC value only: one level. Both passes' roundings, with the saturation between
// them: the first makes 4 times the value, without a remainder, the second shifts by 18 - 13.
inline uint64_t flat_samples(int16_t dc, uint16_t quantiser) {
  const int value = static_cast<int16_t>(dc * static_cast<int16_t>(quantiser));
  const int scaled = value * 4 > 32767 ? 32767 : value * 4 < -32768 ? -32768 : value * 4;
  const int level = ((scaled + 16) >> 5) + 128;
  const int sample = level < 0 ? 0 : level > 255 ? 255 : level;
  return static_cast<uint64_t>(sample) * 0x0101010101010101u;
}

inline void store_flat(uint64_t row, uint8_t* out, size_t stride) {
  for (size_t y = 0; y < 8; ++y) store_native(out + y * stride, row);
}

inline void store_rows(sse2::V rows, uint8_t* out, size_t stride) {
  sse2::store_low64(out, rows);
  sse2::store_high64(out + stride, rows);
}

// As many of the two blocks as there are lanes.
TAVO_INLINE void transform_blocks(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                                  Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  V r[8];
  for (size_t i = 0; i < 8; ++i) {
    // Low halves of the products, as idct.h has it; eight coefficients are a row.
    r[i] = multiply16(load_lanes(a + 8 * i, b + 8 * i), load_repeated(quantisers + 8 * i));
  }
  V samples[4];
  transform(r, extent, samples);
  for (size_t i = 0; i < 4; ++i) {
    store_rows(lane<0>(samples[i]), out_a + 2 * i * stride, stride);
    if (kLanes == 2) store_rows(lane<1>(samples[i]), out_b + 2 * i * stride, stride);
  }
}

TAVO_INLINE void transform_pair(const int16_t* a, const int16_t* b, const uint16_t* quantisers,
                                Extent extent, uint8_t* out_a, uint8_t* out_b, size_t stride) {
  if (extent == Extent::kFlat) {
    store_flat(flat_samples(a[0], quantisers[0]), out_a, stride);
    store_flat(flat_samples(b[0], quantisers[0]), out_b, stride);
    return;
  }
  // Vectors of two lanes take both blocks in one turn.
  for (size_t i = 0; i < 2; i += kLanes) {
    transform_blocks(a, b, quantisers, extent, out_a, out_b, stride);
    a = b, out_a = out_b;
  }
}
