#include "codec/ccitt_decoder.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>
#include <utility>

#include "base/vector_sse2.h"
#include "codec/ccitt_decode_tables.h"
#include "codec/ccitt_paint.h"

namespace tavo::ccitt {
namespace {

constexpr uint32_t kCopyBlock = 8;
// V0 codes taken at once; the code behind them is still among the bits of one refill.
constexpr uint32_t kMaxOnes = (Reader::kStepBits - kModeBits) / kCopyBlock * kCopyBlock;
// Entries that one step of a row may write: the copied changes and those of a mode.
constexpr size_t kStepEntries = 64;
static_assert(kMaxOnes + 2 <= kStepEntries && 2 * kRunBits <= Reader::kStepBits);
// flip_pixels works on words: up to 8 bytes from the one of the row's end on.
constexpr size_t kRowSlack = 16;
// Entries of the first list; pages have far fewer, halftones may have as many as pixels.
constexpr size_t kFirstEntries = 65536;

// Appends a colour change. A change at the place of the last one takes that back: a run of no
// pixels joins its neighbours. Encoders write one at the start of a black row only (T.4, 4.1.1),
// but the code exists for both colours, and so do streams that have it elsewhere.
inline void toggle(uint32_t* changes, size_t& count, uint32_t position) {
  if (count > 0 && changes[count - 1] == position) {
    --count;
  } else {
    changes[count++] = position;
  }
}

}  // namespace

Status ChangeList::grow() {
  Array<uint32_t> larger;
  TRY(larger.allocate(uint64_t{items_.size()} * 2));
  std::memcpy(larger.data(), items_.data(), items_.size() * sizeof(uint32_t));
  items_ = std::move(larger);
  return kOk;
}

void ChangeList::close(size_t count, uint32_t width) { std::fill_n(data() + count, kBack, width); }

// A pair of runs from a0 on.
struct Decoder::Runs {
  Bits bits;
  uint32_t a1 = 0;
  uint32_t a2 = 0;
  bool is_valid = false;
};

Status Decoder::start(Coding coding, uint32_t width, bool is_reversed) {
  if (width == 0 || width > INT32_MAX) return kBadSize;
  coding_ = coding;
  is_reversed_ = is_reversed;
  damaged_rows_ = 0;
  width_ = width;
  row_bytes_ = (width + 7) / 8;
  const size_t entries = std::min<size_t>(width, kFirstEntries) + 2 * kStepEntries;
  for (ChangeList& list : lists_) TRY(list.allocate(entries));
  return row_.allocate(row_bytes_ + kRowSlack);
}

void Decoder::begin(ByteSource& source) {
  source_ = &source;
  reader_.reset(is_reversed_);
  reader_.open(source);
  is_first_row_ = true;
  is_at_row_ = false;
  empty_rows_ = 0;
  is_ended_ = needs_sync_ = waits_for_1d_ = saw_end_of_line_ = false;
  failure_ = kOk;
  make_white();
}

// Drops bits up to the next multiple of 1 or 2 bytes from the start of the stream (TIFF 6.0,
// section 10: a row of compression 2 begins on a byte; those of compression 32771 on 16 bits).
void Decoder::align(uint32_t bytes) {
  reader_.bits.drop_to_byte();
  if (bytes == 1 || reader_.position() % 2 == 0) return;
  reader_.refill(reader_.bits);
  reader_.bits.drop(8);
}

// ---- Rows ----

// The imaginary row above the first one (T.4, 4.2.1.3.1), and what rows behind the end show.
void Decoder::make_white() {
  std::memset(row_.data(), 0, row_.size());
  above_count_ = 0;
  above_->close(0, width_);
}

// Makes row_ show the row above again: after a row of runs, whose changes alone were listed, and
// after a row that broke off.
void Decoder::repaint() {
  std::memset(row_.data(), 0, row_bytes_);
  const uint32_t* changes = above_->data();
  for (size_t i = 0; i < above_count_; i += 2) {
    flip_pixels(row_.data(), changes[i], changes[i + 1]);
  }
}

void Decoder::finish_row(size_t changes) {
  current_->close(changes, width_);
  above_count_ = changes;
  std::swap(above_, current_);
}

// Adds one run to `position`, clipped to the width: 2560 as often as it fits, another make-up code,
// the terminating code (T.4, 4.1.1). kept: make-up codes are taken in any number and order.
bool Decoder::read_run(Bits& bits, uint32_t& position, bool is_black) {
  for (;;) {
    reader_.refill_step(bits);
    const uint32_t entry = kRunTables[is_black][bits.peek(kRunBits)];
    if (RunEntry::length(entry) == 0) return false;
    bits.drop(RunEntry::length(entry));
    position = std::min(position + RunEntry::run(entry), width_ + 1);
    if (!RunEntry::is_make_up(entry)) return true;
  }
}

// a0a1 and a1a2 whose codes are too long for one look-up each. Works on copies: the loop's own
// state stays in registers.
Decoder::Runs Decoder::read_pair(Bits bits, uint32_t a0, bool is_black) {
  Runs runs;
  runs.a1 = a0;
  runs.is_valid = read_run(bits, runs.a1, is_black);
  runs.a2 = runs.a1;
  runs.is_valid = runs.is_valid && read_run(bits, runs.a2, !is_black);
  runs.bits = bits;
  return runs;
}

// One-dimensional row (T.4, 4.1.1): pairs of a white and a black run, each looked up in one step
// whenever its codes fit the table, which short and medium runs do. The loop has no branch that
// depends on the picture but the one for the others.
//
// In bounds as a step adds two changes at most, where kStepEntries were free. Changes ascend: a2 <
// width bounds the pair, read_run() clips, and a run of no pixels takes its change back.
//
// kept: a row that is too long is cut at the width and counts as damaged only. A bit that was
// lost makes such rows, behind which the codes mostly fall into step again.
Decoder::Outcome Decoder::decode_1d() {
  uint32_t* changes = current_->data();
  size_t limit = current_->capacity();
  size_t count = 0;
  uint32_t a0 = 0;
  Outcome outcome = Outcome::kRow;
  Bits bits = reader_.bits;
  while (a0 < width_) {
    if (count + kStepEntries > limit) [[unlikely]] {
      if (!current_->grow().ok()) return Outcome::kNoMemory;
      changes = current_->data();
      limit = current_->capacity();
    }
    reader_.refill_step(bits);
    const uint32_t white = kRunTables[0][bits.peek(kRunBits)];
    const uint32_t black = kRunTables[1][bits.peek_behind(RunEntry::length(white), kRunBits)];
    const uint32_t a1 = a0 + RunEntry::run(white);
    const uint32_t a2 = a1 + RunEntry::run(black);
    if (RunEntry::are_runs(white, black) && a2 < width_) [[likely]] {
      bits.drop(RunEntry::length(white) + RunEntry::length(black));
      changes[count] = a1;
      changes[count + 1] = a2;
      count += 2;
      a0 = a2;
      continue;
    }
    Bits after = bits;
    bool is_good = read_run(after, a0, false);
    if (is_good) toggle(changes, count, a0);
    if (is_good && a0 < width_) {  // a white run may end the row
      is_good = read_run(after, a0, true);
      if (is_good) toggle(changes, count, a0);
    }
    bits = after;
    if (!is_good) {
      outcome = Outcome::kBadCode;
      break;
    }
  }
  reader_.bits = bits;
  if (a0 > width_) outcome = Outcome::kTooLong;
  while (count > 0 && changes[count - 1] >= width_) --count;
  finish_row(count);
  repaint();
  return outcome;
}

// A row of the two-dimensional scheme while it is decoded: T.4, 4.2.1.3, and the same in T.6, 2.2.
// a0, a1, a2, b1 and b2 are those of T.4, 4.2.1.3.1; what does not exist stands at the width.
//
// The decoder's row_ shows the row above at first; at every moment it shows the changes found so
// far and, behind them, those of the row above from number b on. So a vertical mode flips the few
// pixels between two changes, and what stays the same costs nothing.
//
// In bounds because b <= above_count + 1, where `above` has kBack entries more:
//  - a mode leaves a0 < width or ends the row, and above[b] is the width from b = above_count on;
//  - so searching b1 from a0 on ends there, at most one pair from an entry below the width;
//  - V0 stops before above_count + 1, and VL and VR go on by one only from a b1 whose left
//    neighbour is not beyond a1, which holds up to above_count.
struct Decoder::Row2d {
  uint8_t* const row;
  const uint32_t width;
  const uint32_t* const above;
  const size_t above_count;
  uint32_t* changes;
  Bits bits;
  size_t count = 0;  // changes found: even while the colour is white
  size_t b = 0;      // of b1; of the same parity as count
  uint32_t a0 = 0;

  bool is_black() const { return (count & 1) != 0; }

  // Takes a change of the row above out of row, or puts it back in.
  void flip_above(size_t from) { flip_pixels(row, above[from], above[from + 1]); }

  // b1 is the first change beyond a0 and of the other colour than a0's (T.4, 4.2.1.3.1).
  void search_b1() {
    for (; above[b] <= a0; b += 2) flip_above(b);
  }

  bool copy_changes();
  Outcome vertical(const ModeEntry& mode);
  Outcome horizontal(Decoder& decoder);
  Outcome pass();
};

// V0, a single one, as often as it comes (up to kMaxOnes): a1 is b1. True when the row ends with
// it.
//
// Whole blocks are copied, what is too much is written over later. They are read up to a block
// behind b + to_end, and written up to kMaxOnes from `count` on.
inline bool Decoder::Row2d::copy_changes() {
  constexpr auto copy_block = [](uint32_t* to, const uint32_t* from) {
    sse2::store(to, sse2::load(from));
    sse2::store(to + kCopyBlock / 2, sse2::load(from + kCopyBlock / 2));
  };
  static_assert(ChangeList::kBack > 2 + kCopyBlock && kMaxOnes % kCopyBlock == 0);
  const auto next = static_cast<uintptr_t>(bits.held >> (64 - 8 * sizeof(uintptr_t)));
  const auto ones = static_cast<uint32_t>(
      std::countl_zero(~next | uintptr_t{1} << (8 * sizeof(uintptr_t) - 1 - kMaxOnes)));
  const size_t to_end = b < above_count ? above_count - b + 1 : 1;  // V0 codes up to the row's end
  copy_block(changes + count, above + b);
  const size_t copied = std::min<size_t>(ones, to_end);
  for (size_t i = kCopyBlock; i < copied; i += kCopyBlock) {
    copy_block(changes + count + i, above + b + i);
  }
  if (ones >= to_end) {
    bits.drop(static_cast<uint32_t>(to_end));
    count += to_end - 1;
    b += to_end;
    return true;
  }
  count += ones;
  b += ones;
  if (ones != 0) a0 = above[b - 1];
  bits.drop(ones);
  return false;
}

// VL and VR (T.4, 4.2.1.3.2 b): a1 lies up to three pixels beside b1.
inline Decoder::Outcome Decoder::Row2d::vertical(const ModeEntry& mode) {
  bits.drop(mode.length);
  const uint32_t b1 = above[b];
  const uint32_t a1 = b1 + static_cast<uint32_t>(mode.delta);
  if (a1 <= a0 || a1 >= width) [[unlikely]] {
    // Left of a0 (by wrapping, left of the row) no change can be; a change at a0 makes an empty
    // run, and is normal at the start of the row only.
    if (static_cast<int64_t>(b1) + mode.delta < a0) return Outcome::kBadCode;
    if (a1 >= width) {
      flip_pixels(row, std::min(b1, width), width);
      ++b;
      return Outcome::kRow;
    }
    toggle(changes, count, a1);
  } else {
    changes[count++] = a1;
  }
  const uint32_t low = b1 + static_cast<uint32_t>(mode.low_delta);
  uint8_t* at = row + (low >> 3);
  store_be16(at, static_cast<uint16_t>(load_be16(at) ^ mode.mask >> (low & 7)));
  a0 = a1;
  // The colour is the other one now, so that b1 is one further, or, behind VL, one back.
  if (above[static_cast<ptrdiff_t>(b) - 1] > a1) [[unlikely]] {
    --b;
    flip_above(b);
  } else {
    ++b;
    search_b1();
  }
  return Outcome::kRowGoesOn;
}

// Two runs, of a0's colour and the other one (T.4, 4.2.1.3.2 c). The first of a row counts from its
// first pixel on, not from the imaginary one before it (4.2.1.3.4).
inline Decoder::Outcome Decoder::Row2d::horizontal(Decoder& decoder) {
  bits.drop(kHorizontal.length);
  decoder.reader_.refill_step(bits);
  const uint32_t first = kRunTables[is_black()][bits.peek(kRunBits)];
  const uint32_t second =
      kRunTables[!is_black()][bits.peek_behind(RunEntry::length(first), kRunBits)];
  uint32_t a1 = a0 + RunEntry::run(first);
  uint32_t a2 = a1 + RunEntry::run(second);
  if (RunEntry::are_runs(first, second)) [[likely]] {
    bits.drop(RunEntry::length(first) + RunEntry::length(second));
  } else {
    const Runs runs = decoder.read_pair(bits, a0, is_black());
    bits = runs.bits;
    a1 = runs.a1;
    a2 = runs.a2;
    if (!runs.is_valid) return Outcome::kBadCode;
  }
  if (a2 >= width) [[unlikely]] {
    if (a1 < width) {
      toggle(changes, count, a1);
      flip_pixels(row, a1, width);
    }
    return Outcome::kRow;
  }
  toggle(changes, count, a1);
  toggle(changes, count, a2);
  flip_pixels(row, a1, a2);
  a0 = a2;
  search_b1();
  return Outcome::kRowGoesOn;
}

// T.4, 4.2.1.3.2 a: a0 goes below b2, the colour stays.
inline Decoder::Outcome Decoder::Row2d::pass() {
  bits.drop(kPass.length);
  flip_above(b);
  a0 = above[b + 1];
  b += 2;
  return a0 >= width ? Outcome::kRow : Outcome::kRowGoesOn;
}

Decoder::Outcome Decoder::decode_2d() {
  Row2d r = {row_.data(), width_, above_->data(), above_count_, current_->data(), reader_.bits};
  size_t limit = current_->capacity();
  Outcome outcome = Outcome::kRowGoesOn;
  while (outcome == Outcome::kRowGoesOn) {
    if (r.count + kStepEntries > limit) [[unlikely]] {
      if (!current_->grow().ok()) return Outcome::kNoMemory;
      r.changes = current_->data();
      limit = current_->capacity();
    }
    reader_.refill_step(r.bits);
    if (r.copy_changes()) {
      outcome = Outcome::kRow;
      break;
    }
    const ModeEntry mode = kModeTable[r.bits.peek(kModeBits)];
    if (mode.kind == ModeEntry::kVerticalMode) [[likely]] {
      outcome = r.vertical(mode);
    } else if (mode.kind == ModeEntry::kHorizontalMode) {
      outcome = r.horizontal(*this);
    } else if (mode.kind == ModeEntry::kPassMode) {
      outcome = r.pass();
    } else {
      outcome = r.bits.peek(kUncompressedMode.length) == kUncompressedMode.bits
                    ? Outcome::kUncompressed
                    : Outcome::kBadCode;
    }
    assert(r.b <= r.above_count + 1 || outcome == Outcome::kRow);
  }
  reader_.bits = r.bits;
  if (outcome != Outcome::kRow) return outcome;
  for (; r.b < r.above_count; r.b += 2) r.flip_above(r.b);
  finish_row(r.count);
  return Outcome::kRow;
}

}  // namespace tavo::ccitt
