// Smooth upsampling, compiled for each instruction set.
//
// The loops run over the ends of a row, where the slack is; the two samples that have no neighbour
// are set afterwards.

constexpr size_t kSamples = kBytes / 2;  // of a vector

// Sums stay below 16 * 255 + 8: 16-bit elements hold them. Outputs of even and odd place are made
// apart and put together as the low and the high byte of an element.

inline V times3(V v) { return add16(v, shift_left16<1>(v)); }

void double_width(const uint8_t* in, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kSamples) {
    const V here = times3(load_widened8(in + i));
    const V even = shift_right16<2>(add16(add16(here, load_widened8(in + i - 1)), splat16(1)));
    const V odd = shift_right16<2>(add16(add16(here, load_widened8(in + i + 1)), splat16(2)));
    store(out + 2 * i, add16(even, shift_left16<8>(odd)));
  }
  out[0] = in[0];
  out[2 * count - 1] = in[count - 1];
}

// Three parts of the nearer row and one of the farther, not yet divided: width and height are
// rounded together.
inline V column(const uint8_t* near, const uint8_t* far) {
  return add16(times3(load_widened8(near)), load_widened8(far));
}

void double_both(const uint8_t* near, const uint8_t* far, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; i += kSamples) {
    const V here = times3(column(near + i, far + i));
    const V even =
        shift_right16<4>(add16(add16(here, column(near + i - 1, far + i - 1)), splat16(8)));
    const V odd =
        shift_right16<4>(add16(add16(here, column(near + i + 1, far + i + 1)), splat16(7)));
    store(out + 2 * i, add16(even, shift_left16<8>(odd)));
  }
  const int first = 3 * near[0] + far[0];
  const int last = 3 * near[count - 1] + far[count - 1];
  out[0] = static_cast<uint8_t>((4 * first + 8) >> 4);
  out[2 * count - 1] = static_cast<uint8_t>((4 * last + 7) >> 4);
}

// Rows only: there are no neighbours, and nothing to set at the ends.
void double_height(const uint8_t* near, const uint8_t* far, int bias, size_t count, uint8_t* out) {
  const V round = splat16(bias);
  for (size_t i = 0; i < count; i += 16) {
    V samples[16 / kSamples];
    for (size_t k = 0; k < 16; k += kSamples) {
      const V sum = column(near + i + k, far + i + k);
      samples[k / kSamples] = shift_right16<2>(add16(sum, round));
    }
    store_narrowed16(out + i, samples);
  }
}
