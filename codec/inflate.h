// Inflate: RFC 1951 data in the wrapper of RFC 1950, as PNG and TIFF files have them (TIFF:
// compression 8, and 32946 of older ones). Bytes in, bytes out.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/bit_reader.h"
#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::inflate {

// What to do about a code: how many bits it takes, those behind it that belong to it included, and
// what it stands for.
class Entry {
 public:
  enum Kind : uint32_t { kNumber = 0, kLiteral = 1, kTwoLiterals = 2, kOther = 3 };

  constexpr Entry() = default;  // none
  // `extra` bits behind the code are added to the number.
  constexpr Entry(Kind kind, uint32_t value, uint32_t extra = 0)
      : word_(extra | kind << 6 | value << 16) {}

  // For a code of so many bits.
  constexpr Entry with_code(uint32_t bits) const { return Entry(word_ + bits + (bits << 8)); }
  // This literal and another behind it; the code remains the first one's.
  constexpr Entry and_then(Entry next) const {
    return Entry(word_ + next.bits() + ((kTwoLiterals - kLiteral) << 6) + (next.value() << 24));
  }

  constexpr bool is_none() const { return word_ == 0; }
  constexpr Kind kind() const { return static_cast<Kind>(word_ >> 6 & 3); }
  constexpr bool is_literal() const { return kind() - 1u < 2; }
  constexpr uint32_t bits() const { return word_ & 63; }
  constexpr uint32_t code_bits() const { return word_ >> 8 & 31; }
  constexpr uint32_t value() const { return word_ >> 16; }

 private:
  explicit constexpr Entry(uint32_t word) : word_(word) {}

  uint32_t word_ =
      0;  // bits in all: 0 to 5; kind: 6, 7; bits of the code: 8 to 12; value: 16 to 31
};

// A Huffman code: look-ups for codes of up to kFastBits bits, the canonical counts for the others.
class HuffmanCode {
 public:
  static constexpr uint32_t kMaxBits = 15;
  static constexpr uint32_t kFastBits = 11;
  static constexpr uint32_t kMaxSymbols = 288;

  // Lengths of 0 stand for symbols without a code; `entries` are what the symbols stand for. Of the
  // first `literals`, two that are short enough are looked up as one. False when there are more
  // codes than can be.
  bool build(std::span<const uint8_t> lengths, const Entry* entries, uint32_t literals = 0);

  // What `bits` (lowest bit first) begin with; none: no code that there is.
  Entry look_up(uint64_t bits) const {
    const Entry entry = look_up_fast(bits);
    return entry.is_none() ? look_up_slowly(bits) : entry;
  }
  // The same; none, too, for codes that are longer.
  Entry look_up_fast(uint64_t bits) const { return fast_[bits & ((1u << kFastBits) - 1)]; }

 private:
  // The symbols of so many bits are symbols_[first] and those behind it, literals before others.
  struct Length {
    uint16_t first, count, literals;
  };

  Entry look_up_slowly(uint64_t bits) const;
  void join_literals(uint32_t bits, const uint16_t* codes);

  std::array<Entry, 1 << kFastBits> fast_;
  std::array<Length, kMaxBits + 1> lengths_;
  std::array<uint16_t, kMaxSymbols> symbols_;
  const Entry* entries_ = nullptr;
};

// Decodes one stream after the other.
class Decoder {
 public:
  // Takes the window. kNoMemory.
  Status start();

  // Begins a stream; up to eight bytes behind it may be taken from `source`.
  void begin(ByteSource& source);

  // Exactly out.size() bytes. kReadError when the stream or the data end before, kBadData for what
  // no encoder writes, or the status of a failed read; these stay. Checksums are not looked at.
  Status decode(std::span<uint8_t> out);

 private:
  enum class State : uint8_t { kHeader, kBlock, kStored, kCodes, kEnd };
  // How a step within a block ended.
  enum class Step : uint8_t { kGoesOn, kEndOfBlock, kBadData, kDataEnded };

  using Bits = BitReader<BitOrder::kLowFirst>::Bits;

  Step read_match(Bits& bits, Entry entry, uint8_t* window, size_t& used) const;
  static Step end_or_damage(Entry entry);
  Step decode_one(Bits& bits, uint8_t* window, size_t& used);
  Step decode_fast(Bits& bits, uint8_t* window, size_t& used);
  bool need(uint32_t bits);
  uint32_t take(uint32_t bits) { return reader_.bits.take(bits); }
  Status more();
  Status start_wrapper();
  Status start_block();
  Status start_stored();
  Status read_codes();
  Status copy_stored();
  Status decode_codes();
  Status data_ended() const;

  ByteSource* source_ = nullptr;
  BitReader<BitOrder::kLowFirst> reader_;

  Buffer window_;     // what has been decoded, the last 32 KiB at least
  size_t used_ = 0;   // bytes in it
  size_t given_ = 0;  // of these, handed out

  State state_ = State::kHeader;
  bool is_last_block_ = false;
  uint32_t stored_left_ = 0;
  Status failure_ = kOk;
  HuffmanCode literals_;
  HuffmanCode distances_;
};

}  // namespace tavo::inflate
