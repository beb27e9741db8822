#include "base/vector_sse2.h"
#include "dither/wave.h"

namespace tavo::color {

namespace {

using namespace sse2;

// Bytes by keys of 0 to 31.
struct Table32 {
  explicit Table32(const uint8_t* the_table) : table(the_table) {}
  V look_up(V keys) const {
    alignas(16) int16_t words[8];
    store(words, keys);
    for (int16_t& word : words) word = table[word];
    return load(words);
  }
  const uint8_t* table;
};

#include "dither/wave_kernel.inl"

}  // namespace

WaveKernel wave_kernel_sse2(WaveChoice choice, bool is_floyd_steinberg) {
  return kernel_for(choice, is_floyd_steinberg);
}

}  // namespace tavo::color
