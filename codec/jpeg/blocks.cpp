#include "codec/jpeg/blocks.h"

#include <algorithm>
#include <array>
#include <bit>

#include "base/vector_sse2.h"

namespace tavo::jpeg {
namespace {

// Where coefficient k goes. What lies behind the 63rd, an end of block or a run that is too long,
// goes to the place of the DC value, which is stored last.
using Places = std::array<uint8_t, 64 + kEndOfBlock + 15>;
constexpr Places kNaturalPlaces = [] {
  Places place = {};
  std::copy(kZigzag.begin(), kZigzag.end(), place.begin());
  return place;
}();
constexpr Places kZigzagPlaces = [] {
  Places place = {};
  for (size_t k = 0; k < kBlockSize; ++k) place[k] = static_cast<uint8_t>(k);
  return place;
}();

// The advance that stands for a code that the table does not have: out of every block.
constexpr int kNoCode = 64;

struct Coefficient {
  int advance;
  int value;
};

// A code that the look-up table does not settle together with its magnitude. 16 + 16 bits, more
// than the narrower register holds: a refill for each.
__attribute__((noinline)) Coefficient read_long(BitPosition& at, const HuffmanTable& table,
                                                TableClass kind, LookEntry entry) {
  at.refill();
  const Symbol symbol = find_symbol(table, kind, entry, at.peek(16));
  if (symbol.code_bits == 0) {
    // kept: the bits that were looked at are dropped, and one more: so others do, whose pictures
    // of damaged streams are to be the same.
    at.drop(16);
    at.refill();
    at.drop(1);
    return {kNoCode, 0};
  }
  at.drop(symbol.code_bits);
  at.refill();
  return {symbol.advance, at.take_signed(symbol.magnitude_bits)};
}

// One AC coefficient or end of block (F.2.2.2); no refill when the table settles it.
inline Coefficient read_ac(BitPosition& at, const HuffmanTable& table) {
  const LookEntry entry = table.look[at.peek(kLookBits)];
  const uint32_t drop = entry & 0xFF;
  if (drop == 0) [[unlikely]]
    return read_long(at, table, TableClass::kAc, entry);
  at.drop(drop);
  return {static_cast<int>(entry >> 8 & 0xFF), static_cast<int32_t>(entry) >> 16};
}

// The difference of a DC value (F.2.2.1); false for a code that the table does not have.
inline bool read_dc(BitPosition& at, const HuffmanTable& table, int& difference) {
  const LookEntry entry = table.look[at.peek(kLookBits)];
  const uint32_t drop = entry & 0xFF;
  if (drop == 0) [[unlikely]] {
    const Coefficient read = read_long(at, table, TableClass::kDc, entry);
    difference = read.value;
    return read.advance != kNoCode;
  }
  at.drop(drop);
  difference = static_cast<int32_t>(entry) >> 16;
  return true;
}

// Adds in 16 bits, as the values are stored; sound ones of 8-bit samples need 12 (table F.1),
// damaged streams may overflow them.
inline void add_dc(int& dc, int difference) { dc = static_cast<int16_t>(dc + difference); }

// Symbols that one refill has bits for when the table settles them: 5 of a 64-bit register, 2 of 32
// bits.
constexpr int kSymbolsPerRefill = static_cast<int>(BitPosition::kRefilledBits) / kLookBits;

// Decode_AC_coefficients of F.2.2.2 with its decisions in tables: a symbol moves k by its run and
// one more, an end of block by more than a block. So each step stores one value, if need be at a
// place where it does no harm, and there is one branch for the end.
//
// In bounds as k is below 63 before a step and below 63 + kEndOfBlock + 15 behind it.
template <const Places& kPlaces>
inline int decode_block(BitPosition& position, const HuffmanTable& dc_table,
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
      block[kPlaces[static_cast<size_t>(k)]] = static_cast<int16_t>(read.value);
      if (k >= 63) break;
    }
  } while (k < 63);
  position = at;
  block[0] = static_cast<int16_t>(dc);
  if (k >= kEndOfBlock && has_dc) return k - step;
  return k == 63 && has_dc ? 63 : kBadBlock;
}

}  // namespace

int decode_sequential(BitPosition& at, const HuffmanTable& dc_table, const HuffmanTable& ac_table,
                      int& dc, int16_t* block) {
  return decode_block<kNaturalPlaces>(at, dc_table, ac_table, dc, block);
}

int decode_sequential_zigzag(BitPosition& at, const HuffmanTable& dc_table,
                             const HuffmanTable& ac_table, int& dc, int16_t* block) {
  return decode_block<kZigzagPlaces>(at, dc_table, ac_table, dc, block);
}

// G.1.2.1: as in a sequential scan, the value without its lowest bits.
int decode_dc_first(BitPosition& at, const HuffmanTable& dc_table, int low, int& dc,
                    int16_t* block) {
  int difference = 0;
  at.refill();
  if (!read_dc(at, dc_table, difference)) return kBadBlock;
  add_dc(dc, difference);
  block[0] = static_cast<int16_t>(static_cast<uint32_t>(dc) << low);
  return 0;
}

// The next bit of the value, not coded.
void refine_dc(BitPosition& at, int low, int16_t* block) {
  at.refill();
  if (at.take(1) != 0) block[0] = static_cast<int16_t>(block[0] | 1 << low);
}

namespace {

// The blocks that an end-of-band symbol covers besides the present one: EOBn of table G.1 and its n
// extra bits.
uint32_t read_run(BitPosition& at, int advance) {
  const int bits = advance - kEndOfBlock;
  if (bits == 0) return 0;
  at.refill();
  return (1u << bits) - 1 + at.take(bits);
}

}  // namespace

// G.1.2.2: as in a sequential scan, but for ends of band that hold for several blocks.
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
    block[k] = static_cast<int16_t>(value);
  }
  position = at;
  return result;
}

namespace {

// The bits from `first` on and up to `last`, both 0 to 63.
inline uint64_t bits_between(int first, int last) {
  return ~uint64_t{0} << first & ~uint64_t{0} >> (63 - last);
}

// Reads the correction bits of the coefficients in `mask`, which are not zero any more (G.1.2.3): a
// 1 makes the magnitude larger by one step, of the scan's precision, away from zero.
inline void correct(BitPosition& at, int low, uint64_t mask, int16_t* block) {
  while (mask != 0) {
    at.refill();
    for (uint32_t i = 0; i < at.kRefilledBits && mask != 0; ++i, mask &= mask - 1) {
      int16_t& value = block[std::countr_zero(mask)];
      const int sign = value >> 15;
      const int bit = static_cast<int>(at.take(1)) << low;
      value = static_cast<int16_t>(value + ((bit ^ sign) - sign));
    }
  }
}

}  // namespace

// Masks of 16 bits, packed to bytes, whose top bits make the word.
uint64_t find_nonzero(const int16_t* block) {
  using namespace sse2;
  uint64_t zeros = 0;
  for (size_t i = 0; i < 64; i += 16) {
    const V low = equal16(load(block + i), V{});
    const V high = equal16(load(block + i + 8), V{});
    zeros |= uint64_t{top_bits8(pack16(low, high))} << i;
  }
  return ~zeros;
}

// G.1.2.3. A symbol's run counts coefficients that are zero so far; those passed on the way that
// are not send their correction bits behind the symbol. The new value is 1 or -1 at the scan's
// precision.
//
// kept: a run that leaves the band is no error here: it ends the band, as in other decoders.
int refine_ac(BitPosition& position, const HuffmanTable& ac_table, const Band& band,
              uint32_t& end_of_band_run, int16_t* block) {
  const uint64_t in_band = bits_between(band.first, band.last);
  // What is left of the band, as the non-zero and the zero coefficients that were there before.
  uint64_t known = find_nonzero(block) & in_band;
  if (end_of_band_run > 0) {
    --end_of_band_run;
    correct(position, band.low, known, block);
    return 0;
  }
  BitPosition at = position;
  uint64_t free = in_band & ~known;
  int result = 0;
  for (int k = band.first; k <= band.last;) {
    at.refill();
    const Coefficient read = read_ac(at, ac_table);
    if (read.advance >= kNoCode) {
      if (read.advance == kNoCode) {
        result = kBadBlock;
      } else {
        end_of_band_run = read_run(at, read.advance);
        correct(at, band.low, known, block);
      }
      break;
    }
    for (int zeros = read.advance - 1; zeros > 0; --zeros) free &= free - 1;
    const int place = free != 0 ? std::countr_zero(free) : band.last + 1;
    const uint64_t passed = place > band.last ? in_band : bits_between(0, place);
    correct(at, band.low, known & passed, block);
    known &= ~passed;
    free &= ~passed;
    if (read.value != 0 && place <= band.last) {
      block[place] = static_cast<int16_t>(read.value > 0 ? 1 << band.low : -(1 << band.low));
    }
    k = place + 1;
  }
  position = at;
  return result;
}

}  // namespace tavo::jpeg
