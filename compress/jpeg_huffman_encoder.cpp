#include "compress/jpeg_huffman_encoder.h"

#include <emmintrin.h>

#include <bit>
#include <cstdlib>
#include <cstring>

#include "base/endian.h"
#include "base/variants.h"

namespace tavo::jpeg {

namespace {

constexpr uint32_t kZeroRun = 0xF0;  // 16 zeros
constexpr uint32_t kEndOfBlock = 0;

uint32_t category(int value) {
  return static_cast<uint32_t>(std::bit_width(static_cast<uint32_t>(std::abs(value))));
}

// The category's extra bits: the value, or for negative ones the value less 1, cut to size.
uint32_t extra_bits(int value, uint32_t bits) {
  return static_cast<uint32_t>(value + (value >> 31)) & ((1u << bits) - 1);
}

constexpr uint32_t length(Code code) { return code & 0xFF; }

// At most 24 bits together.
Code append_value(Code code, int value) {
  const uint32_t bits = category(value);
  return (code >> 8 << bits | extra_bits(value, bits)) << 8 | (length(code) + bits);
}

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

// ---- Plain: one code at a time, one byte at a time ----

class PlainBits {
 public:
  PlainBits(const BitState& state, uint8_t* out)
      : bits_(state.bits), count_(state.count), out_(out) {}
  void put(Code code) { put(code >> 8, length(code)); }
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

void put_plain_block(PlainBits& bits, const BlockPair& pair, size_t lane, const BlockSlot& slot) {
  const int level = pair.coefficients[0][lane][0];
  bits.put(append_value(slot.codes->dc[category(level - *slot.level)], level - *slot.level));
  *slot.level = level;

  uint32_t run = 0;
  for (size_t k = 1; k < kBlockSize; ++k) {
    const int value = pair.coefficients[kColumnZigzag[k] >> 3][lane][kColumnZigzag[k] & 7];
    if (value == 0) {
      ++run;
      continue;
    }
    for (; run > 15; run -= 16) bits.put(slot.codes->ac[kZeroRun]);
    const uint32_t size = category(value);
    bits.put(slot.codes->ac[run << 4 | size]);
    bits.put(extra_bits(value, size), size);
    run = 0;
  }
  if (run != 0) bits.put(slot.codes->ac[kEndOfBlock]);
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
        bits.put(slots[s].codes->dc[0]);
        bits.put(slots[s].codes->ac[kEndOfBlock]);
      }
    }
  }
  return bits.finish(state);
}

uint8_t* stuff_plain(const uint8_t* bytes, size_t count, uint8_t* out) {
  for (size_t i = 0; i < count; ++i) {
    *out++ = bytes[i];
    if (bytes[i] == 0xFF) *out++ = 0;
  }
  return out;
}

// ---- Fast: from one non-zero coefficient to the next, whole words without a branch ----

#define TAVO_INLINE inline __attribute__((always_inline))

// Pending bits stand right-aligned in a register; what is above `count_` is old and harmless.
// settle() writes a whole word and keeps the part of a byte that is left: at most 7 bits. A 64-bit
// register takes two codes of at most 23 bits between two writes; a 32-bit register takes one.
class FastBits {
 public:
  TAVO_INLINE FastBits(const BitState& state, uint8_t* out)
      : word_(state.bits), count_(state.count), out_(out) {}

  TAVO_INLINE void put(Code code) {
    word_ = word_ << (code & (kWordBits - 1)) | code >> 8;
    count_ += length(code);
  }
  TAVO_INLINE void settle() {
    const Word top = word_ << ((0u - count_) & (kWordBits - 1));
    if constexpr (kIsWide) {
      store_be64(out_, top);
    } else {
      store_be32(out_, static_cast<uint32_t>(top));
    }
    out_ += count_ >> 3;
    count_ &= 7;
  }
  // Between two codes of at most 23 bits each.
  TAVO_INLINE void settle_if_narrow() {
    if constexpr (!kIsWide) settle();
  }
  TAVO_INLINE uint8_t* finish(BitState& state) const {
    state = {static_cast<uint32_t>(word_) & ((1u << count_) - 1), count_};
    return out_;
  }

  using Word = uintptr_t;
  static constexpr uint32_t kWordBits = 8 * sizeof(Word);
  static constexpr bool kIsWide = kWordBits == 64;

 private:
  Word word_;
  uint32_t count_;
  uint8_t* out_;
};

// Long runs and large values, one code a time.
__attribute__((noinline)) void put_rare(FastBits& bits, const HuffmanCodes& codes, uint32_t run,
                                        int value) {
  bits.settle();
  for (; run > 15; run -= 16) {
    bits.put(codes.ac[kZeroRun]);
    bits.settle();
  }
  const uint32_t size = category(value);
  bits.put(codes.ac[run << 4 | size]);
  bits.settle();
  bits.put(extra_bits(value, size) << 8 | size);
  bits.settle();
}

// `settles` says whether this coefficient's code is the second since the last write.
TAVO_INLINE void put_coefficient(FastBits& bits, const HuffmanCodes& codes, const BlockPair& pair,
                                 size_t lane, uint32_t run, uint32_t k, bool settles) {
  const auto byte = static_cast<uint8_t>(pair.zigzag[lane][k]);
  const Code code = run < 16 ? codes.small[run][byte] : 0;
  if (__builtin_expect(code == 0, 0)) {
    FastBits copy = bits;  // so that the loop's own stays in registers
    put_rare(copy, codes, run,
             pair.coefficients[kColumnZigzag[k] >> 3][lane][kColumnZigzag[k] & 7]);
    bits = copy;
    return;
  }
  bits.put(code);
  if (settles) bits.settle();
}

TAVO_INLINE void put_block(FastBits& bits, const BlockPair& pair, size_t lane,
                           const BlockSlot& slot) {
  const HuffmanCodes& codes = *slot.codes;
  const int level = pair.coefficients[0][lane][0];
  const int difference = level - *slot.level;
  *slot.level = level;
  bits.put(append_value(codes.dc[category(difference)], difference));
  bits.settle_if_narrow();

  uint32_t next = 1;  // where the run of zeros in front of the next coefficient begins
  for (uint32_t base = 0; base < kBlockSize; base += FastBits::kWordBits) {
    auto mask = static_cast<FastBits::Word>(pair.nonzero[lane] >> base);
    if (base == 0) mask &= ~FastBits::Word{1};
    const auto hop = [&](bool settles) __attribute__((always_inline)) {
      const uint32_t k = base + static_cast<uint32_t>(std::countr_zero(mask));
      mask &= mask - 1;
      put_coefficient(bits, codes, pair, lane, k - next, k, settles);
      next = k + 1;
    };
    while (mask != 0) {
      hop(true);
      if (mask == 0) break;
      hop(!FastBits::kIsWide);
    }
  }
  if (next < kBlockSize) bits.put(codes.ac[kEndOfBlock]);
  bits.settle();
}

TAVO_INLINE uint8_t* encode_with(const BlockSlot* slots, size_t slot_count, size_t mcus,
                                 BitState& state, uint8_t* out) {
  FastBits bits(state, out);
  for (uint32_t mcu = 0; mcu < mcus; ++mcu) {
    for (size_t s = 0; s < slot_count; ++s) {
      const BlockSlot& slot = slots[s];
      const uint32_t block = slot.first + slot.step * mcu;
      if (__builtin_expect(block < slot.real, 1)) {
        put_block(bits, slot.pairs[block / 2], block & 1, slot);
      } else {
        bits.put(slot.codes->dc[0]);
        bits.put(slot.codes->ac[kEndOfBlock]);
        bits.settle();
      }
    }
  }
  return bits.finish(state);
}

uint8_t* encode_fast(const BlockSlot* slots, size_t slot_count, size_t mcus, BitState& state,
                     uint8_t* out) {
  return encode_with(slots, slot_count, mcus, state, out);
}

__attribute__((target("bmi,bmi2"))) uint8_t* encode_bmi2(const BlockSlot* slots, size_t slot_count,
                                                         size_t mcus, BitState& state,
                                                         uint8_t* out) {
  return encode_with(slots, slot_count, mcus, state, out);
}

uint8_t* stuff_fast(const uint8_t* bytes, size_t count, uint8_t* out) {
  const __m128i marker = _mm_set1_epi8(-1);
  size_t i = 0;
  while (i + 16 <= count) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
    const auto found = static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, marker)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), block);
    if (__builtin_expect(found == 0, 1)) {
      i += 16;
      out += 16;
      continue;
    }
    // All up to the first marker is in place; go on behind it.
    const size_t good = static_cast<size_t>(std::countr_zero(found)) + 1;
    out[good] = 0;
    i += good;
    out += good + 1;
  }
  return stuff_plain(bytes + i, count - i, out);
}

}  // namespace

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

const EntropyCoder kPlainEntropyCoder = {encode_plain, stuff_plain};
const EntropyCoder kFastEntropyCoder = {encode_fast, stuff_fast};
const EntropyCoder kBmi2EntropyCoder = {encode_bmi2, stuff_fast};

const EntropyCoder& entropy_coder() {
  return *Variants<const EntropyCoder*>{.any = &kFastEntropyCoder, .avx2 = &kBmi2EntropyCoder}
              .best();
}

}  // namespace tavo::jpeg
