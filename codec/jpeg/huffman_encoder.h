// Entropy coding for the JPEG encoder: baseline Huffman codes (ISO/IEC 10918-1, annex F.1.2).
//
// Bits go to a work buffer first, without the zero bytes that follow 0xFF in a stream; stuffing
// them is a pass of its own over 16 bytes at a time. That frees the coder of a test per byte.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "codec/jpeg/encoder_kernels.h"
#include "codec/jpeg/tables.h"

namespace tavo::jpeg {

// A code with, for `small`, the value's extra bits behind it: bits << 8 | number of bits. 0: none.
using Code = uint32_t;

inline constexpr uint32_t kZeroRunSymbol = 0xF0;  // 16 zeros
inline constexpr uint32_t kEndOfBlockSymbol = 0;

// Tables F.1 and F.2: the category of a value is the number of bits of its magnitude.
inline uint32_t category(int value) {
  return static_cast<uint32_t>(std::bit_width(static_cast<uint32_t>(std::abs(value))));
}

// F.1.2.1.1 and F.1.2.2.1. The category's extra bits: the value, or for negative ones the value
// less 1, cut to size.
inline uint32_t extra_bits(int value, uint32_t bits) {
  return static_cast<uint32_t>(value + (value >> 31)) & ((1u << bits) - 1);
}

constexpr uint32_t code_length(Code code) { return code & 0xFF; }

// At most 24 bits together.
inline Code append_value(Code code, int value) {
  const uint32_t bits = category(value);
  return (code >> 8 << bits | extra_bits(value, bits)) << 8 | (code_length(code) + bits);
}

struct HuffmanCodes {
  std::array<Code, 16> dc;   // by magnitude category
  std::array<Code, 256> ac;  // by run << 4 | magnitude category
  // By run of zeros and value (as a byte): code and extra bits of a coefficient from -127 to 126.
  std::array<std::array<Code, 256>, 16> small;
};

void make_codes(const HuffmanSpec& dc, const HuffmanSpec& ac, HuffmanCodes& codes);

// Fewer than 8 bits that wait for the next ones, right-aligned.
struct BitState {
  uint32_t bits = 0;
  uint32_t count = 0;
};

// One block of each MCU: block number first + step x i in the i-th MCU of a tile. Blocks from
// `real` on lie outside the picture and are coded as short as can be: level unchanged, no detail.
struct BlockSlot {
  const BlockPair* pairs;
  uint32_t first;
  uint32_t step;
  uint32_t real;
  const HuffmanCodes* codes;
  int32_t* level;  // the component's last DC coefficient
};

// No block takes more: 11 + 11 bits for DC, 63 times 26 for AC.
inline constexpr size_t kMaxBlockBytes = 216;
inline constexpr size_t kBitSlack = 16;

struct EntropyCoder {
  // Codes `mcus` MCUs of `slot_count` blocks each; returns the end of what it wrote. `out` must
  // have kMaxBlockBytes for each block and kBitSlack bytes more.
  uint8_t* (*encode)(const BlockSlot* slots, size_t slot_count, size_t mcus, BitState& state,
                     uint8_t* out);
  // Copies `count` bytes and puts a zero behind each 0xFF; returns the end. `out` must have
  // 2 x count + 16 bytes.
  uint8_t* (*stuff)(const uint8_t* bytes, size_t count, uint8_t* out);
};

extern const EntropyCoder kPlainEntropyCoder;
extern const EntropyCoder kSse2EntropyCoder;
extern const EntropyCoder kAvx2EntropyCoder;

// The best for the processor at hand.
const EntropyCoder& entropy_coder();

}  // namespace tavo::jpeg
