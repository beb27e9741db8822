// The codes of a Photo CD level: what is added to the samples of the level below.
//
// A table gives up to 256 codes of 1 to 16 bits in any order, each for a difference of -128 to 127.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace tavo::photocd {

inline constexpr size_t kLargestTable = 1 + 256 * 4;

// What row decoding reads behind the bytes of a row.
inline constexpr size_t kCodeSlack = 32;

// The codes of a row, which begin `skipped` bits (0 to 7) behind `bytes`, and what they stand for.
struct CodedRow {
  const uint8_t* bytes;  // two for each code and kCodeSlack of them are read
  uint32_t skipped;
  uint64_t available;  // bits
  int8_t* out;         // has room for three more
  size_t found;        // how many there were until a code was none
};

class CodeTable {
 public:
  // Takes the table at the start of `bytes`; how many it has, 0 when it is none.
  size_t parse(std::span<const uint8_t> bytes);

  // Decodes `count` differences of each row: two at once, as they do not wait for each other.
  void decode(CodedRow& a, CodedRow& b, size_t count) const;
  void decode(CodedRow& row, size_t count) const;

 private:
  static constexpr uint32_t kLookBits = 12;
  static constexpr uint32_t kLongest = 16;
  static constexpr uint32_t kRestBits = kLongest - kLookBits;
  static constexpr size_t kLooks = size_t{1} << kLookBits;

  // A code and its length; length 0: none, kIsLonger: see longer_[value].
  struct Code {
    uint8_t bits;
    uint8_t value;
  };
  static constexpr uint8_t kIsLonger = 255;

  void add(uint32_t code, uint32_t bits, uint8_t value);
  void join_codes();
  struct Run;
  Code next(const Run& run) const;
  bool join(Run& run) const;
  bool single(Run& run) const;
  void finish(Run run, CodedRow& row, size_t count) const;
  void decode_singly(CodedRow& row, size_t count) const;

  std::array<Code, kLooks> codes_;
  std::array<std::array<Code, size_t{1} << kRestBits>, 256> longer_;  // no more than codes
  uint32_t longer_count_ = 0;
  // All codes that the bits have whole, up to three: bits 0-3 how many bits they take (0: see
  // codes_), 4-7 how many they are, then a byte for each difference.
  std::array<uint32_t, kLooks> joined_;
};

}  // namespace tavo::photocd
