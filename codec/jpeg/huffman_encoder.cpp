#include "codec/jpeg/huffman_encoder.h"

#include <bit>
#include <cstring>

#include "base/variants.h"

namespace tavo::jpeg {

namespace {

// C.2, figures C.1 to C.3: consecutive codes of each length. Symbols without a code get 0, which is
// none: a code has a length.
template <size_t kSize>
void assign_codes(const HuffmanSpec& spec, std::array<Code, kSize>& codes) {
  codes.fill(0);
  uint32_t code = 0;
  size_t next = 0;
  for (uint32_t bits = 1; bits <= 16; ++bits, code <<= 1) {
    for (uint32_t i = 0; i < spec.counts[bits - 1]; ++i, ++code, ++next) {
      codes[spec.symbols[next]] = code << 8 | bits;
    }
  }
}

// One code at a time, one byte at a time: the judge of the vector code. Bits that have been written
// move up and out of `bits_`; up to 7 wait.
class PlainBits {
 public:
  PlainBits(const BitState& state, uint8_t* out)
      : bits_(state.bits), count_(state.count), out_(out) {}
  void put(Code code) { put(code >> 8, code_length(code)); }
  void put(uint32_t bits, uint32_t count) {
    bits_ = bits_ << count | bits;
    for (count_ += count; count_ >= 8; count_ -= 8) {
      *out_++ = static_cast<uint8_t>(bits_ >> (count_ - 8));
    }
  }
  uint8_t* finish(BitState& state) const {
    state = {static_cast<uint32_t>(bits_) & ((1u << count_) - 1), count_};
    return out_;
  }

 private:
  uint64_t bits_;
  uint32_t count_;
  uint8_t* out_;
};

// F.1.2.1 and F.1.2.2: the difference of the DC value; for each other coefficient the run of zeros
// before it with its category, then its extra bits; an end of block unless the last one is not
// zero.
void put_plain_block(PlainBits& bits, const BlockPair& pair, size_t lane, const BlockSlot& slot) {
  const int level = pair.coefficients[0][lane][0];
  bits.put(append_value(slot.codes->dc[category(level - *slot.level)], level - *slot.level));
  *slot.level = level;

  uint32_t run = 0;
  for (size_t k = 1; k < kBlockSize; ++k) {
    // In the order of the zigzag (A.3.6), from coefficients that stand column by column.
    const int value = pair.coefficients[kColumnZigzag[k] >> 3][lane][kColumnZigzag[k] & 7];
    if (value == 0) {
      ++run;
      continue;
    }
    // ZRL (F.1.2.2.1); zeros behind the last coefficient take none.
    for (; run > 15; run -= 16) bits.put(slot.codes->ac[kZeroRunSymbol]);
    const uint32_t size = category(value);
    bits.put(slot.codes->ac[run << 4 | size]);
    bits.put(extra_bits(value, size), size);
    run = 0;
  }
  if (run != 0) bits.put(slot.codes->ac[kEndOfBlockSymbol]);
}

uint8_t* encode_plain(const BlockSlot* slots, size_t slot_count, size_t mcus, BitState& state,
                      uint8_t* out) {
  PlainBits bits(state, out);
  for (uint32_t mcu = 0; mcu < mcus; ++mcu) {
    for (size_t s = 0; s < slot_count; ++s) {
      const uint32_t block = slots[s].first + slots[s].step * mcu;
      if (block < slots[s].real) {
        put_plain_block(bits, slots[s].pairs[block / 2], block & 1, slots[s]);
      } else {
        // A difference of 0, and no AC coefficient.
        bits.put(slots[s].codes->dc[0]);
        bits.put(slots[s].codes->ac[kEndOfBlockSymbol]);
      }
    }
  }
  return bits.finish(state);
}

// F.1.2.3: a zero behind each 0xFF, so that no marker can appear in coded data.
uint8_t* stuff_plain(const uint8_t* bytes, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    *out++ = bytes[i];
    if (bytes[i] == 0xFF) *out++ = 0;
  }
  return out;
}

}  // namespace

// `small` joins a code of up to 16 bits and up to 7 extra bits, so that most coefficients take one
// look-up. It leaves out -128 and 127: as bytes of a zigzag they may stand for any value beyond,
// which was saturated.
void make_codes(const HuffmanSpec& dc, const HuffmanSpec& ac, HuffmanCodes& codes) {
  assign_codes(dc, codes.dc);
  assign_codes(ac, codes.ac);
  for (uint32_t run = 0; run < 16; ++run) {
    codes.small[run].fill(0);
    for (int value = -127; value <= 126; ++value) {
      if (value == 0) continue;
      codes.small[run][static_cast<uint8_t>(value)] =
          append_value(codes.ac[run << 4 | category(value)], value);
    }
  }
}

// For tests; no processor gets it.
const EntropyCoder kPlainEntropyCoder = {encode_plain, stuff_plain};

const EntropyCoder& entropy_coder() {
  return *Variants<const EntropyCoder*>{.any = &kSse2EntropyCoder, .avx2 = &kAvx2EntropyCoder}
              .best();
}

}  // namespace tavo::jpeg
