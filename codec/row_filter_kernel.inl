// What the filters predict of a vector of bytes, and filtering with it. Included inside an unnamed
// namespace that uses the names of one instruction set.

// Rounded down: what a complement loses by rounding up.
TAVO_INLINE V average8(V left, V up) { return ~average8_up(~left, ~up); }

TAVO_INLINE V difference8(V a, V b) { return sub8_clamped(a, b) | sub8_clamped(b, a); }
TAVO_INLINE V select8(V mask, V a, V b) { return (mask & a) | (~mask & b); }

// Whichever of the three is nearest to left + up - corner, in this order (9.4). With
// d(left) = |up - corner| and d(up) = |left - corner| the distance of the corner is their sum where
// both are on one side of it, where it never wins, and their difference elsewhere.
TAVO_INLINE V paeth8(V left, V up, V corner) {
  const V d_left = difference8(up, corner), d_up = difference8(left, corner);
  const V is_up_above = equal8(max8_unsigned(up, corner), up);
  const V is_left_above = equal8(max8_unsigned(left, corner), left);
  const V is_one_side = equal8(is_up_above, is_left_above);
  const V d_corner = difference8(d_left, d_up) | is_one_side;
  const V least = min8_unsigned(min8_unsigned(d_left, d_up), d_corner);
  return select8(equal8(d_left, least), left, select8(equal8(d_up, least), up, corner));
}

// The neighbours of the bytes at `i`: at the row's begin those on the left are the zeros in front
// (9.2).
struct Neighbours {
  V left, up, corner;

  TAVO_INLINE Neighbours(const uint8_t* row, const uint8_t* above, size_t pixel_bytes)
      : left(load(row - pixel_bytes)), up(load(above)), corner(load(above - pixel_bytes)) {}

  TAVO_INLINE V predict(Filter filter) const {
    switch (filter) {
      case Filter::kNone:
        return V{};
      case Filter::kSub:
        return left;
      case Filter::kUp:
        return up;
      case Filter::kAverage:
        return average8(left, up);
      case Filter::kPaeth:
        return paeth8(left, up, corner);
    }
    return V{};
  }
};

template <Filter kFilter>
void apply_one(std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
               uint8_t* out) {
  for (size_t i = 0; i < row.size(); i += kBytes) {
    const Neighbours near(row.data() + i, above + i, pixel_bytes);
    store(out + i, sub8(load(row.data() + i), near.predict(kFilter)));
  }
}

void apply_kernel(Filter filter, std::span<const uint8_t> row, const uint8_t* above,
                  size_t pixel_bytes, uint8_t* out) {
  switch (filter) {
    case Filter::kNone:
      return apply_one<Filter::kNone>(row, above, pixel_bytes, out);
    case Filter::kSub:
      return apply_one<Filter::kSub>(row, above, pixel_bytes, out);
    case Filter::kUp:
      return apply_one<Filter::kUp>(row, above, pixel_bytes, out);
    case Filter::kAverage:
      return apply_one<Filter::kAverage>(row, above, pixel_bytes, out);
    case Filter::kPaeth:
      return apply_one<Filter::kPaeth>(row, above, pixel_bytes, out);
  }
}

// The smaller of a byte and its negative; 128 is its own.
TAVO_INLINE void add_magnitudes(V bytes, V (&sums)[kFilterCount], Filter filter) {
  V& sum = sums[static_cast<size_t>(filter)];
  sum = add32(sum, sum8_unsigned(min8_unsigned(bytes, sub8(V{}, bytes))));
}

// The sums of what each filter leaves, as signed bytes without their signs. 32 bits hold them for
// rows of 256 MiB; of longer ones they may be wrong, which makes them longer, but not false.
void sums_kernel(std::span<const uint8_t> row, const uint8_t* above, size_t pixel_bytes,
                 uint32_t* result) {
  V sums[kFilterCount] = {};
  for (size_t i = 0; i < row.size(); i += kBytes) {
    // What is behind the row counts as 0.
    const V mask = load(kTailMasks.data() + 64 - std::min(kBytes, row.size() - i));
    const V bytes = load(row.data() + i);
    const Neighbours near(row.data() + i, above + i, pixel_bytes);
    const auto add = [&](Filter filter) {
      add_magnitudes(mask & sub8(bytes, near.predict(filter)), sums, filter);
    };
    add(Filter::kNone);
    add(Filter::kSub);
    add(Filter::kUp);
    add(Filter::kAverage);
    add(Filter::kPaeth);
  }
  for (size_t f = 0; f < kFilterCount; ++f) {
    uint32_t parts[kBytes / 4];
    store(parts, sums[f]);
    result[f] = std::accumulate(parts, parts + kBytes / 4, 0u);
  }
}
