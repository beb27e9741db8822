// Medians of small squares by networks of exchanges, compiled for each instruction set.

inline void order(V& a, V& b) {
  const V least = min8_unsigned(a, b);
  b = max8_unsigned(a, b);
  a = least;
}
inline V middle(V a, V b, V c) {
  return max8_unsigned(min8_unsigned(a, b), min8_unsigned(max8_unsigned(a, b), c));
}

// Exchanges that sort: the fewest for as many.
inline void sort(V (&v)[3]) { order(v[0], v[1]), order(v[1], v[2]), order(v[0], v[1]); }
inline void sort(V (&v)[5]) {
  order(v[0], v[3]), order(v[1], v[4]);
  order(v[0], v[2]), order(v[1], v[3]);
  order(v[0], v[1]), order(v[2], v[4]);
  order(v[1], v[2]), order(v[3], v[4]);
  order(v[2], v[3]);
}
inline void sort(V (&v)[7]) {
  order(v[0], v[6]), order(v[2], v[3]), order(v[4], v[5]);
  order(v[0], v[2]), order(v[1], v[4]), order(v[3], v[6]);
  order(v[0], v[1]), order(v[2], v[5]), order(v[3], v[4]);
  order(v[1], v[2]), order(v[4], v[6]);
  order(v[2], v[3]), order(v[4], v[5]);
  order(v[1], v[2]), order(v[3], v[4]), order(v[5], v[6]);
}

// Of what may be the middle one the least and the greatest cannot, as long as one more than half of
// all are at hand: they go, and the next comes. kHere are at hand, from kNext on come the others.
template <size_t kHere, size_t kNext, size_t kCount>
inline V middle_of(V (&v)[kCount]) {
  for (size_t i = 0; i < kHere / 2; ++i) order(v[i], v[kHere - 1 - i]);
  for (size_t i = 1; i < (kHere + 1) / 2; ++i) order(v[0], v[i]);
  for (size_t i = kHere / 2; i < kHere - 1; ++i) order(v[i], v[kHere - 1]);
  if constexpr (kHere == 3) {
    return v[1];
  } else {
    v[0] = v[kNext];
    return middle_of<kHere - 1, kNext + 1>(v);
  }
}

// Where columns are sorted, and then rows, so many values are less or greater than each that only
// those near the diagonal can be the middle one; as many of the others are less as are greater.
inline V middle_of_rows(V (&r)[3][3]) { return middle(r[0][2], r[1][1], r[2][0]); }
inline V middle_of_rows(V (&r)[5][5]) {
  V left[] = {r[0][3], r[0][4], r[1][2], r[1][3], r[1][4], r[2][1], r[2][2],
              r[2][3], r[3][0], r[3][1], r[3][2], r[4][0], r[4][1]};
  return middle_of<8, 8>(left);
}
inline V middle_of_rows(V (&r)[7][7]) {
  V left[] = {r[0][4], r[0][5], r[0][6], r[1][3], r[1][4], r[1][5], r[1][6], r[2][2],
              r[2][3], r[2][4], r[2][5], r[2][6], r[3][1], r[3][2], r[3][3], r[3][4],
              r[3][5], r[4][0], r[4][1], r[4][2], r[4][3], r[4][4], r[5][0], r[5][1],
              r[5][2], r[5][3], r[6][0], r[6][1], r[6][2]};
  return middle_of<16, 16>(left);
}

template <size_t kSize>
void median(const uint8_t* const* rows, size_t step, size_t count, uint8_t* out) {
  constexpr size_t kPiece = 1024;
  alignas(64) uint8_t sorted[kSize][kPiece + 2 * kRowSlack];
  const size_t before = kSize / 2 * step;  // where the columns of the first pixel's window begin
  for (size_t first = 0; first < count; first += kPiece) {
    const size_t bytes = std::min(kPiece, count - first);
    for (size_t i = kRowSlack - kBytes; i < kRowSlack + bytes + before; i += kBytes) {
      V v[kSize];
      for (size_t y = 0; y < kSize; ++y) v[y] = load(rows[y] + first + i - kRowSlack);
      sort(v);
      for (size_t y = 0; y < kSize; ++y) store(sorted[y] + i, v[y]);
    }
    for (size_t i = 0; i < bytes; i += kBytes) {
      V window[kSize][kSize];
      for (size_t y = 0; y < kSize; ++y) {
        for (size_t x = 0; x < kSize; ++x) window[y][x] = load(sorted[y] + kRowSlack - before + i + x * step);
        sort(window[y]);
      }
      store(out + first + i, middle_of_rows(window));
    }
  }
}
