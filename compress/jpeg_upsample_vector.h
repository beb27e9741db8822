// Smooth upsampling in vectors, compiled once for each instruction set.
//
// The including file defines TAVO_TARGET, a vector type V of kLanes 16-bit lanes, and inline
// functions of that set: widen (kLanes bytes to words), add, left<n>, right<n>, all_words, store,
// and pack_store (words to kLanes bytes).
//
// The loops run over the ends of a row, where the slack is; the two samples that have no neighbour
// are set afterwards.

namespace tavo::jpeg {
namespace {

TAVO_TARGET inline V times3(V v) { return add(v, left<1>(v)); }

TAVO_TARGET void double_width(const uint8_t* in, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kLanes) {
    const V here = times3(widen(in + i));
    const V even = right<2>(add(add(here, widen(in + i - 1)), all_words(1)));
    const V odd = right<2>(add(add(here, widen(in + i + 1)), all_words(2)));
    store(out + 2 * i, add(even, left<8>(odd)));
  }
  out[0] = in[0];
  out[2 * count - 1] = in[count - 1];
}

TAVO_TARGET inline V column(const uint8_t* near, const uint8_t* far) {
  return add(times3(widen(near)), widen(far));
}

TAVO_TARGET void double_both(const uint8_t* near, const uint8_t* far, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kLanes) {
    const V here = times3(column(near + i, far + i));
    const V even = right<4>(add(add(here, column(near + i - 1, far + i - 1)), all_words(8)));
    const V odd = right<4>(add(add(here, column(near + i + 1, far + i + 1)), all_words(7)));
    store(out + 2 * i, add(even, left<8>(odd)));
  }
  const int first = 3 * near[0] + far[0];
  const int last = 3 * near[count - 1] + far[count - 1];
  out[0] = static_cast<uint8_t>((4 * first + 8) >> 4);
  out[2 * count - 1] = static_cast<uint8_t>((4 * last + 7) >> 4);
}

TAVO_TARGET void double_height(const uint8_t* near, const uint8_t* far, int bias, size_t count,
                               uint8_t* out) {
  const V round = all_words(bias);
  for (size_t i = 0; i < count; i += kLanes) {
    pack_store(out + i, right<2>(add(column(near + i, far + i), round)));
  }
}

}  // namespace
}  // namespace tavo::jpeg
