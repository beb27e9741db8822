// The encoder's per-sample stages, compiled for each instruction set: one block or eight pixels a
// lane. The including file defines what differs.

// The blue, green and red of as many pixels as a vector has bytes, high in 16-bit elements: the
// first eight of sixteen in each lane of `first`, the others in `second`.
inline void load_components(const uint8_t* bgr, V (&first)[3], V (&second)[3]);
// Sums of neighbouring bytes.
inline V pair_sums(V bytes);
// Quantised columns of one block a lane, the first being block `block` of the pair, to the order of
// the stream.
inline void store_stream(const V (&r)[8], BlockPair& pair, size_t block);

// The forward transform of ISO/IEC 10918-1, A.3.3, one dimension of it, scaled by sqrt(8).
// The lines of all blocks at once, r[i] being the i-th sample of each line.
template <int kRaise, int kLower>
inline void transform_lines(V (&r)[8]) {
  using T = TransformConstants;
  const V s07 = add16(r[0], r[7]), d3 = sub16(r[0], r[7]);
  const V s16 = add16(r[1], r[6]), d2 = sub16(r[1], r[6]);
  const V s25 = add16(r[2], r[5]), d1 = sub16(r[2], r[5]);
  const V s34 = add16(r[3], r[4]), d0 = sub16(r[3], r[4]);
  const V outer = add16(s07, s34), inner = add16(s16, s25);
  const V a = sub16(s07, s34), b = sub16(s16, s25);
  if constexpr (kLower == 0) {
    r[0] = shift_left16<kRaise>(add16(outer, inner));
    r[4] = shift_left16<kRaise>(sub16(outer, inner));
  } else {
    const V half = splat16(1 << (kLower - 1));
    r[0] = shift_right16_signed<kLower>(add16(add16(outer, inner), half));
    r[4] = shift_right16_signed<kLower>(add16(sub16(outer, inner), half));
  }

  constexpr int kShift = T::kBits - kRaise + kLower;
  const V round = splat32(1 << (kShift - 1));
  const V ab_low = unpack_low16(a, b), ab_high = unpack_high16(a, b);
  for (int i = 0; i < 2; ++i) {
    const V c = splat_pairs16(T::even[i][0], T::even[i][1]);
    r[2 + 4 * i] = pack32(shift_right32_signed<kShift>(add32(multiply_add16(ab_low, c), round)),
                          shift_right32_signed<kShift>(add32(multiply_add16(ab_high, c), round)));
  }
  const V d01_low = unpack_low16(d0, d1), d01_high = unpack_high16(d0, d1);
  const V d23_low = unpack_low16(d2, d3), d23_high = unpack_high16(d2, d3);
  for (int i = 0; i < 4; ++i) {
    const V c01 = splat_pairs16(T::odd[i][0], T::odd[i][1]);
    const V c23 = splat_pairs16(T::odd[i][2], T::odd[i][3]);
    const V low = add32(multiply_add16(d01_low, c01), multiply_add16(d23_low, c23));
    const V high = add32(multiply_add16(d01_high, c01), multiply_add16(d23_high, c23));
    r[1 + 2 * i] = pack32(shift_right32_signed<kShift>(add32(low, round)),
                          shift_right32_signed<kShift>(add32(high, round)));
  }
}

// Samples (0 to 255) of whole blocks, r[row], to coefficients, r[horizontal frequency] with the
// vertical frequency across the lanes. The level shift by 128 reaches the first line alone, as
// 8 x 128 raised.
inline void transform_block(V (&r)[8]) {
  using T = TransformConstants;
  transform_lines<T::kPass1Bits, 0>(r);
  r[0] = sub16(r[0], splat16(8 * 128 << T::kPass1Bits));
  transpose16(r);
  transform_lines<0, T::kPass1Bits>(r);
}

// A.3.4, as encoder_kernels.h proves it: the sign is taken off and put back.
inline void quantise(V (&r)[8], const Divisors& divisors) {
  for (size_t u = 0; u < 8; ++u) {
    const V n = add16(magnitude16(r[u]), load_repeated(&divisors.half[8 * u]));
    const V q = multiply_high16_unsigned(n, load_repeated(&divisors.reciprocal[8 * u]));
    r[u] = with_sign16(multiply_high16_unsigned(q, load_repeated(&divisors.scale[8 * u])), r[u]);
  }
}

// Luma and chroma of the pixels whose components stand in the high bytes of 16-bit elements: the
// high half of a product with a constant of 16 fractional bits then has 8 of them.
struct Planes {
  V y, cb, cr;
};
inline V product(V v, int factor) { return multiply_high16_unsigned(v, splat16(factor)); }
inline Planes to_planes(const V (&bgr)[3]) {
  using C = ColorConstants;
  const V b = bgr[0], g = bgr[1], r = bgr[2];
  const V luma = add16(add16(product(r, C::kYRed), product(g, C::kYGreen)),
                       add16(product(b, C::kYBlue), splat16(C::kYBias)));
  const V bias = splat16(C::kChromaBias);
  const V blue = sub16(add16(shift_right16<1>(b), bias),
                       add16(product(r, C::kCbRed), product(g, C::kCbGreen)));
  const V red = sub16(add16(shift_right16<1>(r), bias),
                      add16(product(g, C::kCrGreen), product(b, C::kCrBlue)));
  return {shift_right16<8>(luma), shift_right16<8>(blue), shift_right16<8>(red)};
}

// The kernels of one kind follow, as the table of encoder_kernels.h has them. `pixels` and `count`
// are multiples of kPixelStep: there are no tails.
void convert(const uint8_t* bgr, size_t pixels, uint8_t* y, uint8_t* cb, uint8_t* cr) {
  for (size_t i = 0; i < pixels; i += kBytes) {
    V first[3], second[3];
    load_components(bgr + 3 * i, first, second);
    const Planes low = to_planes(first), high = to_planes(second);
    store(y + i, pack16_unsigned(low.y, high.y));
    store(cb + i, pack16_unsigned(low.cb, high.cb));
    store(cr + i, pack16_unsigned(low.cr, high.cr));
  }
}

// `bias` rounds the mean down and up in turn, as pairs of elements.
void halve(const uint8_t* samples, size_t count, uint8_t* out) {
  const V bias = splat_pairs16(0, 1);
  for (size_t i = 0; i < count; i += 32) {
    V means[32 / kBytes];
    for (size_t k = 0; k < 32; k += kBytes) {
      means[k / kBytes] = shift_right16<1>(add16(pair_sums(load(samples + i + k)), bias));
    }
    store_narrowed16(out + i / 2, means);
  }
}

void quarter(const uint8_t* upper, const uint8_t* lower, size_t count, uint8_t* out) {
  const V bias = splat_pairs16(1, 2);
  for (size_t i = 0; i < count; i += 32) {
    V means[32 / kBytes];
    for (size_t k = 0; k < 32; k += kBytes) {
      const V sums = add16(pair_sums(load(upper + i + k)), pair_sums(load(lower + i + k)));
      means[k / kBytes] = shift_right16<2>(add16(sums, bias));
    }
    store_narrowed16(out + i / 2, means);
  }
}

void transform(const uint8_t* samples, size_t stride, size_t pairs, const Divisors& divisors,
               BlockPair* out) {
  for (size_t i = 0; i < 2 * pairs; i += kLanes) {
    V r[8];
    for (size_t row = 0; row < 8; ++row) r[row] = load_widened8(samples + 8 * i + row * stride);
    transform_block(r);
    quantise(r, divisors);
    BlockPair& pair = out[i / 2];
    for (size_t u = 0; u < 8; ++u) store(pair.coefficients[u][i % 2], r[u]);
    store_stream(r, pair, i % 2);
  }
}

// Bit k is set where byte k of a block's stream is not 0: the entropy coder goes from bit to bit.
inline uint64_t nonzero_bits(const V (&stream)[64 / kBytes]) {
  uint64_t zeros = 0;
  for (size_t i = 0; i < 64; i += kBytes) {
    zeros |= uint64_t{top_bits8(equal8(stream[i / kBytes], V{}))} << i;
  }
  return ~zeros;
}
