// Inflate: RFC 1951 data in the wrapper of RFC 1950, as TIFF files have them (compression 8, and
// 32946 of older ones). Bytes in, bytes out.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/bit_reader.h"
#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/status.h"

namespace tavo::inflate {

// A Huffman code: look-ups for codes of up to kFastBits bits, the canonical counts for the others.
class HuffmanCode {
 public:
  static constexpr uint32_t kMaxBits = 15;
  static constexpr uint32_t kFastBits = 10;
  static constexpr uint32_t kMaxSymbols = 288;
  static constexpr uint32_t kNoCode = UINT32_MAX;

  // Lengths of 0 stand for symbols without a code. False when there are more codes than can be.
  bool build(std::span<const uint8_t> lengths);

  // The symbol that `bits` (lowest bit first) begin with, above 4 bits of its length; kNoCode.
  uint32_t look_up(uint64_t bits) const {
    const uint32_t entry = fast_[bits & ((1u << kFastBits) - 1)];
    return entry != 0 ? entry : look_up_slowly(bits);
  }

 private:
  uint32_t look_up_slowly(uint64_t bits) const;

  std::array<uint16_t, 1 << kFastBits> fast_;
  std::array<uint16_t, kMaxBits + 1> counts_;
  std::array<uint16_t, kMaxSymbols> symbols_;
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

  bool read_match(Bits& bits, uint32_t length_code, uint32_t& length, size_t& distance) const;
  bool need(uint32_t bits);
  uint32_t take(uint32_t bits) { return reader_.bits.take(bits); }
  Status more();
  Status start_wrapper();
  Status start_block();
  Status start_stored();
  Status read_codes();
  Status copy_stored();
  Status decode_codes();
  Step decode_some(Bits& bits, uint8_t* window, size_t& used);
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
