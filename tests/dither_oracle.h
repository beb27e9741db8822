// A dithering engine for comparison: slow, whole pictures only, straight from the rules.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "tavo45.h"

namespace tavo::oracle {

// A picture of random smooth and noisy parts without storage of its own in the record.
struct Picture {
  Picture(uint32_t w, uint32_t h, int32_t depth, uint32_t method, bool gray, std::mt19937& random);

  const uint8_t* row(uint32_t y) const { return bytes.data() + y * stride; }
  uint32_t out_stride(uint32_t colours) const {
    return colours <= 2 ? (width + 7) / 8 : colours <= 16 ? (width + 1) / 2 : width;
  }

  uint32_t width;
  uint32_t height;
  uint32_t stride;
  BitmapHandle bitmap = {};
  std::vector<uint8_t> bytes;
};

// The packed rows, every byte 0xA5 before. An empty palette is the built-in one. `by_table`: also
// a palette equal to a built-in one is searched.
std::vector<uint8_t> dither(const Picture& picture, const std::vector<T_PaletteEntry>& palette,
                            uint32_t colours, bool by_table);

}  // namespace tavo::oracle
