// Entropy coding from one non-zero coefficient to the next, whole words without a branch, compiled
// for each instruction set: the shifts of BMI spare moves.

// Pending bits stand right-aligned in a register; what is above `count_` is old and harmless.
// settle() writes a whole word and keeps the part of a byte that is left: at most 7 bits. A 64-bit
// register takes two codes of at most 23 bits between two writes; a 32-bit register takes one.
class FastBits {
 public:
  TAVO_INLINE FastBits(const BitState& state, uint8_t* out)
      : word_(state.bits), count_(state.count), out_(out) {}

  TAVO_INLINE void put(Code code) {
    word_ = word_ << (code & (kWordBits - 1)) | code >> 8;
    count_ += code_length(code);
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

// Long runs (ZRL, F.1.2.2.1) and values of more than 8 bits, one code a time.
__attribute__((noinline)) void put_rare(FastBits& bits, const HuffmanCodes& codes, uint32_t run,
                                        int value) {
  bits.settle();
  for (; run > 15; run -= 16) {
    bits.put(codes.ac[kZeroRunSymbol]);
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

// put_plain_block() from one coefficient that is not zero to the next, by the bits of `nonzero`.
//
// A code with its extra bits has 23 at most where `small` has it (16 + 7). Between two writes come
// two of them and fewer than 8 bits that wait: 54 of 64, or, in a 32-bit register, one: 30.
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
  if (next < kBlockSize) bits.put(codes.ac[kEndOfBlockSymbol]);
  bits.settle();
}

// A.2.3: the blocks of one MCU after the other.
uint8_t* encode(const BlockSlot* slots, size_t slot_count, size_t mcus, BitState& state,
                uint8_t* out) {
  FastBits bits(state, out);
  for (uint32_t mcu = 0; mcu < mcus; ++mcu) {
    for (size_t s = 0; s < slot_count; ++s) {
      const BlockSlot& slot = slots[s];
      const uint32_t block = slot.first + slot.step * mcu;
      if (__builtin_expect(block < slot.real, 1)) {
        put_block(bits, slot.pairs[block / 2], block & 1, slot);
      } else {
        bits.put(slot.codes->dc[0]);
        bits.put(slot.codes->ac[kEndOfBlockSymbol]);
        bits.settle();
      }
    }
  }
  return bits.finish(state);
}

// F.1.2.3.
uint8_t* stuff(const uint8_t* bytes, size_t count, uint8_t* out) {
  size_t i = 0;
  while (i + 16 <= count) {
    const sse2::V block = sse2::load(bytes + i);
    const uint32_t found = sse2::top_bits8(sse2::equal8(block, sse2::splat8(0xFF)));
    sse2::store(out, block);
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
  return kPlainEntropyCoder.stuff(bytes + i, count - i, out);
}
