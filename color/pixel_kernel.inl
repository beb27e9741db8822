// The row loops between layouts of whole bytes, compiled for each instruction set. A step reads all
// of its input before it writes, so that steps may work in place: forwards where pixels shrink,
// from the end where they grow.

constexpr size_t kStep = kBytes;  // pixels

// Four pixels a lane, a 32-bit word each: first component in the low byte.
struct Pixels {
  V v[4];
};

template <bool kExchange>
struct From24 {
  static constexpr size_t kBytes = 3;
  static Pixels read(const uint8_t* in) {
    constexpr int8_t f = kExchange ? 2 : 0, t = 2 - f, none = -128;
    static constexpr int8_t kSpread[16] = {f,     1, t,     none, f + 3, 4,  t + 3, none,
                                           f + 6, 7, t + 6, none, f + 9, 10, t + 9, none};
    constexpr size_t kVector = 12 * kLanes;
    const V spread = load_repeated(kSpread);
    // The last vector is read from four bytes before, to stay inside the step.
    return {{shuffle8(load_lanes<12>(in), spread), shuffle8(load_lanes<12>(in + kVector), spread),
             shuffle8(load_lanes<12>(in + 2 * kVector), spread),
             shuffle8(load_lanes<12>(in + 3 * kVector - 4), add8(spread, splat8(4)))}};
  }
};

// Leaves the spare byte in the words: what writes them does not look at it.
struct From32 {
  static constexpr size_t kBytes = 4;
  static Pixels read(const uint8_t* in) {
    return {{load(in), load(in + kStep), load(in + 2 * kStep), load(in + 3 * kStep)}};
  }
};

template <bool kExchange>
struct From16 {
  static constexpr size_t kBytes = 2;
  // v << 3 | v >> 2 is v * 33 >> 2, and the high half of a product takes the shift along.
  static void read_half(const uint8_t* in, V& low, V& high) {
    const V word = in_order64(load(in));
    V first = multiply_high16_unsigned(shift_left16<11>(word), splat16(33 << 3));
    const V second = multiply_high16_unsigned(word & splat16(31 << 5), splat16(33 << 9));
    V third = multiply_high16_unsigned(word & splat16(31 << 10), splat16(33 << 4));
    if constexpr (kExchange) std::swap(first, third);
    const V pair = first | shift_left16<8>(second);
    low = unpack_low16(pair, third);
    high = unpack_high16(pair, third);
  }
  static Pixels read(const uint8_t* in) {
    Pixels p;
    read_half(in, p.v[0], p.v[1]);
    read_half(in + kStep, p.v[2], p.v[3]);
    return p;
  }
};

struct To32 {
  static constexpr size_t kBytes = 4;
  static void write(uint8_t* out, const Pixels& p) {
    for (size_t i = 0; i < 4; ++i) store(out + i * kStep, p.v[i]);
  }
};

template <bool kExchange>
struct To24 {
  static constexpr size_t kBytes = 3;
  static void write(uint8_t* out, const Pixels& p) {
    constexpr int8_t f = kExchange ? 2 : 0, t = 2 - f;
    static constexpr int8_t kJoin[16] = {f,     1,      t,  f + 4,  5,  t + 4, f + 8, 9,
                                         t + 8, f + 12, 13, t + 12, -1, -1,    -1,    -1};
    const V join = load_repeated(kJoin);
    store_twelves(out, shuffle8(p.v[0], join), shuffle8(p.v[1], join), shuffle8(p.v[2], join),
                  shuffle8(p.v[3], join));
  }
};

template <bool kExchange>
struct To16 {
  static constexpr size_t kBytes = 2;
  // (first + 32 second + 1024 third) >> 3 of the upper five bits, the sum made in two steps.
  static V words(V v) {
    const V upper = v & splat32(0x00F8F8F8);
    const V pairs = multiply_add8(upper, splat32(kExchange ? 0x00010120 : 0x00012001));
    return shift_right32<3>(multiply_add16(pairs, splat32(kExchange ? 0x00010020 : 0x04000001)));
  }
  static void write(uint8_t* out, const Pixels& p) {
    store(out, in_order64(pack32(words(p.v[0]), words(p.v[1]))));
    store(out + kStep, in_order64(pack32(words(p.v[2]), words(p.v[3]))));
  }
};

template <bool kRedFirst>
struct ToGray {
  static constexpr size_t kBytes = 1;
  static V levels(V a, V b) {
    const V weights = splat32(kRedFirst ? 0x00010502 : 0x00020501);
    const V sums = add_pairs16(multiply_add8(a, weights), multiply_add8(b, weights));
    return shift_right16<3>(add16(sums, splat16(4)));
  }
  static void write(uint8_t* out, const Pixels& p) {
    store(out, in_order32(pack16_unsigned(levels(p.v[0], p.v[1]), levels(p.v[2], p.v[3]))));
  }
};

template <class From, class To>
struct Through {
  static constexpr size_t kIn = From::kBytes;
  static constexpr size_t kOut = To::kBytes;
  static void step(const uint8_t* in, uint8_t* out) { To::write(out, From::read(in)); }
};

struct GrayTo16 {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = 2;
  static V words(V level) { return multiply16(shift_right16<3>(level), splat16(0x0421)); }
  static void step(const uint8_t* in, uint8_t* out) {
    const V levels = in_order64(load(in));
    store(out, words(unpack_low8(levels, V{})));
    store(out + kStep, words(unpack_high8(levels, V{})));
  }
};

// To pixels of three or four bytes.
template <size_t kPixelBytes>
struct GrayTo {
  static constexpr size_t kIn = 1;
  static constexpr size_t kOut = kPixelBytes;
  // Which of 16 pixels each byte shows, and once more for the next 16.
  static constexpr auto kOrders = [] {
    std::array<uint8_t, 32 * kOut> orders;
    for (size_t i = 0; i < orders.size(); ++i) {
      orders[i] = static_cast<uint8_t>(i % kOut == 3 ? 0x80 : i / kOut % 16);
    }
    return orders;
  }();
  template <size_t kVector>
  static V spread(const uint8_t* in) {
    constexpr size_t kLane = kVector * kLanes;
    constexpr size_t kFirst = 16 * (kLane / kOut), kNext = 16 * ((kLane + 1) / kOut);
    return shuffle8(load_lanes<kNext - kFirst>(in + kFirst), load(&kOrders[16 * (kLane % kOut)]));
  }
  static void step(const uint8_t* in, uint8_t* out) {
    [=]<size_t... kVector>(std::index_sequence<kVector...>) {
      const V all[] = {spread<kVector>(in)...};
      (store(out + kVector * kStep, all[kVector]), ...);
    }
    (std::make_index_sequence<kOut>());
  }
};

struct Exchange32 {
  static constexpr size_t kIn = 4;
  static constexpr size_t kOut = 4;
  static void step(const uint8_t* in, uint8_t* out) {
    static constexpr uint8_t kOrder[16] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
    const V order = load_repeated(kOrder);
    for (size_t i = 0; i < 4 * kStep; i += kStep) store(out + i, shuffle8(load(in + i), order));
  }
};

constexpr size_t kFetchDistance = 1536;

template <class Step>
void convert_rest(const uint8_t* in, uint8_t* out, size_t width) {
  alignas(kStep) uint8_t from[kStep * Step::kIn] = {};
  alignas(kStep) uint8_t to[kStep * Step::kOut];
  std::memcpy(from, in, width * Step::kIn);
  Step::step(from, to);
  std::memcpy(out, to, width * Step::kOut);
}

// Backwards, the processor does not fetch ahead well by itself, above all across pages. What lies
// before a row may be named too: fetching it ahead has no effect that shows.
template <size_t kOut>
inline void fetch_before(const uint8_t* out) {
  const uintptr_t target = reinterpret_cast<uintptr_t>(out) - kFetchDistance;
  for (size_t at = 0; at < kOut; at += 64) {
    __builtin_prefetch(reinterpret_cast<const void*>(target + at));
  }
}

template <class Step>
void convert(const uint8_t* in, uint8_t* out, size_t width) {
  constexpr size_t kIn = kStep * Step::kIn;
  constexpr size_t kOut = kStep * Step::kOut;
  const size_t whole = width / kStep;
  const size_t rest = width % kStep;
  if constexpr (kOut > kIn) {
    if (rest != 0) convert_rest<Step>(in + whole * kIn, out + whole * kOut, rest);
    for (size_t i = whole; i-- > 0;) {
      fetch_before<kOut>(out + i * kOut);
      Step::step(in + i * kIn, out + i * kOut);
    }
  } else {
    for (size_t i = 0; i < whole; ++i) Step::step(in + i * kIn, out + i * kOut);
    if (rest != 0) convert_rest<Step>(in + whole * kIn, out + whole * kOut, rest);
  }
}

template <class From, class To>
constexpr PixelKernel through = convert<Through<From, To>>;

PixelKernel choose(int32_t bits_in, int32_t bits_out, bool exchange) {
  switch (kernel_pair(bits_in, bits_out)) {
    case kernel_pair(0, 16):
      return convert<GrayTo16>;
    case kernel_pair(0, 24):
      return convert<GrayTo<3>>;
    case kernel_pair(0, 32):
      return convert<GrayTo<4>>;
    case kernel_pair(16, 0):
      return exchange ? through<From16<false>, ToGray<true>>
                      : through<From16<false>, ToGray<false>>;
    case kernel_pair(16, 24):
      return exchange ? through<From16<true>, To24<false>> : through<From16<false>, To24<false>>;
    case kernel_pair(16, 32):
      return exchange ? through<From16<true>, To32> : through<From16<false>, To32>;
    case kernel_pair(24, 0):
      return exchange ? through<From24<false>, ToGray<true>>
                      : through<From24<false>, ToGray<false>>;
    case kernel_pair(24, 16):
      return exchange ? through<From24<false>, To16<true>> : through<From24<false>, To16<false>>;
    case kernel_pair(24, 24):
      return exchange ? through<From24<true>, To24<false>> : nullptr;
    case kernel_pair(24, 32):
      return exchange ? through<From24<true>, To32> : through<From24<false>, To32>;
    case kernel_pair(32, 0):
      return exchange ? through<From32, ToGray<true>> : through<From32, ToGray<false>>;
    case kernel_pair(32, 16):
      return exchange ? through<From32, To16<true>> : through<From32, To16<false>>;
    case kernel_pair(32, 24):
      return exchange ? through<From32, To24<true>> : through<From32, To24<false>>;
    case kernel_pair(32, 32):
      return exchange ? convert<Exchange32> : nullptr;
    default:
      return nullptr;
  }
}
