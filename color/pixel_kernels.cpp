#include "color/pixel_kernels.h"

#include <cstring>

#include "color/gray.h"
#include "color/widen.h"
#include "platform/platform.h"

namespace tavo::color {

namespace {

// First, second and third component in the order of the layout; in 16 bits the first is in the
// low bits, as it is in a 32-bit word of the byte layouts.
struct Components {
  uint32_t first, second, third;
};

struct Gray {
  static constexpr size_t kBytes = 1;
  static Components read(const uint8_t* in) { return {in[0], in[0], in[0]}; }
  // Weighs the third component as red.
  static void write(uint8_t* out, Components c) { out[0] = gray_level(c.third, c.second, c.first); }
};

struct Bits16 {
  static constexpr size_t kBytes = 2;
  static Components read(const uint8_t* in) {
    const uint32_t word = in[0] | static_cast<uint32_t>(in[1]) << 8;
    return {widen_5_bits(word), widen_5_bits(word >> 5), widen_5_bits(word >> 10)};
  }
  static void write(uint8_t* out, Components c) {
    const uint32_t word = c.first >> 3 | c.second >> 3 << 5 | c.third >> 3 << 10;
    out[0] = static_cast<uint8_t>(word);
    out[1] = static_cast<uint8_t>(word >> 8);
  }
};

struct Bits24 {
  static constexpr size_t kBytes = 3;
  static Components read(const uint8_t* in) { return {in[0], in[1], in[2]}; }
  static void write(uint8_t* out, Components c) {
    out[0] = static_cast<uint8_t>(c.first);
    out[1] = static_cast<uint8_t>(c.second);
    out[2] = static_cast<uint8_t>(c.third);
  }
};

struct Bits32 {
  static constexpr size_t kBytes = 4;
  static Components read(const uint8_t* in) { return {in[0], in[1], in[2]}; }
  static void write(uint8_t* out, Components c) {
    Bits24::write(out, c);
    out[3] = 0;
  }
};

template <class In, class Out, bool kExchange>
void convert_plain(const uint8_t* in, uint8_t* out, size_t width) {
  const auto convert_pixel = [in, out](size_t x) {
    Components c = In::read(in + x * In::kBytes);
    if constexpr (kExchange) c = {c.third, c.second, c.first};
    Out::write(out + x * Out::kBytes, c);
  };
  if constexpr (Out::kBytes > In::kBytes) {  // backwards, or in place would overtake itself
    for (size_t x = width; x-- > 0;) convert_pixel(x);
  } else {
    for (size_t x = 0; x < width; ++x) convert_pixel(x);
  }
}

void exchange_32(const uint8_t* in, uint8_t* out, size_t width) {
  for (size_t x = 0; x < width; ++x) {
    uint32_t pixel;
    std::memcpy(&pixel, in + 4 * x, 4);
    pixel = (pixel & 0xFF00FF00) | (pixel & 0xFF) << 16 | (pixel >> 16 & 0xFF);
    std::memcpy(out + 4 * x, &pixel, 4);  // the spare byte goes along
  }
}

template <class In, class Out>
PixelKernel plain(bool exchange) {
  return exchange ? convert_plain<In, Out, true> : convert_plain<In, Out, false>;
}

}  // namespace

PixelKernel plain_kernel(int32_t bits_in, int32_t bits_out, bool exchange) {
  switch (kernel_pair(bits_in, bits_out)) {
    case kernel_pair(0, 16):
      return plain<Gray, Bits16>(false);
    case kernel_pair(0, 24):
      return plain<Gray, Bits24>(false);
    case kernel_pair(0, 32):
      return plain<Gray, Bits32>(false);
    case kernel_pair(16, 0):
      return plain<Bits16, Gray>(exchange);
    case kernel_pair(16, 16):
      return plain<Bits16, Bits16>(exchange);
    case kernel_pair(16, 24):
      return plain<Bits16, Bits24>(exchange);
    case kernel_pair(16, 32):
      return plain<Bits16, Bits32>(exchange);
    case kernel_pair(24, 0):
      return plain<Bits24, Gray>(exchange);
    case kernel_pair(24, 16):
      return plain<Bits24, Bits16>(exchange);
    case kernel_pair(24, 24):
      return exchange ? plain<Bits24, Bits24>(true) : nullptr;
    case kernel_pair(24, 32):
      return plain<Bits24, Bits32>(exchange);
    case kernel_pair(32, 0):
      return plain<Bits32, Gray>(exchange);
    case kernel_pair(32, 16):
      return plain<Bits32, Bits16>(exchange);
    case kernel_pair(32, 24):
      return plain<Bits32, Bits24>(exchange);
    case kernel_pair(32, 32):
      return exchange ? exchange_32 : nullptr;
    default:
      return nullptr;
  }
}

// The best first, as this is asked for every row.
PixelKernel pixel_kernel(int32_t bits_in, int32_t bits_out, bool exchange) {
  using enum platform::Processor;
  const platform::Processor processor = platform::processor();
  PixelKernel kernel = nullptr;
  if (processor >= kAvx2) kernel = avx2_kernel(bits_in, bits_out, exchange);
  if (kernel == nullptr && processor >= kSsse3) kernel = ssse3_kernel(bits_in, bits_out, exchange);
  return kernel != nullptr ? kernel : plain_kernel(bits_in, bits_out, exchange);
}

}  // namespace tavo::color
