// The colour classes of consecutive pixels.
#pragma once

#include <cstdint>
#include <span>

namespace tavo::color {

// `pixels` are 16, 24 or 32 bits deep, in `order`.
void classes_of(const uint8_t* pixels, int32_t depth, uint32_t order, std::span<uint16_t> classes);

}  // namespace tavo::color
