#include "codec/ccitt_decode_tables.h"

#include <algorithm>

namespace tavo::ccitt {
namespace {

constexpr uint32_t kRunTableSize = 1u << kRunBits;

// Enters a code at all places that begin with it.
constexpr void fill(RunTable& table, Code code, uint32_t run, bool is_make_up) {
  const uint32_t spare = kRunBits - code.length;
  for (uint32_t i = 0; i < 1u << spare; ++i) {
    table[static_cast<uint32_t>(code.bits) << spare | i] =
        RunEntry::make(code.length, run, is_make_up);
  }
}

// The places that are left 0 begin with eight zeros: no run does.
constexpr RunTable single_codes(bool is_black) {
  RunTable table{};
  for (uint32_t run = 0; run < 64; ++run) fill(table, terminating_code(run, is_black), run, false);
  for (uint32_t run = 64; run <= kMaxMakeUp; run += 64) {
    fill(table, make_up_code(run, is_black), run, true);
  }
  return table;
}

// Joins make-up codes with the terminating codes behind them. Frequent runs have short
// codes, so that most runs of a page that has been scanned are one step.
constexpr RunTable run_codes(bool is_black) {
  const RunTable codes = single_codes(is_black);
  RunTable table = codes;
  for (uint32_t bits = 0; bits < kRunTableSize; ++bits) {
    const uint32_t head = codes[bits];
    if (!RunEntry::is_make_up(head)) continue;
    const uint32_t tail = codes[bits << RunEntry::length(head) & (kRunTableSize - 1)];
    const uint32_t length = RunEntry::length(head) + RunEntry::length(tail);
    if (tail == 0 || RunEntry::is_make_up(tail) || length > kRunBits) continue;
    table[bits] = RunEntry::make(length, RunEntry::run(head) + RunEntry::run(tail), false);
  }
  return table;
}

constexpr void fill(ModeTable& table, Code code, const ModeEntry& entry) {
  const uint32_t spare = kModeBits - code.length;
  for (uint32_t i = 0; i < 1u << spare; ++i) {
    table[static_cast<uint32_t>(code.bits) << spare | i] = entry;
  }
}

// For a vertical mode what the painter needs, too: a change that moves by d pixels flips the d
// pixels from the place further left on.
constexpr ModeTable mode_codes() {
  ModeTable table{};
  fill(table, kPass, {ModeEntry::kPassMode, kPass.length, 0, 0, 0});
  fill(table, kHorizontal, {ModeEntry::kHorizontalMode, kHorizontal.length, 0, 0, 0});
  for (int delta = -3; delta <= 3; ++delta) {
    const Code code = kVertical[delta + 3];
    const int pixels = delta < 0 ? -delta : delta;
    fill(table, code,
         {ModeEntry::kVerticalMode, code.length, static_cast<int8_t>(delta),
          static_cast<int8_t>(std::min(delta, 0)),
          static_cast<uint16_t>(0xFFFF0000u >> pixels & 0xFFFF)});
  }
  return table;
}

}  // namespace

constexpr RunTable kRunTables[2] = {run_codes(false), run_codes(true)};
constexpr ModeTable kModeTable = mode_codes();

}  // namespace tavo::ccitt
