// The checksum of PNG's chunks: CRC-32 as ISO 3309 and ITU-T V.42 have it.
#pragma once

#include <cstdint>
#include <span>

namespace tavo {

// Of `bytes` behind those whose checksum `before` is; 0 when there are none.
uint32_t crc32(uint32_t before, std::span<const uint8_t> bytes);

// The same on the register, which is the checksum's complement.
using Crc32Step = uint32_t (*)(uint32_t state, std::span<const uint8_t> bytes);
uint32_t crc32_by_tables(uint32_t state, std::span<const uint8_t> bytes);
uint32_t crc32_by_products(uint32_t state, std::span<const uint8_t> bytes);

}  // namespace tavo
