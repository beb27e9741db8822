// means_kernels.h for one instruction set.

// Four pixels of three channels, 12 bytes, or as many as 16 bytes hold go through a lane.
template <size_t kChannels>
constexpr size_t kLaneBytes = kChannels == 3 ? 12 : 16;

// What is added up lies side by side.
template <size_t kChannels>
constexpr auto kPairs = [] {
  std::array<uint8_t, 16> order = {};
  for (size_t i = 0; i < 16; ++i) {
    const size_t pair = i / 2 / kChannels, channel = i / 2 % kChannels;
    order[i] = static_cast<uint8_t>((2 * pair + i % 2) * kChannels + channel);
  }
  return order;
}();

template <size_t kChannels>
TAVO_INLINE V pairs_of(const uint8_t* row) {
  V bytes = load_lanes<kLaneBytes<kChannels>>(row);
  if constexpr (kChannels > 1) bytes = shuffle8(bytes, load_repeated(kPairs<kChannels>.data()));
  return multiply_add8(bytes, splat8(1));
}

template <size_t kChannels>
size_t of_bytes(const uint8_t* one, const uint8_t* two, size_t bytes, uint8_t* to) {
  constexpr size_t kLane = kLaneBytes<kChannels>;
  size_t x = 0;
  for (; x + kLane * (kLanes - 1) + 16 <= bytes; x += kLane * kLanes) {
    const V sums = add16(pairs_of<kChannels>(one + x), pairs_of<kChannels>(two + x));
    if constexpr (kLane == 16) {
      store(to + x, sums);
    } else {
      sse2::store(to + x, lane<0>(sums));
      if constexpr (kLanes == 2) sse2::store(to + x + kLane, lane<kLanes - 1>(sums));
    }
  }
  return x;
}

// Sums of one channel meet in 32 bits.
void of_single_sums(const uint8_t* one, const uint8_t* two, size_t bytes, uint8_t* to) {
  const auto pairs = [=](size_t x) {
    return multiply_add16(add16(load(one + x), load(two + x)), splat16(1));
  };
  for (size_t x = 0; x < bytes; x += 2 * kBytes) {
    store(to + x / 2, in_order64(pack32(pairs(x), pairs(x + kBytes))));
  }
}

// Others lie two pixels a step, of which the second comes over the first.
template <size_t kChannels>
void of_sums(const uint8_t* one, const uint8_t* two, size_t bytes, uint8_t* to) {
  constexpr size_t kPixel = 2 * kChannels;
  for (size_t x = 0; x < bytes; x += 2 * kPixel) {
    const sse2::V both = sse2::add16(sse2::load(one + x), sse2::load(two + x));
    const sse2::V second = sse2::shift_right_bytes<kPixel>(both);
    sse2::store_low64(to + x / 2, sse2::add16(both, second));
  }
}

void finish(const uint8_t* sums, uint32_t shift, size_t count, uint8_t* to) {
  const V half = splat16(1 << (shift - 1));
  const auto means = [=](size_t at) {
    return shift_right16(add16(load(sums + at), half), static_cast<int>(shift));
  };
  for (size_t i = 0; i < count; i += kBytes) {
    store(to + i, in_order64(pack16_unsigned(means(2 * i), means(2 * i + kBytes))));
  }
}

constexpr MeanKernels kMeans[3] = {{of_bytes<1>, of_single_sums, finish},
                                   {of_bytes<3>, of_sums<3>, finish},
                                   {of_bytes<4>, of_sums<4>, finish}};
