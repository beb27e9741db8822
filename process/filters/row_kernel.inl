// The row loops of filters, compiled for each instruction set.

// 32-bit elements, of a lane of bytes four after four.
struct Sums {
  V v[4];
};

inline V divide(V sums, const Division& division, bool is_absolute) {
  if (is_absolute) {
    const V sign = shift_right32_signed<31>(sums);
    sums = sub32(sums ^ sign, sign);
  }
  sums = add32(sums, splat32(static_cast<uint32_t>(division.add)));
  if (division.multiplier == 0) return shift_right32_signed(sums, division.shift);
  const V most = splat32(static_cast<uint32_t>(division.most));
  const V above = greater32(sums, most);
  sums = ((sums & ~above) | (most & above)) & ~shift_right32_signed<31>(sums);
  const V multiplier = splat32(division.multiplier);
  const V even = multiply_even32_unsigned(sums, multiplier);
  const V odd = multiply_even32_unsigned(shift_right64<32>(sums), multiplier);
  return shift_right64(even, division.shift) |
         shift_left64<32>(shift_right64(odd, division.shift));
}

inline void add_pair(Sums& sums, V bytes_low, V bytes_high, V coefficients) {
  const auto add = [coefficients](V& sum, V pairs) {
    sum = add32(sum, multiply_add16(pairs, coefficients));
  };
  add(sums.v[0], unpack_low8(bytes_low, V{}));
  add(sums.v[1], unpack_high8(bytes_low, V{}));
  add(sums.v[2], unpack_low8(bytes_high, V{}));
  add(sums.v[3], unpack_high8(bytes_high, V{}));
}

void weigh(const Tap* taps, size_t tap_count, const Division& division, bool is_absolute,
           size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kBytes) {
    Sums sums = {};
    for (size_t k = 0; k < tap_count; k += 2) {
      const V a = load(taps[k].at + i);
      const V b = load(taps[k + 1].at + i);
      add_pair(sums, unpack_low8(a, b), unpack_high8(a, b),
               splat_pairs16(taps[k].coefficient, taps[k + 1].coefficient));
    }
    const auto divided = [&](size_t part) { return divide(sums.v[part], division, is_absolute); };
    store(out + i, pack16_unsigned(pack32(divided(0), divided(1)), pack32(divided(2), divided(3))));
  }
}

// Differences of unsigned bytes stop at 0.
inline V is_zero(V v) { return equal8(v, V{}); }
inline V is_above(V a, V b) { return ~is_zero(sub8_clamped(a, b)); }
inline V is_well_above(V a, V b) { return ~is_zero(sub8_clamped(sub8_clamped(a, b), splat8(1))); }

// What rises by one: bytes whose bits are all set.
template <uint32_t kRule>
inline V rises(V a, V b, V c) {
  if constexpr (kRule == 0) return is_well_above(a, b);
  if constexpr (kRule == 1) return is_above(a, b) & ~is_above(b, c);
  if constexpr (kRule == 2) return is_above(c, b) & ~is_above(b, a);
  return is_well_above(c, b);
}

template <uint32_t kRule>
void raise_by(const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; i += kBytes) {
    const V here = load(b + i);
    store(out + i, sub8(here, rises<kRule>(load(a + i), here, load(c + i))));
  }
}

void raise(uint32_t rule, const uint8_t* a, const uint8_t* b, const uint8_t* c, uint8_t* out,
           size_t count) {
  constexpr decltype(&raise_by<0>) kRules[] = {raise_by<0>, raise_by<1>, raise_by<2>, raise_by<3>};
  kRules[rule](a, b, c, out, count);
}

template <bool kRemoves>
inline void slide_by(uint16_t* sums, const uint8_t* added, const uint8_t* removed, size_t count) {
  for (size_t i = 0; i < count; i += kBytes / 2) {
    V sum = add16(load(sums + i), load_widened8(added + i));
    if constexpr (kRemoves) sum = sub16(sum, load_widened8(removed + i));
    store(sums + i, sum);
  }
}

void slide(uint16_t* sums, const uint8_t* added, const uint8_t* removed, size_t count) {
  if (removed == nullptr) {
    slide_by<false>(sums, added, removed, count);
  } else {
    slide_by<true>(sums, added, removed, count);
  }
}

// Several sums at once, which share the work of going from column to column.
void average(const uint16_t* sums, size_t step, uint32_t size, size_t count, uint8_t* out) {
  const SquareDivision division = square_division(size);
  const V half = splat16(static_cast<int>(size * size / 2));
  const V multiplier = splat16(division.multiplier);
  constexpr size_t kParts = 4, kPart = kBytes / 2;
  static_assert(kParts * kPart <= kRowSlack);
  for (size_t i = 0; i < count; i += kParts * kPart) {
    V part[kParts] = {half, half, half, half};
    const uint16_t* at = sums + i;
    for (uint32_t k = 0; k < size; ++k, at += step) {
      for (size_t p = 0; p < kParts; ++p) part[p] = add16(part[p], load(at + p * kPart));
    }
    for (V& sum : part) {
      sum = shift_right16(multiply_high16_unsigned(sum, multiplier), division.shift);
    }
    store(out + i, in_order64(pack16_unsigned(part[0], part[1])));
    store(out + i + kBytes, in_order64(pack16_unsigned(part[2], part[3])));
  }
}

// Four columns: the pixel of a step, or four pixels of one channel.
TAVO_INLINE sse2::V load_columns(const uint16_t* columns) {
  return sse2::unpack_low16(sse2::load_low64(columns), sse2::V{});
}

void add_pixels(const uint16_t* columns, size_t step, uint32_t size, size_t count, uint32_t* sums) {
  sse2::V sum{};
  for (uint32_t k = 0; k < size; ++k) sum = sse2::add32(sum, load_columns(columns + k * step));
  for (size_t i = 0; i < count; i += step) {
    sse2::store(sums + i, sum);
    const sse2::V added = load_columns(columns + i + size * step);
    sum = sse2::add32(sum, sse2::sub32(added, load_columns(columns + i)));
  }
}

// The next sum waits for one addition: what four pixels add up to is known before.
void add_levels(const uint16_t* columns, uint32_t size, size_t count, uint32_t* sums) {
  uint32_t first = 0;
  for (uint32_t k = 0; k < size; ++k) first += columns[k];
  sums[0] = first;
  sse2::V sum = sse2::splat32(first);
  for (size_t i = 0; i < count; i += 4) {
    sse2::V more = sse2::sub32(load_columns(columns + i + size), load_columns(columns + i));
    more = sse2::add32(more, sse2::shift_left_bytes<4>(more));
    more = sse2::add32(more, sse2::shift_left_bytes<8>(more));
    sse2::store(sums + i + 1, sse2::add32(sum, more));
    sum = sse2::add32(sum, sse2::repeat_last32(more));
  }
}

void add_columns(const uint16_t* columns, size_t step, uint32_t size, size_t count,
                 uint32_t* sums) {
  if (step == 1) return add_levels(columns, size, count, sums);
  add_pixels(columns, step, size, count, sums);
}

void divide_sums(const uint32_t* sums, uint32_t size, size_t count, uint8_t* out) {
  const V half = splat32(size * size / 2);
  const WideDivision division = wide_division(size);
  const V multiplier = splat32(division.multiplier);
  const auto means = [=](const uint32_t* at) {
    const V sum = add32(load(at), half);
    const V even = multiply_even32_unsigned(sum, multiplier);
    const V odd = multiply_even32_unsigned(shift_right64<32>(sum), multiplier);
    return shift_right64(even, division.shift) |
           shift_left64<32>(shift_right64(odd, division.shift));
  };
  constexpr size_t kWords = kBytes / 4;
  for (size_t i = 0; i < count; i += kBytes) {
    const uint32_t* const at = sums + i;
    const V low = pack32(means(at), means(at + kWords));
    const V high = pack32(means(at + 2 * kWords), means(at + 3 * kWords));
    store(out + i, in_order32(pack16_unsigned(low, high)));
  }
}

void least(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; i += kBytes) store(out + i, min8_unsigned(load(a + i), load(b + i)));
}

void greatest(const uint8_t* a, const uint8_t* b, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; i += kBytes) store(out + i, max8_unsigned(load(a + i), load(b + i)));
}
