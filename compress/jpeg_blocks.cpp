#include "compress/jpeg_blocks.h"

#include <algorithm>
#include <array>

namespace tavo::jpeg {
namespace {

// Where coefficient k goes. What lies behind the 63rd, an end of block or a run that is too long,
// goes to the place of the DC value, which is stored last.
constexpr size_t kPlaces = 64 + kEndOfBlock + 15;
constexpr std::array<uint8_t, kPlaces> kPlace = [] {
  std::array<uint8_t, kPlaces> place = {};
  std::copy(kZigzag.begin(), kZigzag.end(), place.begin());
  return place;
}();

// The advance that stands for a code that the table does not have: out of every block.
constexpr int kNoCode = 64;

struct Coefficient {
  int advance;
  int value;
};

// A code that the look-up table does not settle together with its magnitude.
__attribute__((noinline)) Coefficient read_long(BitPosition& at, const HuffmanTable& table,
                                                TableClass kind, LookEntry entry) {
  at.refill();
  const Symbol symbol = find_symbol(table, kind, entry, at.peek(16));
  if (symbol.code_bits == 0) return {kNoCode, 0};
  at.drop(symbol.code_bits);
  at.refill();
  return {symbol.advance, at.take_signed(symbol.magnitude_bits)};
}

// One AC coefficient or end of block; no refill when the table settles it.
inline Coefficient read_ac(BitPosition& at, const HuffmanTable& table) {
  const LookEntry entry = table.look[at.peek(kLookBits)];
  const int drop = entry & 0xFF;
  if (drop == 0) [[unlikely]]
    return read_long(at, table, TableClass::kAc, entry);
  at.drop(drop);
  return {static_cast<int>(entry >> 8 & 0xFF), static_cast<int32_t>(entry) >> 16};
}

// The difference of a DC value; false for a code that the table does not have.
inline bool read_dc(BitPosition& at, const HuffmanTable& table, int& difference) {
  const LookEntry entry = table.look[at.peek(kLookBits)];
  const int drop = entry & 0xFF;
  if (drop == 0) [[unlikely]] {
    const Coefficient read = read_long(at, table, TableClass::kDc, entry);
    difference = read.value;
    return read.advance != kNoCode;
  }
  at.drop(drop);
  difference = static_cast<int32_t>(entry) >> 16;
  return true;
}

// Adds in 16 bits, as the values are stored; damaged streams may overflow them.
inline void add_dc(int& dc, int difference) { dc = static_cast<int16_t>(dc + difference); }

constexpr int kSymbolsPerRefill = kRefilledBits / kLookBits;

}  // namespace

int decode_sequential(BitPosition& position, const HuffmanTable& dc_table,
                      const HuffmanTable& ac_table, int& dc, int16_t* block) {
  BitPosition at = position;
  at.refill();
  int difference = 0;
  const bool has_dc = read_dc(at, dc_table, difference);
  add_dc(dc, difference);
  int k = 0;
  int step = 0;
  do {
    at.refill();
#pragma GCC unroll 8
    for (int i = 0; i < kSymbolsPerRefill; ++i) {
      const Coefficient read = read_ac(at, ac_table);
      step = read.advance;
      k += step;
      block[kPlace[static_cast<size_t>(k)]] = static_cast<int16_t>(read.value);
      if (k >= 63) break;
    }
  } while (k < 63);
  position = at;
  block[0] = static_cast<int16_t>(dc);
  if (k >= kEndOfBlock && has_dc) return k - step;
  return k == 63 && has_dc ? 63 : kBadBlock;
}

int decode_dc_first(BitPosition& at, const HuffmanTable& dc_table, int low, int& dc,
                    int16_t* block) {
  int difference = 0;
  at.refill();
  if (!read_dc(at, dc_table, difference)) return kBadBlock;
  add_dc(dc, difference);
  block[0] = static_cast<int16_t>(static_cast<uint32_t>(dc) << low);
  return 0;
}

void refine_dc(BitPosition& at, int low, int16_t* block) {
  at.refill();
  if (at.take(1) != 0) block[0] = static_cast<int16_t>(block[0] | 1 << low);
}

namespace {

// The blocks that an end-of-band symbol covers besides the present one.
uint32_t read_run(BitPosition& at, int advance) {
  const int bits = advance - kEndOfBlock;
  at.refill();
  return (1u << bits) - 1 + at.take(bits);
}

}  // namespace

int decode_ac_first(BitPosition& position, const HuffmanTable& ac_table, const Band& band,
                    uint32_t& end_of_band_run, int16_t* block) {
  BitPosition at = position;
  int k = band.first - 1;
  int result = 0;
  while (k < band.last) {
    at.refill();
    const Coefficient read = read_ac(at, ac_table);
    if (read.advance >= kEndOfBlock) {
      end_of_band_run = read_run(at, read.advance);
      break;
    }
    k += read.advance;
    if (k > band.last) {
      result = kBadBlock;
      break;
    }
    const auto value = static_cast<uint32_t>(read.value) << band.low;
    block[kPlace[static_cast<size_t>(k)]] = static_cast<int16_t>(value);
  }
  position = at;
  return result;
}

namespace {

// Reads the correction bit of a coefficient that is not zero any more.
inline void correct(BitPosition& at, int low, int16_t& coefficient) {
  if (at.count < 1) at.refill();
  if (at.take(1) == 0) return;
  const int bit = 1 << low;
  if ((coefficient & bit) != 0) return;
  coefficient = static_cast<int16_t>(coefficient + (coefficient >= 0 ? bit : -bit));
}

// Passes `zeros` zero coefficients and corrects the others on the way, to the next zero one or the
// end of the band. Returns where it stopped.
inline int pass_zeros(BitPosition& at, const Band& band, int k, int zeros, int16_t* block) {
  for (; k <= band.last; ++k) {
    int16_t& coefficient = block[kZigzag[static_cast<size_t>(k)]];
    if (coefficient != 0) {
      correct(at, band.low, coefficient);
    } else if (--zeros < 0) {
      break;
    }
  }
  return k;
}

}  // namespace

int refine_ac(BitPosition& position, const HuffmanTable& ac_table, const Band& band,
              uint32_t& end_of_band_run, int16_t* block) {
  BitPosition at = position;
  int k = band.first;
  bool has_ended = end_of_band_run > 0;
  if (has_ended) --end_of_band_run;
  int result = 0;
  while (!has_ended && k <= band.last) {
    at.refill();
    const Coefficient read = read_ac(at, ac_table);
    if (read.advance == kNoCode) {
      result = kBadBlock;
      break;
    }
    if (read.advance >= kEndOfBlock) {
      end_of_band_run = read_run(at, read.advance);
      has_ended = true;
      break;
    }
    k = pass_zeros(at, band, k, read.advance - 1, block);
    if (read.value != 0 && k <= band.last) {
      const int value = read.value > 0 ? 1 << band.low : -(1 << band.low);
      block[kZigzag[static_cast<size_t>(k)]] = static_cast<int16_t>(value);
    }
    ++k;
  }
  if (has_ended) pass_zeros(at, band, k, kBlockSize, block);
  position = at;
  return result;
}

}  // namespace tavo::jpeg
