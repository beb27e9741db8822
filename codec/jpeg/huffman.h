// Huffman tables as the decoder searches them.
// Facts: ISO/IEC 10918-1, annexes C, F and G.
#pragma once

#include <array>
#include <cstdint>

#include "base/status.h"
#include "codec/jpeg/tables.h"

namespace tavo::jpeg {

enum class TableClass { kDc, kAc };

// Code bits that one look-up resolves. Ten cover a code together with its magnitude bits for some
// nineteen of twenty coefficients of a photograph; two AC tables of this size stay in the first
// cache.
inline constexpr int kLookBits = 10;

// What an entry of the look-up table says of the bits that index it. Its four fields:
//   bits 0-7    bits to drop: code and magnitude; 0 when they do not fit, see below
//   bits 8-15   how far to move in zigzag order: run + 1, or kEndOfBlock + r for symbols (r, 0)
//   bits 16-31  the coefficient's value, signed
// When bits 0-7 are 0 the value's place holds the code's length (low byte) and the number of
// magnitude bits (high byte). An entry that is 0 as a whole belongs to longer or unassigned codes.
using LookEntry = uint32_t;

inline constexpr int kEndOfBlock = 128;

struct HuffmanTable {
  std::array<LookEntry, size_t{1} << kLookBits> look;
  // A code of n bits, left-aligned in 16, is below limit[n] and above all shorter ones; its symbol
  // is symbols[(code >> (16 - n)) + offset[n]].
  std::array<uint32_t, 17> limit;
  std::array<int32_t, 17> offset;
  std::array<uint8_t, 256> symbols;
  bool is_defined;
};

// Fills `table`. kBadData when more codes are counted than there are, when a DC symbol is no
// magnitude, or when the symbols are fewer than the counts say.
Status build_table(const HuffmanSpec& spec, TableClass kind, HuffmanTable& table);

// A symbol (RRRRSSSS, F.1.2.2.1, or the category of a DC difference, table F.1) split into what the
// decoding loops need of it.
struct Symbol {
  int code_bits;  // 0: no such code
  int advance;    // as in LookEntry
  int magnitude_bits;
};

// Resolves the code at the top of 16 left-aligned bits that `entry` leaves open.
Symbol find_symbol(const HuffmanTable& table, TableClass kind, LookEntry entry, uint32_t top16);

}  // namespace tavo::jpeg
