// The checksum of RFC 1950 (8.2).
#pragma once

#include <cstdint>
#include <span>

namespace tavo {

// Of `bytes` behind those whose checksum `before` is; 1 when there are none.
uint32_t adler32(uint32_t before, std::span<const uint8_t> bytes);

// Where one byte has become larger by `difference`, with which so many bytes end.
uint32_t adler32_changed(uint32_t sum, uint32_t difference, uint64_t bytes);

}  // namespace tavo
