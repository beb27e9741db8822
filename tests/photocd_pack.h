// A Photo CD image pack of all five levels, and what each of them shows.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support.h"

namespace tavo::test {

struct PhotoCdPack {
  Bytes file;                 // to 16Base, not turned
  std::array<Bytes, 6> rgb;   // by level: 1 Base/16 to 5 16Base; 3 * width * height bytes
  Bytes enlarged_base;        // what 4Base would be without differences
  std::vector<size_t> marks;  // of the rows of 4Base: bytes of the file
};

constexpr uint32_t photocd_width(uint32_t level) { return 192u << (level - 1); }
constexpr uint32_t photocd_height(uint32_t level) { return 128u << (level - 1); }

// Made once.
const PhotoCdPack& photocd_pack();

}  // namespace tavo::test
