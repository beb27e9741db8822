#include "codec/deflate_tokens.h"

#include <algorithm>

namespace tavo::deflate {

Status Tokens::allocate(size_t bytes, uint32_t part) {
  most_ = part != 0 ? part : UINT32_MAX;
  const size_t parts = bytes / most_ + 1;
  TRY(parts_.allocate(parts + 1));
  // Every sequence but one at the end of each part and run has a match.
  return sequences_.allocate(bytes / kMinMatch + 2 * (bytes / kLeastRun) + parts + 4);
}

void Tokens::begin(const uint8_t* data) {
  data_ = data;
  bytes_ = used_ = 0;
  part_count_ = 0;
  begin_part();
}

void Tokens::begin_part() {
  Part& part = parts_[part_count_++];
  part = {.first = used_, .start = bytes_, .symbols = 0, .counts = {}};
  // Each part could be a block: it counts an end.
  part.counts.literals[kEndOfBlock] = 1;
}

void Tokens::put(uint32_t literals, uint32_t length, uint32_t distance) {
  Part& part = parts_[part_count_ - 1];
  sequences_[used_++] = {literals, static_cast<uint16_t>(length), static_cast<uint16_t>(distance)};
  const uint8_t* const from = data_ + bytes_;
  for (uint32_t i = 0; i < literals; ++i) ++part.counts.literals[from[i]];
  bytes_ += literals + length;
  part.symbols += literals;
  if (length == 0) return;
  ++part.symbols;
  ++part.counts.literals[kEndOfBlock + 1 + kLengthSymbol[length]];
  ++part.counts.distances[distance_symbol(distance)];
}

void Tokens::add(uint32_t literals, uint32_t length, uint32_t distance) {
  for (;;) {
    uint32_t room = most_ - parts_[part_count_ - 1].symbols;
    if (room == 0) {
      begin_part();
      room = most_;
    }
    if (literals < room) break;
    put(room, 0, 0);
    literals -= room;
    // The last literal of a part may be the last of all: no empty sequence then.
    if (literals == 0 && length == 0) return;
  }
  if (literals != 0 || length != 0) put(literals, length, distance);
}

Status Tokens::write_parts(size_t first, size_t end, const Counts& counts, bool is_last,
                           BitWriter& out) {
  const bool is_rest = end == part_count_;
  const uint32_t last = is_rest ? used_ : parts_[end].first;
  const uint32_t stop = is_rest ? bytes_ : parts_[end].start;
  const Part& part = parts_[first];
  return write_block(sequences_.items().subspan(part.first, last - part.first), counts,
                     {data_ + part.start, stop - part.start}, is_last && is_rest, out);
}

Status Tokens::write(bool is_last, BitWriter& out) {
  // Up to so many parts it is worked out what blocks take, beyond it is estimated.
  constexpr size_t kFew = 16;
  const auto bits_of = part_count_ <= kFew ? block_bits : estimate_bits;
  size_t first = 0;
  Counts joined = parts_[0].counts;
  uint64_t bits = part_count_ > 1 ? bits_of(joined) : 0;
  for (size_t i = 1; i < part_count_; ++i) {
    Counts both = joined;
    both.add(parts_[i].counts);
    both.literals[kEndOfBlock] = 1;
    const uint64_t of_both = bits_of(both), of_next = bits_of(parts_[i].counts);
    // Neighbours only, from the front on: to try all divisions would take the square of the parts.
    const bool joins = of_both <= bits + of_next;
    if (!joins) {
      TRY(write_parts(first, i, joined, is_last, out));
      first = i;
    }
    joined = joins ? both : parts_[i].counts;
    bits = joins ? of_both : of_next;
  }
  return write_parts(first, part_count_, joined, is_last, out);
}

}  // namespace tavo::deflate
