// Bits out of bytes: the register that decoding loops work on, and the reader that fills it from a
// ByteSource.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/endian.h"

namespace tavo {

enum class BitOrder : uint8_t {
  kLowFirst,   // a byte's first bit is its lowest: GIF, Deflate
  kHighFirst,  // its highest: TIFF, JPEG
};

// Bits that have been read ahead, the next one at the low or the high end of `held`. Beyond the
// first `count` there stand zeros or the bits that will come next, never others: so a refill may
// OR in bytes that are partly there already, and needs no loop.
//
// 64 bits on every target: one refill then serves four codes of LZW, a whole match of Deflate, a
// pair of CCITT runs. JPEG, whose longest step is 16 bits, takes a machine word. Where that has 32
// bits, shifts of both halves and refills by one are cheaper than those of 64 bits.
template <BitOrder kOrder, class Word = uint64_t>
struct BitRegister {
  static constexpr bool kIsLowFirst = kOrder == BitOrder::kLowFirst;
  static constexpr uint32_t kWordBits = 8 * sizeof(Word);
  // As many are there at least after a refill.
  static constexpr uint32_t kRefilledBits = kWordBits - 8;
  static constexpr bool kIsDouble = sizeof(Word) > sizeof(uintptr_t);
  static constexpr uint32_t kHalf = kWordBits / 2;

  Word held = 0;
  uint32_t count = 0;

  template <class T = Word>
  static T load(const uint8_t* bytes) {
    return kIsLowFirst ? load_native<T>(bytes) : load_be<T>(bytes);
  }

  // Adds as many of the bytes at `next` as there is room for; `bytes` is load(next).
  void refill(Word bytes, const uint8_t*& next) {
    if constexpr (kIsLowFirst) {
      held |= bytes << count;
    } else {
      held |= bytes >> count;
    }
    next += (kWordBits - 1 - count) >> 3;
    count |= kRefilledBits;  // (count + 8 * bytes added), as count % 8 stays
  }

  // Of a double word, where less than half of it is held: adds `bytes`, load<uint32_t>(next).
  void refill_half(uint32_t bytes, const uint8_t*& next) {
    const uint32_t behind = kHalf - 1 - count;
    if constexpr (kIsLowFirst) {
      held |= join(bytes >> 1 >> behind, bytes << count);
    } else {
      held |= join(bytes >> count, bytes << 1 << behind);
    }
    next += sizeof(uint32_t);
    count += kHalf;
  }

  // Adds a byte when there is room for it: below kRefilledBits.
  void add(uint8_t byte) {
    held |= Word{byte} << (kIsLowFirst ? count : kRefilledBits - count);
    count += 8;
  }

  // The next `n` bits, 1 to 16 (low first: from 0 on); a refill must have brought them.
  uint32_t peek(uint32_t n) const {
    if constexpr (kIsLowFirst) {
      return static_cast<uint32_t>(held) & ((1u << n) - 1);
    } else {
      return static_cast<uint32_t>(held >> (kWordBits - n));
    }
  }
  // The `n` bits behind the next `skipped` ones.
  uint32_t peek_behind(uint32_t skipped, uint32_t n) const {
    BitRegister later = *this;
    later.drop(skipped);
    return later.peek(n);
  }
  // `n` is below kHalf.
  void drop(uint32_t n) {
    count -= n;
    if constexpr (kIsDouble) {
      const auto high = static_cast<uint32_t>(held >> kHalf), low = static_cast<uint32_t>(held);
      const uint32_t rest = kHalf - 1 - n;
      held = kIsLowFirst ? join(high >> n, low >> n | high << 1 << rest)
                         : join(high << n | low >> 1 >> rest, low << n);
    } else if constexpr (kIsLowFirst) {
      held >>= n;
    } else {
      held <<= n;
    }
  }
  uint32_t take(uint32_t n) {
    const uint32_t value = peek(n);
    drop(n);
    return value;
  }
  // Drops what is left of a byte.
  void drop_to_byte() { drop(count % 8); }

 private:
  static Word join(uint32_t high, uint32_t low) { return Word{high} << kHalf | low; }
};

// Reads the bits of a ByteSource. Behind the end of the data (a failed read counts as one) there
// are zeros without end; missing() says how many of them were read ahead.
//
//   reader.open(source);
//   BitReader<kOrder>::Bits bits = reader.bits;  // a copy stays in registers
//   while (...) { reader.refill(bits); ... bits.take(n) ... }
//   reader.bits = bits;
//
// kMayMirror: a stream may have the bits of each byte in reverse (TIFF 6.0, FillOrder).
template <BitOrder kOrder, bool kMayMirror = false>
class BitReader {
 public:
  struct Bits : BitRegister<kOrder> {
    const uint8_t* next = nullptr;  // unread bytes of the source's window
    const uint8_t* end = nullptr;

    bool has_word() const { return end - next >= static_cast<ptrdiff_t>(sizeof(uint64_t)); }
  };

  // Forgets all bits: a stream begins.
  void reset(bool mirrors = false) {
    bits = {};
    missing_ = offset_ = 0;
    mirrors_ = mirrors;
  }

  // From here to close() bytes come from `source`, which nobody else may read meanwhile. Up to 8
  // bytes more than were needed are in the register afterwards.
  void open(ByteSource& source) {
    source_ = &source;
    enter_window(bits);
  }
  void close() { leave_window(bits); }

  // Brings kRefilledBits or more.
  void refill(Bits& b) {
    if (b.has_word()) [[likely]] {
      refill_fast(b);
    } else {
      b = refill_slowly(b);
    }
  }
  // Brings kStepBits or more, in less time where words are double.
  static constexpr uint32_t kStepBits = Bits::kIsDouble ? Bits::kHalf : Bits::kRefilledBits;
  void refill_step(Bits& b) {
    if constexpr (!Bits::kIsDouble) return refill(b);
    if (b.count >= kStepBits) return;
    if (b.has_word()) [[likely]] {
      auto bytes = b.template load<uint32_t>(b.next);
      if (kMayMirror && mirrors_) bytes = static_cast<uint32_t>(mirror_bits(bytes));
      b.refill_half(bytes, b.next);
    } else {
      b = refill_slowly(b);
    }
  }
  // As refill(), where has_word().
  void refill_fast(Bits& b) const {
    uint64_t bytes = b.load(b.next);
    if (kMayMirror && mirrors_) bytes = mirror_bits(bytes);
    b.refill(bytes, b.next);
  }

  // Zeros behind the end of the data that have been put into the register so far. They are the
  // last bits of it.
  uint64_t missing() const { return missing_; }
  // Whether the next `n` bits are the stream's own.
  bool has(const Bits& b, uint32_t n) const { return b.count >= missing_ + n; }
  // Whether bits were taken that are not.
  bool ran_out(const Bits& b) const { return missing_ > b.count; }

  // Bytes from the stream's begin to the next bit, a byte that has been begun among them.
  uint64_t position() const {
    const auto taken = offset_ + static_cast<uint64_t>(bits.next - window_);
    return taken + missing_ / 8 - bits.count / 8;
  }

  Bits bits;

 private:
  void enter_window(Bits& b) {
    const std::span<const uint8_t> window = source_->window();
    window_ = b.next = window.data();
    b.end = window_ + window.size();
  }
  void leave_window(const Bits& b) {
    const auto used = static_cast<size_t>(b.next - window_);
    source_->consume(used);
    offset_ += used;
  }

  // Byte by byte, near the end of the window and behind that of the data.
  __attribute__((noinline)) Bits refill_slowly(Bits b) {
    leave_window(b);
    (void)source_->look_ahead(sizeof(uint64_t)).ok();
    enter_window(b);
    while (b.count < b.kRefilledBits) {
      if (b.next < b.end) {
        const uint64_t byte = *b.next++;
        b.add(static_cast<uint8_t>(kMayMirror && mirrors_ ? mirror_bits(byte) : byte));
      } else {
        b.add(0);
        missing_ += 8;
      }
    }
    return b;
  }

  ByteSource* source_ = nullptr;
  const uint8_t* window_ = nullptr;
  uint64_t offset_ = 0;  // bytes of the stream before window_
  uint64_t missing_ = 0;
  bool mirrors_ = false;
};

}  // namespace tavo
