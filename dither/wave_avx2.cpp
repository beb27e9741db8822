#include "base/vector_avx2.h"
#include "dither/wave.h"

TAVO_FOR_AVX2

namespace tavo::color {

namespace {

using namespace avx2;

// Bytes by keys of 0 to 31.
struct Table32 {
  explicit Table32(const uint8_t* table)
      : low(load_repeated(table)), high(load_repeated(table + 16)) {}
  V look_up(V key) const {
    // Bit 7 of the upper byte's key makes the upper byte of the result zero.
    const V keys = key | splat16(0x8000);
    return select(greater16(key, splat16(15)), shuffle8(high, keys), shuffle8(low, keys));
  }
  V low, high;
};

#include "dither/wave_kernel.inl"

}  // namespace

WaveKernel wave_kernel_avx2(WaveChoice choice, bool is_floyd_steinberg) {
  return kernel_for(choice, is_floyd_steinberg);
}

}  // namespace tavo::color

TAVO_END
