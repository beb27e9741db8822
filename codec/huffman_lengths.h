// Huffman's codes by how often symbols occur.
#pragma once

#include <cstdint>
#include <span>

namespace tavo::huffman {

inline constexpr size_t kMaxSymbols = 288;

// The number of bits of each symbol's code, at most `max_bits` (15 or less); 0 for symbols that do
// not occur. At least two symbols get codes, so that the codes are a whole set.
void find_lengths(std::span<const uint32_t> counts, uint32_t max_bits, std::span<uint8_t> lengths);

// Canonical codes (RFC 1951, 3.2.2), lowest bit last.
void assign_codes(std::span<const uint8_t> lengths, std::span<uint16_t> codes);

}  // namespace tavo::huffman
