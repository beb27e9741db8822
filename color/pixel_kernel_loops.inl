// The row loops over steps, and which there are, written once and compiled for each instruction
// set. The including file has defined, in its namespace, the steps, kStep (pixels of one), and
// KERNEL and KERNEL_INLINE, which say what a function is compiled for.

template <class From, class To>
struct Through {
  static constexpr size_t kIn = From::kBytes;
  static constexpr size_t kOut = To::kBytes;
  KERNEL_INLINE void step(const uint8_t* in, uint8_t* out) { To::write(out, From::read(in)); }
};

constexpr size_t kFetchDistance = 1536;

template <class Step>
KERNEL void convert_rest(const uint8_t* in, uint8_t* out, size_t width) {
  alignas(kStep) uint8_t from[kStep * Step::kIn] = {};
  alignas(kStep) uint8_t to[kStep * Step::kOut];
  std::memcpy(from, in, width * Step::kIn);
  Step::step(from, to);
  std::memcpy(out, to, width * Step::kOut);
}

// Backwards, the processor does not fetch ahead well by itself, above all across pages. What lies
// before a row may be named too: fetching it ahead has no effect that shows.
template <size_t kBytes>
KERNEL_INLINE void fetch_before(const uint8_t* out) {
  const uintptr_t target = reinterpret_cast<uintptr_t>(out) - kFetchDistance;
  for (size_t at = 0; at < kBytes; at += 64) {
    _mm_prefetch(reinterpret_cast<const char*>(target + at), _MM_HINT_T0);
  }
}

template <class Step>
KERNEL void convert(const uint8_t* in, uint8_t* out, size_t width) {
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
      return convert<GrayTo24>;
    case kernel_pair(0, 32):
      return convert<GrayTo32>;
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
