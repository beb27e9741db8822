// Look-up tables of the CCITT decoder, made from the code words by the compiler.
#pragma once

#include <array>
#include <cstdint>

#include "codec/ccitt_codes.h"

namespace tavo::ccitt {

// What the next kRunBits bits begin with when a run of a given colour is due; 0 when no code fits.
// A make-up code together with its terminating code counts as one run when both fit.
struct RunEntry {
  static constexpr uint32_t kMakeUpBit = 1u << 30;  // more is to follow
  static constexpr uint32_t kRunBit = 1u << 31;     // a whole run of one pixel or more

  static constexpr uint32_t make(uint32_t length, uint32_t run, bool is_make_up) {
    return length | run << 8 | (is_make_up ? kMakeUpBit : run > 0 ? kRunBit : 0);
  }
  static constexpr bool are_runs(uint32_t a, uint32_t b) { return (a & b & kRunBit) != 0; }
  static constexpr bool is_make_up(uint32_t entry) { return (entry & kMakeUpBit) != 0; }
  static constexpr uint32_t length(uint32_t entry) { return entry & 15; }
  static constexpr uint32_t run(uint32_t entry) { return entry >> 8 & 0xFFF; }
};

// The longest codes are black ones of 13 bits (table 3a/T.4).
inline constexpr uint32_t kRunBits = 13;
using RunTable = std::array<uint32_t, 1 << kRunBits>;

// What the next 7 bits begin with, when a two-dimensional mode is due.
struct ModeEntry {
  enum Kind : uint8_t { kVerticalMode, kHorizontalMode, kPassMode, kNoMode };
  Kind kind = kNoMode;
  uint8_t length = 0;
  int8_t delta = 0;      // vertical: a1 - b1
  int8_t low_delta = 0;  // the smaller of delta and 0
  uint16_t mask = 0;     // as many top bits as there are pixels between a1 and b1
};

// VL3 and VR3 have 7 bits (table 4/T.4).
inline constexpr uint32_t kModeBits = 7;
using ModeTable = std::array<ModeEntry, 1 << kModeBits>;

extern const RunTable kRunTables[2];  // white, black
extern const ModeTable kModeTable;

}  // namespace tavo::ccitt
