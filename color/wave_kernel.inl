// The steps of a wave, written once and compiled for each instruction set. The including file has
// defined, in its namespace, Words (sixteen 16-bit words) and what can be done with them.

// v & mask of the top bits, widened to eight by repeating them: 3 bits or 2.
inline Words widen_3_bits(Words v) {
  const Words top = v & splat(0xE0);
  return add(add(top, shift_right<3>(top)), shift_right<6>(top));
}
inline Words widen_2_bits(Words v) {
  const Words top = v & splat(0xC0);
  const Words four = add(top, shift_right<2>(top));
  return add(four, shift_right<4>(four));
}

// Each choice turns the clamped components in v[] into the palette's and returns the indices.

struct GrayThreshold {
  static constexpr uint32_t kChannels = 1;
  explicit GrayThreshold(const Wave& wave) : white(splat(wave.white)) {}
  Words operator()(Words (&v)[1]) const {
    const Words bright = greater(v[0], splat(127));
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
    v[0] = values.look_up(key);
    return indices.look_up(key);
  }
  Table32 values, indices;
};

struct BlackWhite {
  static constexpr uint32_t kChannels = 3;
  explicit BlackWhite(const Wave& wave) : white(splat(wave.white)) {}
  Words operator()(Words (&v)[3]) const {
    const Words five_greens = add(shift_left<2>(v[1]), v[1]);
    const Words sum = add(add(add(v[0], v[0]), v[2]), five_greens);
    const Words bright = greater(sum, splat(8 * 128 - 4 - 1));
    v[0] = v[1] = v[2] = bright & white;
    return bright & splat(1);
  }
  Words white;
};

struct Sixteen {
  static constexpr uint32_t kChannels = 3;
  explicit Sixteen(const Wave&) {}
  Words operator()(Words (&v)[3]) const {
    const Words red = greater(v[0], splat(127));
    const Words green = greater(v[1], splat(127));
    const Words blue = greater(v[2], splat(127));
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
    store(classes, shift_left<7>(v[0] & top) | shift_left<2>(v[1] & top) | shift_right<3>(v[2]));
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
    const Words below_left = load(at - (kSkew - 1) * 32 - 1);
    const Words below = load(at - kSkew * 32 - 1);
    const Words below_right = load(at - (kSkew + 1) * 32 - 1);
    const Words three = add(add(below_left, below_left), below_left);
    const Words five = add(shift_left<2>(below), below);
    const Words above = add(add(three, five), below_right);
    // Seven times the last error: all else is known early.
    const Words sum = add(subtract(above, last), shift_left<3>(last));
    return shift_right_signed<4>(add(sum, shift_right<12>(shift_right_signed<15>(sum))));
  }
};

struct AnyFilter {
  explicit AnyFilter(const WaveFilter& the_filter)
      : filter(the_filter), right1(splat(filter.right1)), right2(splat(filter.right2)) {}
  Words carry(const int16_t* at, Words last, Words before) const {
    Words sum = multiply(before, right2);
    for (uint32_t i = 0; i < filter.tap_count; ++i) {
      sum = add(sum, multiply(load(at + filter.taps[i].offset), splat(filter.taps[i].weight)));
    }
    sum = add(sum, multiply(last, right1));
    if (filter.is_halved) sum = add(sum, odd_part(at, sum));
    const Words quotient =
        shift_right_signed(multiply_high(sum, splat(filter.reciprocal)), filter.shift);
    return subtract(quotient, shift_right_signed<15>(sum));
  }
  // The sum is twice `half` and `odd`; half of it, truncated toward zero.
  Words odd_part(const int16_t* at, Words half) const {
    const Words odd = add(load(at + filter.odd_offsets[0]), load(at + filter.odd_offsets[1]));
    const Words floor = shift_right_signed<1>(odd);
    const Words is_negative = shift_right_signed<15>(add(half, floor));
    return add(floor, is_negative & odd & splat(1));
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
    last[c] = load(wave.last[c]);
    before[c] = load(wave.before[c]);
  }
  const uint8_t* in = wave.in;
  for (uint32_t i = 0; i < wave.steps; ++i, in += step) {
    Words v[kChannels];
    Words clamped[kChannels];
    for (uint32_t c = 0; c < kChannels; ++c) {
      const Words carry =
          filter.carry(wave.errors[c][kHistory + i].words + kAbove, last[c], before[c]);
      clamped[c] = clamp_to_byte(add(load_bytes(in + offsets[c]), carry));
      v[c] = clamped[c];
    }
    const Words index = choice(v);
    for (uint32_t c = 0; c < kChannels; ++c) {
      Words error = subtract(clamped[c], v[c]);
      if (!wave.all_active) error = error & load(wave.active[i]);
      store(wave.errors[c][kHistory + i].words + kAbove, error);
      before[c] = last[c];
      last[c] = error;
    }
    store_bytes(wave.out + i * kWaveLanes, index);
  }
  for (uint32_t c = 0; c < kChannels; ++c) {
    store(wave.last[c], last[c]);
    store(wave.before[c], before[c]);
  }
}

template <class Filter>
WaveKernel kernel_for(WaveChoice choice) {
  constexpr WaveKernel kKernels[kWaveChoices] = {
      run_wave<GrayThreshold, Filter>, run_wave<GrayTable, Filter>, run_wave<BlackWhite, Filter>,
      run_wave<Sixteen, Filter>,       run_wave<Cube, Filter>,      run_wave<Classes, Filter>};
  return kKernels[static_cast<uint32_t>(choice)];
}
