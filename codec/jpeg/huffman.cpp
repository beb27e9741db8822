#include "codec/jpeg/huffman.h"

namespace tavo::jpeg {
namespace {

int advance_of(uint8_t symbol, TableClass kind) {
  if (kind == TableClass::kDc) return 1;
  const int run = symbol >> 4;
  if ((symbol & 15) == 0 && run != 15) return kEndOfBlock + run;
  return run + 1;
}

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

// Enters one code of at most kLookBits bits at all places that begin with it.
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
