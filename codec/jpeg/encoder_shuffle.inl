// What byte shuffles do in the encoder. Included after encoder_kernel.inl.

// Eight pixels, four in each argument. Blue and green come by one shuffle for four pixels, red by
// one that puts its four where the others' are zero.
inline void spread_halves(V low_four, V high_four, V (&bgr)[3]) {
  const V blue_green = load_repeated(kSpreadBlueGreen.data());
  const V low = shuffle8(low_four, blue_green), high = shuffle8(high_four, blue_green);
  bgr[0] = unpack_low64(low, high);
  bgr[1] = unpack_high64(low, high);
  bgr[2] = shuffle8(low_four, load_repeated(kSpreadRedLow.data())) |
           shuffle8(high_four, load_repeated(kSpreadRedHigh.data()));
}

// Reads 4 bytes too many.
inline void load_components(const uint8_t* bgr, V (&first)[3], V (&second)[3]) {
  spread_halves(load_lanes<48>(bgr), load_lanes<48>(bgr + 12), first);
  spread_halves(load_lanes<48>(bgr + 24), load_lanes<48>(bgr + 36), second);
}

// The multiplication adds neighbours: 255 + 255 fits its signed 16 bits.
inline V pair_sums(V bytes) { return multiply_add8(bytes, splat8(1)); }

// What source number kSource has of part kOut; of the 16 pairs two have nothing.
template <int kOut, int kSource>
inline V take(V part, V source) {
  if constexpr (!kZigzagShuffle.is_used[kOut][kSource]) return part;
  return part | shuffle8(source, load_repeated(kZigzagShuffle.place[kOut][kSource].data()));
}

template <int kOut>
inline V stream_part(const V (&columns)[4]) {
  V part = {};
  part = take<kOut, 0>(part, columns[0]);
  part = take<kOut, 1>(part, columns[1]);
  part = take<kOut, 2>(part, columns[2]);
  return take<kOut, 3>(part, columns[3]);
}

// The blocks' bytes in stream order, 16 a vector and lane.
inline void to_stream(const V (&r)[8], V (&stream)[4]) {
  V columns[4];
  for (size_t u = 0; u < 4; ++u) columns[u] = pack16(r[2 * u], r[2 * u + 1]);
  stream[0] = stream_part<0>(columns), stream[1] = stream_part<1>(columns);
  stream[2] = stream_part<2>(columns), stream[3] = stream_part<3>(columns);
}
