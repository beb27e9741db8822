#include "codec/jpeg/huffman.h"

namespace tavo::jpeg {
namespace {

// RRRRSSSS (F.1.2.2.1, figure F.1): R zeros before a coefficient of S magnitude bits. 15, 0 is ZRL,
// 16 zeros; 0, 0 is the end of the block; the other R, 0 are ends of band of progressive scans
// (table G.1), which sequential scans, where they do not exist, take for ends of block, too.
int advance_of(uint8_t symbol, TableClass kind) {
  if (kind == TableClass::kDc) return 1;
  const int run = symbol >> 4;
  if ((symbol & 15) == 0 && run != 15) return kEndOfBlock + run;
  return run + 1;
}

// SSSS: of DC differences up to 11 by table F.1 (15 are taken), of AC coefficients up to 10 (table
// F.2).
int magnitude_bits_of(uint8_t symbol) { return symbol & 15; }

// The value that `bits`, the magnitude bits of a coefficient, stand for (F.2.2.1, EXTEND).
int extend(int bits, int count) {
  if (count == 0) return 0;
  return bits < 1 << (count - 1) ? bits - (1 << count) + 1 : bits;
}

LookEntry make_entry(int drop, int advance, int upper) {
  return static_cast<uint32_t>(drop) | static_cast<uint32_t>(advance) << 8 |
         static_cast<uint32_t>(upper) << 16;
}

// Enters one code of at most kLookBits bits at all places that begin with it. Where the magnitude
// bits fit, too, the places tell the value (F.2.2.1, F.2.2.2).
void enter_code(HuffmanTable& table, TableClass kind, uint32_t code, int length, uint8_t symbol) {
  const int size = magnitude_bits_of(symbol);
  const int advance = advance_of(symbol, kind);
  const int rest = kLookBits - length;
  const bool has_run_bits = advance > kEndOfBlock;
  const uint32_t first = code << rest;
  for (uint32_t i = 0; i < 1u << rest; ++i) {
    LookEntry entry = make_entry(0, advance, length | size << 8);
    if (!has_run_bits && size <= rest) {
      const int value = extend(static_cast<int>(i >> (rest - size)), size);
      entry = make_entry(length + size, advance, value);
    }
    table.look[first + i] = entry;
  }
}

}  // namespace

// C.2: codes of a length are consecutive, in the order of their symbols. kept: the code of all
// ones, which C.2 reserves, is taken as any other; other decoders do so.
Status build_table(const HuffmanSpec& spec, TableClass kind, HuffmanTable& table) {
  table.is_defined = false;
  table.look.fill(0);
  table.symbols.fill(0);
  uint32_t code = 0;
  size_t next = 0;
  for (int length = 1; length <= 16; ++length) {
    const uint32_t count = spec.counts[static_cast<size_t>(length - 1)];
    if (next + count > spec.symbols.size() || next + count > table.symbols.size()) return kBadData;
    if (code + count > 1u << length) return kBadData;
    table.offset[static_cast<size_t>(length)] =
        static_cast<int32_t>(next) - static_cast<int32_t>(code);
    for (uint32_t i = 0; i < count; ++i, ++code, ++next) {
      const uint8_t symbol = spec.symbols[next];
      if (kind == TableClass::kDc && symbol > 15) return kBadData;
      table.symbols[next] = symbol;
      if (length <= kLookBits) enter_code(table, kind, code, length, symbol);
    }
    table.limit[static_cast<size_t>(length)] = code << (16 - length);
    code <<= 1;
  }
  table.is_defined = true;
  return kOk;
}

// DECODE (F.2.2.3), from the first length on that the table does not hold.
Symbol find_symbol(const HuffmanTable& table, TableClass kind, LookEntry entry, uint32_t top16) {
  if (entry != 0) {
    return {static_cast<int>(entry >> 16 & 0xFF), static_cast<int>(entry >> 8 & 0xFF),
            static_cast<int>(entry >> 24)};
  }
  for (int length = kLookBits + 1; length <= 16; ++length) {
    const auto n = static_cast<size_t>(length);
    if (top16 >= table.limit[n]) continue;
    const int32_t index = static_cast<int32_t>(top16 >> (16 - length)) + table.offset[n];
    const uint8_t symbol = table.symbols[static_cast<size_t>(index) & 0xFF];
    return {length, advance_of(symbol, kind), magnitude_bits_of(symbol)};
  }
  return {0, 0, 0};
}

}  // namespace tavo::jpeg
