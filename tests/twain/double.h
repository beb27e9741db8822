// A scanner of the tests': manager and source in one module, which watches the rules and breaks
// those that it is told to break.
#pragma once

#include <cstdint>

#include "process/twain/records.h"

namespace tavo::test {

// What is wrong with one operation: the n-th of its kind (0: the first; -1: all) answers otherwise.
struct Fault {
  twain::Triplet at = {};
  int32_t nth = -1;
  uint16_t answer = 1;
  uint16_t condition = 1;
};

enum class Ready { kPosted, kAtFirstMessage, kCloses, kQuits, kDestroysWindow, kNever };
enum class Places { kZero, kUntold, kTold, kReversed, kTiles };
enum class Container { kRight, kNull, kArray, kEnumeration, kRange, kOutside, kShort, kText };

struct TwainDouble {
  // The picture: what it is, what is told of it, and how it comes.
  uint16_t type = twain::kRgb;
  int16_t bits = 24;
  int32_t width = 21, height = 19;
  int32_t told_width = 21, told_length = 19;
  bool is_planar = false;
  bool is_compressed = false;
  bool zero_is_white = false;
  bool low_bit_first = false;
  uint16_t palette_type = twain::kPaletteRgb;
  uint16_t palette_count = 256;
  twain::Fixed resolution = {300, 0};
  uint32_t units = twain::kInches;
  uint32_t padding = 3;
  uint32_t strip_rows = 4;  // at most; every other strip has one row less
  Places places = Places::kTold;
  bool ends_with_nothing = false;  // XFERDONE brings no rows
  bool never_ends = false;
  twain::MemorySizes sizes = {256, 0xFFFFFFFF, 1024};
  // Added to what strips say of themselves.
  int32_t more_row_bytes = 0, more_rows = 0, more_written = 0;
  bool says_nothing = false;  // strips leave their record alone

  // The session.
  int32_t pages = 1;
  uint16_t told_count = 0;  // instead of the pages that are left, 0: those
  Ready ready = Ready::kPosted;
  int32_t closes_after = 0;  // pages
  bool takes_memory = true;  // the mechanism
  uint16_t refusal = 1;      // what a refused mechanism is answered
  Container container = Container::kRight;
  int32_t dib_bytes = -1;  // of the DIB that native transfers give; -1: all, 0: no handle
  Fault faults[2] = {};

  // What was seen: a letter for each operation, once where it repeats; operations in the wrong
  // state, and failures that were not asked about at once.
  char log[512] = {};
  int32_t violations = 0;
  int32_t calls[32] = {};
  int32_t strips = 0;
  void* window = nullptr;
  char product[34] = {};  // the source that was asked for
  char files[4][256] = {};
  uint32_t set[8192] = {};  // values of capabilities, 1 more
  void* handles[64] = {};   // given away
  int32_t handle_count = 0;
  twain::Identity application = {};
};

// The samples of all pictures.
inline uint8_t twain_sample(uint32_t x, uint32_t y, uint32_t channel) {
  return static_cast<uint8_t>(x * 11 + y * 23 + channel * 71 + (x * y) % 7);
}

}  // namespace tavo::test
