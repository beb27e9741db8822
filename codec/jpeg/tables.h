// Constant tables of the JPEG standard that the encoder and the decoder share.
// Facts: ISO/IEC 10918-1 (ITU-T T.81), figure 5 and annex K.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace tavo::jpeg {

inline constexpr int kBlockSize = 64;

// A.3.6: from low frequencies to high ones, so that zeros gather at the end.
// kZigzag[k] is the natural position (8 * row + column) of the k-th coefficient of a stream.
inline constexpr std::array<uint8_t, kBlockSize> kZigzag = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

// Quantisation tables K.1 and K.2 in natural order.
extern const std::array<uint8_t, kBlockSize> kLuminanceQuantisers;
extern const std::array<uint8_t, kBlockSize> kChrominanceQuantisers;

// BITS and HUFFVAL of ISO/IEC 10918-1, C.1.
// A Huffman table as a DHT segment states it: counts[i] codes of i + 1 bits, then the symbols in
// the order of their codes.
struct HuffmanSpec {
  std::array<uint8_t, 16> counts;
  std::span<const uint8_t> symbols;
};

// Tables K.3 to K.6. Index 0 serves luminance, 1 chrominance.
extern const std::array<HuffmanSpec, 2> kStandardDc;
extern const std::array<HuffmanSpec, 2> kStandardAc;

}  // namespace tavo::jpeg
