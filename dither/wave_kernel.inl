// The steps of a wave, compiled for each instruction set. The including file has defined Table32,
// made of 32 bytes, whose look_up() takes keys of 0 to 31 in 16-bit elements.

// The sixteen lanes, in one vector or two.
constexpr size_t kPartLanes = kBytes / 2;
constexpr size_t kParts = kWaveLanes / kPartLanes;
struct Words {
  V part[kParts];
};

// Loops over the parts would keep them in memory.
template <class Part>
inline Words of_parts(Part part) {
  if constexpr (kParts == 1) return {{part(0)}};
  if constexpr (kParts == 2) return {{part(0), part(1)}};
}
template <auto kVerb, class... Operands>
inline Words each(const Operands&... operands) {
  return of_parts([&](size_t i) { return kVerb(operands.part[i]...); });
}

inline V both(V a, V b) { return a & b; }
inline V either(V a, V b) { return a | b; }
inline V clamp(V a) { return max16(min16(a, splat16(255)), V{}); }

inline Words operator&(Words a, Words b) { return each<both>(a, b); }
inline Words operator|(Words a, Words b) { return each<either>(a, b); }
inline Words operator+(Words a, Words b) { return each<add16>(a, b); }
inline Words operator-(Words a, Words b) { return each<sub16>(a, b); }
inline Words operator*(Words a, Words b) { return each<multiply16>(a, b); }
inline Words operator>(Words a, Words b) { return each<greater16>(a, b); }
template <int kCount>
inline Words shift_left(Words a) {
  return each<shift_left16<kCount>>(a);
}
template <int kCount>
inline Words shift_right(Words a) {
  return each<shift_right16<kCount>>(a);
}
template <int kCount>
inline Words shift_right_signed(Words a) {
  return each<shift_right16_signed<kCount>>(a);
}

inline Words splat(int value) {
  return of_parts([=](size_t) { return splat16(value); });
}
inline Words load_words(const int16_t* from) {
  return of_parts([=](size_t i) { return load(from + i * kPartLanes); });
}
template <class Word>
inline void store_words(Word* to, const Words& words) {
  for (size_t i = 0; i < kParts; ++i) store(to + i * kPartLanes, words.part[i]);
}
inline Words load_bytes(const uint8_t* from) {
  return of_parts([=](size_t i) { return load_widened8(from + i * kPartLanes); });
}

inline Words look_up(const Table32& table, const Words& keys) {
  return of_parts([&](size_t i) { return table.look_up(keys.part[i]); });
}

// A choice for each lane, the first and the second four of each eight.
struct Choices {
  Words first;
  Words second;
};

inline Choices load_choices(const uint32_t* choices, const uint16_t* classes) {
  const auto four = [=](size_t at) { return look_up32(choices, classes + at); };
  return {of_parts([&](size_t i) { return four(i * kPartLanes); }),
          of_parts([&](size_t i) { return four(i * kPartLanes + 4); })};
}
inline bool any_equal(const Choices& choices, uint32_t value) {
  V equal = {};
  for (size_t i = 0; i < kParts; ++i) {
    equal |= equal32(choices.first.part[i], splat32(value));
    equal |= equal32(choices.second.part[i], splat32(value));
  }
  return top_bits8(equal) != 0;
}
template <int kShift>
inline V byte_of(V choices) {
  return shift_right32<kShift>(choices) & splat32(255);
}
template <int kShift>
inline Words byte_of(const Choices& choices) {
  return of_parts([&](size_t i) {
    return pack32(byte_of<kShift>(choices.first.part[i]), byte_of<kShift>(choices.second.part[i]));
  });
}

// v & mask of the top bits, widened to eight by repeating them: 3 bits or 2.
inline Words widen_3_bits(Words v) {
  const Words top = v & splat(0xE0);
  return top + shift_right<3>(top) + shift_right<6>(top);
}
inline Words widen_2_bits(Words v) {
  const Words top = v & splat(0xC0);
  const Words four = top + shift_right<2>(top);
  return four + shift_right<4>(four);
}

// Each choice turns the clamped components in v[] into the palette's and returns the indices.

struct GrayThreshold {
  static constexpr uint32_t kChannels = 1;
  explicit GrayThreshold(const Wave& wave) : white(splat(wave.white)) {}
  Words operator()(Words (&v)[1]) const {
    const Words bright = v[0] > splat(127);
    v[0] = bright & white;
    return bright & splat(1);
  }
  Words white;
};

struct GrayTable {
  static constexpr uint32_t kChannels = 1;
  explicit GrayTable(const Wave& wave) : values(wave.gray_values), indices(wave.gray_indices) {}
  Words operator()(Words (&v)[1]) const {
    const Words key = shift_right<3>(v[0]);
    v[0] = look_up(values, key);
    return look_up(indices, key);
  }
  Table32 values, indices;
};

struct BlackWhite {
  static constexpr uint32_t kChannels = 3;
  explicit BlackWhite(const Wave& wave) : white(splat(wave.white)) {}
  Words operator()(Words (&v)[3]) const {
    const Words five_greens = shift_left<2>(v[1]) + v[1];
    const Words sum = v[0] + v[0] + v[2] + five_greens;
    const Words bright = sum > splat(8 * 128 - 4 - 1);
    v[0] = v[1] = v[2] = bright & white;
    return bright & splat(1);
  }
  Words white;
};

struct Sixteen {
  static constexpr uint32_t kChannels = 3;
  explicit Sixteen(const Wave&) {}
  Words operator()(Words (&v)[3]) const {
    const Words red = v[0] > splat(127);
    const Words green = v[1] > splat(127);
    const Words blue = v[2] > splat(127);
    v[0] = red & splat(255);
    v[1] = green & splat(255);
    v[2] = blue & splat(255);
    return (red & splat(9)) | (green & splat(10)) | (blue & splat(12));
  }
};

struct Cube {
  static constexpr uint32_t kChannels = 3;
  explicit Cube(const Wave&) {}
  Words operator()(Words (&v)[3]) const {
    const Words index =
        (v[0] & splat(0xE0)) | shift_right<3>(v[1] & splat(0xE0)) | shift_right<6>(v[2]);
    v[0] = widen_3_bits(v[0]);
    v[1] = widen_3_bits(v[1]);
    v[2] = widen_2_bits(v[2]);
    return index;
  }
};

struct Classes {
  static constexpr uint32_t kChannels = 3;
  explicit Classes(const Wave& wave) : pass(*wave.pass), choices(pass.choices) {}
  Words operator()(Words (&v)[3]) const {
    const Words top = splat(0xF8);
    alignas(32) uint16_t classes[kWaveLanes];
    store_words(classes,
                shift_left<7>(v[0] & top) | shift_left<2>(v[1] & top) | shift_right<3>(v[2]));
    Choices chosen = load_choices(choices, classes);
    if (any_equal(chosen, pass.unknown)) [[unlikely]] {
      for (const uint16_t each : classes) pass.choose(each);
      chosen = load_choices(choices, classes);
    }
    v[0] = byte_of<16>(chosen);
    v[1] = byte_of<8>(chosen);
    v[2] = byte_of<0>(chosen);
    return byte_of<24>(chosen);
  }
  DitherPass& pass;
  const uint32_t* choices;
};

// What reaches the pixels of this step, divided. `at` is lane 0 of the step's errors.
struct FloydSteinberg {
  explicit FloydSteinberg(const WaveFilter&) {}
  Words carry(const int16_t* at, Words last, Words) const {
    const Words below_left = load_words(at - (kSkew - 1) * 32 - 1);
    const Words below = load_words(at - kSkew * 32 - 1);
    const Words below_right = load_words(at - (kSkew + 1) * 32 - 1);
    const Words three = below_left + below_left + below_left;
    const Words five = shift_left<2>(below) + below;
    const Words above = three + five + below_right;
    // Seven times the last error: all else is known early.
    const Words sum = above - last + shift_left<3>(last);
    return shift_right_signed<4>(sum + shift_right<12>(shift_right_signed<15>(sum)));
  }
};

struct AnyFilter {
  explicit AnyFilter(const WaveFilter& the_filter)
      : filter(the_filter), right1(splat(filter.right1)), right2(splat(filter.right2)) {}
  Words carry(const int16_t* at, Words last, Words before) const {
    Words sum = before * right2;
    for (uint32_t i = 0; i < filter.tap_count; ++i) {
      sum = sum + load_words(at + filter.taps[i].offset) * splat(filter.taps[i].weight);
    }
    sum = sum + last * right1;
    if (filter.is_halved) sum = sum + odd_part(at, sum);
    const Words quotient = of_parts([&](size_t i) {
      const V high = multiply_high16(sum.part[i], splat16(filter.reciprocal));
      return shift_right16_signed(high, filter.shift);
    });
    return quotient - shift_right_signed<15>(sum);
  }
  // The sum is twice `half` and `odd`; half of it, truncated toward zero.
  Words odd_part(const int16_t* at, Words half) const {
    const Words odd =
        load_words(at + filter.odd_offsets[0]) + load_words(at + filter.odd_offsets[1]);
    const Words floor = shift_right_signed<1>(odd);
    const Words is_negative = shift_right_signed<15>(half + floor);
    return floor + (is_negative & odd & splat(1));
  }
  const WaveFilter& filter;
  Words right1, right2;
};

template <class Choice, class Filter>
void run_wave(Wave& wave) {
  constexpr uint32_t kChannels = Choice::kChannels;
  const Choice choice(wave);
  const Filter filter(wave.filter);
  const uint32_t offsets[3] = {wave.pixels.red * kWaveLanes, wave.pixels.green * kWaveLanes,
                               wave.pixels.blue * kWaveLanes};
  const uint32_t step = wave.pixels.step * kWaveLanes;
  Words last[kChannels];
  Words before[kChannels];
  for (uint32_t c = 0; c < kChannels; ++c) {
    last[c] = load_words(wave.last[c]);
    before[c] = load_words(wave.before[c]);
  }
  const uint8_t* in = wave.in;
  for (uint32_t i = 0; i < wave.steps; ++i, in += step) {
    Words v[kChannels];
    Words clamped[kChannels];
    for (uint32_t c = 0; c < kChannels; ++c) {
      const Words carry =
          filter.carry(wave.errors[c][kHistory + i].words + kAbove, last[c], before[c]);
      clamped[c] = each<clamp>(load_bytes(in + offsets[c]) + carry);
      v[c] = clamped[c];
    }
    const Words index = choice(v);
    for (uint32_t c = 0; c < kChannels; ++c) {
      Words error = clamped[c] - v[c];
      if (!wave.all_active) error = error & load_words(wave.active[i]);
      store_words(wave.errors[c][kHistory + i].words + kAbove, error);
      before[c] = last[c];
      last[c] = error;
    }
    store_narrowed16(wave.out + i * kWaveLanes, index.part);
  }
  for (uint32_t c = 0; c < kChannels; ++c) {
    store_words(wave.last[c], last[c]);
    store_words(wave.before[c], before[c]);
  }
}

template <class Filter>
WaveKernel kernel_with(WaveChoice choice) {
  constexpr WaveKernel kKernels[kWaveChoices] = {
      run_wave<GrayThreshold, Filter>, run_wave<GrayTable, Filter>, run_wave<BlackWhite, Filter>,
      run_wave<Sixteen, Filter>,       run_wave<Cube, Filter>,      run_wave<Classes, Filter>};
  return kKernels[static_cast<uint32_t>(choice)];
}

WaveKernel kernel_for(WaveChoice choice, bool is_floyd_steinberg) {
  return is_floyd_steinberg ? kernel_with<FloydSteinberg>(choice) : kernel_with<AnyFilter>(choice);
}
