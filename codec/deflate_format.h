// What encoders and decoders of Deflate have in common (RFC 1951).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/endian.h"

namespace tavo::deflate {

inline constexpr size_t kHistory = 32768;  // how far back matches reach (2)
// Lengths of matches, and the symbol behind the literals 0 to 255 (3.2.5).
inline constexpr uint32_t kMinMatch = 3, kMaxMatch = 258;
inline constexpr uint32_t kEndOfBlock = 256;
inline constexpr uint32_t kMaxBits = 15;  // of a code; of the lengths' own 7
inline constexpr uint32_t kLiteralCodes = 286, kDistanceCodes = 30, kLengthCodes = 19;

// A symbol of a length or a distance: the least of its numbers, and the extra bits that are added.
struct Extra {
  uint16_t base;
  uint8_t bits;
};

// 3.2.5; symbols 257 to 285, and distance symbols 0 to 29. The rest (286 and 287, 30 and 31) have
// fixed codes, but never occur (3.2.6). A length of 258, which 284 could be as well, has one of its
// own without extra bits.
inline constexpr Extra kLengths[] = {
    {3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
    {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
    {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}};
inline constexpr Extra kDistances[] = {
    {1, 0},     {2, 0},     {3, 0},     {4, 0},      {5, 1},      {7, 1},
    {9, 2},     {13, 2},    {17, 3},    {25, 3},     {33, 4},     {49, 4},
    {65, 5},    {97, 5},    {129, 6},   {193, 6},    {257, 7},    {385, 7},
    {513, 8},   {769, 8},   {1025, 9},  {1537, 9},   {2049, 10},  {3073, 10},
    {4097, 11}, {6145, 11}, {8193, 12}, {12289, 12}, {16385, 13}, {24577, 13}};

// Order in which the lengths of the code-length code are stored (3.2.7).
inline constexpr uint8_t kLengthOrder[kLengthCodes] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                       11, 4,  12, 3, 13, 2, 14, 1, 15};

// The fixed codes (3.2.6), by their lengths alone: their numbering is the canonical one.
constexpr uint8_t fixed_literal_bits(uint32_t symbol) {
  return symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8;
}
inline constexpr uint8_t kFixedDistanceBits = 5;

// Codes are packed from their most significant bit on into bytes that are filled from the lowest
// bit on (3.1.1), so the bits in a register stand the other way round.
inline uint32_t reverse_code(uint32_t code, uint32_t length) {
  const auto bytes = static_cast<uint16_t>(mirror_bits(uint64_t{code}));
  return uint32_t{__builtin_bswap16(bytes)} >> (16 - length);
}

}  // namespace tavo::deflate
