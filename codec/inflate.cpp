#include "codec/inflate.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"
#include "codec/deflate_format.h"

namespace tavo::inflate {
namespace {

using deflate::kEndOfBlock;
using deflate::kHistory;
using deflate::kMaxMatch;

// Decoded before what has no use any more is moved out.
constexpr size_t kWindow = 4 * kHistory;
constexpr size_t kSlack = 48;  // copies go by vectors
// The longest match (RFC 1951, 3.2.5): a length code and its extra bits, a distance code and its.
constexpr uint32_t kMatchBits = 15 + 5 + 15 + 13;

// Symbol 256; and those that have a fixed code but never occur (286, 287, 30, 31).
constexpr Entry kEnd(Entry::kOther, 1), kNever(Entry::kOther, 2);

constexpr auto kLiteralEntries = [] {
  std::array<Entry, HuffmanCode::kMaxSymbols> entries;
  for (uint32_t i = 0; i < kEndOfBlock; ++i) entries[i] = Entry(Entry::kLiteral, i);
  entries[kEndOfBlock] = kEnd;
  uint32_t symbol = kEndOfBlock + 1;
  for (const auto& [base, bits] : deflate::kLengths) {
    entries[symbol++] = Entry(Entry::kNumber, base, bits);
  }
  while (symbol < entries.size()) entries[symbol++] = kNever;
  return entries;
}();
constexpr auto kDistanceEntries = [] {
  std::array<Entry, 32> entries;
  entries.fill(kNever);
  uint32_t symbol = 0;
  for (const auto& [base, bits] : deflate::kDistances) {
    entries[symbol++] = Entry(Entry::kNumber, base, bits);
  }
  return entries;
}();
// Of the code-length code: the symbols themselves.
constexpr auto kPlainEntries = [] {
  std::array<Entry, deflate::kLengthCodes> entries;
  for (uint32_t i = 0; i < entries.size(); ++i) entries[i] = Entry(Entry::kNumber, i);
  return entries;
}();

}  // namespace

// Canonical codes from lengths (RFC 1951, 3.2.2): the codes of a length are consecutive, in the
// order of their symbols. The table is made for one length after the other, twice as large each
// time: what codes of fewer bits stand for is found whatever follows them.
//
// kept: a set of codes that leaves some out is accepted, though 3.2.7 knows it for a single
// distance code only. A stream that uses none of those that are not there decodes.
bool HuffmanCode::build(std::span<const uint8_t> lengths, const Entry* entries, uint32_t literals) {
  entries_ = entries;
  lengths_.fill({});
  for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol) {
    Length& length = lengths_[lengths[symbol]];
    ++length.count;
    length.literals = static_cast<uint16_t>(length.literals + (symbol < literals));
  }
  lengths_[0] = {};
  std::array<uint16_t, kMaxBits + 2> next = {};  // index into symbols_
  int32_t left = 1;
  for (uint32_t bits = 1; bits <= kMaxBits; ++bits) {
    left = 2 * left - lengths_[bits].count;
    if (left < 0) return false;
    lengths_[bits].first = next[bits];
    next[bits + 1] = static_cast<uint16_t>(next[bits] + lengths_[bits].count);
  }
  for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol) {
    if (lengths[symbol] != 0) symbols_[next[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
  }
  fast_[0] = {};
  std::array<uint16_t, kMaxSymbols> codes;  // in the order of symbols_
  uint32_t code = 0;
  for (uint32_t bits = 1; bits <= kFastBits; ++bits, code <<= 1) {
    const uint32_t half = 1u << (bits - 1);
    std::copy_n(fast_.begin(), half, fast_.begin() + half);
    const Length& length = lengths_[bits];
    for (uint32_t i = length.first; i < length.first + length.count; ++i, ++code) {
      codes[i] = static_cast<uint16_t>(deflate::reverse_code(code, bits));
      fast_[codes[i]] = entries[symbols_[i]].with_code(bits);
    }
    join_literals(bits, codes.data());
  }
  return true;
}

// All pairs that have so many bits, where there was the first of the two.
void HuffmanCode::join_literals(uint32_t bits, const uint16_t* codes) {
  for (uint32_t of_first = 1; of_first < bits; ++of_first) {
    const Length& firsts = lengths_[of_first];
    const Length& seconds = lengths_[bits - of_first];
    for (uint32_t i = firsts.first; i < firsts.first + firsts.literals; ++i) {
      const Entry first = entries_[symbols_[i]].with_code(of_first);
      for (uint32_t k = seconds.first; k < seconds.first + seconds.literals; ++k) {
        const Entry second = entries_[symbols_[k]].with_code(bits - of_first);
        fast_[codes[i] | codes[k] << of_first] = first.and_then(second);
      }
    }
  }
}

// Codes of more than kFastBits bits, which are the rare ones by their nature: bit by bit, from the
// first code of each length.
Entry HuffmanCode::look_up_slowly(uint64_t bits) const {
  uint32_t code = 0;
  uint32_t first = 0;
  uint32_t index = 0;
  for (uint32_t length = 1; length <= kMaxBits; ++length, bits >>= 1) {
    code |= static_cast<uint32_t>(bits & 1);
    const uint32_t count = lengths_[length].count;
    if (code < first + count) return entries_[symbols_[index + (code - first)]].with_code(length);
    index += count;
    first = (first + count) << 1;
    code <<= 1;
  }
  return {};
}

Status Decoder::start() { return window_.allocate(kWindow + kMaxMatch + kSlack); }

void Decoder::begin(ByteSource& source) {
  source_ = &source;
  reader_.reset();
  reader_.open(source);
  used_ = given_ = 0;
  state_ = State::kHeader;
  is_last_block_ = false;
  failure_ = kOk;
}

// ---- Input ----

// Whether `bits` (up to 32) are there.
bool Decoder::need(uint32_t bits) {
  if (reader_.bits.count < bits) reader_.refill(reader_.bits);
  return reader_.has(reader_.bits, bits);
}

// A failed read where there was one, else a stream that was cut.
Status Decoder::data_ended() const { return source_->shortage(); }

// ---- Blocks ----

// CMF and FLG (RFC 1950, 2.2): method 8, a multiple of 31 in all, no preset dictionary, as no
// format has a place for one. CINFO, the size of the encoder's window, is not looked at: ours is
// the largest.
Status Decoder::start_wrapper() {
  if (!need(16)) return data_ended();
  const uint32_t method = take(8);
  const uint32_t flags = take(8);
  const bool has_dictionary = (flags & 0x20) != 0;
  if ((method & 15) != 8 || (method << 8 | flags) % 31 != 0 || has_dictionary) return kBadData;
  state_ = State::kBlock;
  return kOk;
}

// BFINAL and BTYPE (RFC 1951, 3.2.3). What follows the last block, the checksum of RFC 1950, is not
// read: a picture whose checksum is wrong or was cut off is shown all the same.
Status Decoder::start_block() {
  if (is_last_block_) {
    state_ = State::kEnd;
    return kOk;
  }
  if (!need(3)) return data_ended();
  is_last_block_ = take(1) != 0;
  switch (take(2)) {
    case 0:
      return start_stored();
    case 1: {  // fixed codes (3.2.6)
      std::array<uint8_t, HuffmanCode::kMaxSymbols> lengths;
      for (uint32_t i = 0; i < lengths.size(); ++i) lengths[i] = deflate::fixed_literal_bits(i);
      literals_.build(lengths, kLiteralEntries.data(), kEndOfBlock);
      std::fill_n(lengths.begin(), 30, deflate::kFixedDistanceBits);
      distances_.build({lengths.data(), 30}, kDistanceEntries.data());
      state_ = State::kCodes;
      return kOk;
    }
    case 2:
      return read_codes();
    default:
      return kBadData;
  }
}

// LEN and its complement, from a byte on (RFC 1951, 3.2.4).
Status Decoder::start_stored() {
  reader_.bits.drop_to_byte();
  if (!need(32)) return data_ended();
  const uint32_t length = take(16);
  if ((take(16) ^ length) != 0xFFFF) return kBadData;
  stored_left_ = length;
  state_ = State::kStored;
  return kOk;
}

// HLIT, HDIST, HCLEN, then the lengths of both codes as one sequence, coded themselves (RFC 1951,
// 3.2.7): 0 to 15 are lengths, 16 repeats the last one, 17 and 18 are zeros. A repetition may go on
// from the literals into the distances, but not from nothing or beyond the end.
Status Decoder::read_codes() {
  if (!need(14)) return data_ended();
  const uint32_t literals = take(5) + 257;
  const uint32_t distances = take(5) + 1;
  const uint32_t stored = take(4) + 4;
  std::array<uint8_t, deflate::kLengthCodes> code_lengths = {};
  for (uint32_t i = 0; i < stored; ++i) {
    if (!need(3)) return data_ended();
    code_lengths[deflate::kLengthOrder[i]] = static_cast<uint8_t>(take(3));
  }
  HuffmanCode& code = literals_;  // free until the lengths are known
  if (!code.build(code_lengths, kPlainEntries.data())) return kBadData;

  std::array<uint8_t, 320> lengths = {};
  const uint32_t count = literals + distances;
  for (uint32_t i = 0; i < count;) {
    if (!need(22) && !need(1)) return data_ended();
    const Entry entry = code.look_up(reader_.bits.held);
    if (entry.is_none()) return kBadData;
    reader_.bits.drop(entry.bits());
    const uint32_t symbol = entry.value();
    if (symbol < 16) {
      lengths[i++] = static_cast<uint8_t>(symbol);
      continue;
    }
    if (symbol == 16 && i == 0) return kBadData;
    const uint8_t value = symbol == 16 ? lengths[i - 1] : 0;
    uint32_t repeats = symbol == 16 ? 3 + take(2) : symbol == 17 ? 3 + take(3) : 11 + take(7);
    if (i + repeats > count) return kBadData;
    for (; repeats > 0; --repeats) lengths[i++] = value;
  }
  if (reader_.ran_out(reader_.bits)) return data_ended();
  if (literals > 286 || lengths[kEndOfBlock] == 0) return kBadData;
  if (!literals_.build({lengths.data(), literals}, kLiteralEntries.data(), kEndOfBlock)) {
    return kBadData;
  }
  if (!distances_.build({lengths.data() + literals, distances}, kDistanceEntries.data())) {
    return kBadData;
  }
  state_ = State::kCodes;
  return kOk;
}

// Bytes as they are. Those that the register holds come first; the others never go through it.
Status Decoder::copy_stored() {
  while (stored_left_ > 0 && used_ < kWindow) {
    if (reader_.bits.count > 0) {
      if (!need(8)) return data_ended();
      window_.data()[used_++] = static_cast<uint8_t>(take(8));
      --stored_left_;
      continue;
    }
    const std::span<uint8_t> room =
        window_.bytes().subspan(used_, std::min<size_t>(stored_left_, kWindow - used_));
    size_t got = 0;
    reader_.close();
    const Status status = source_->read_some(room, got);
    reader_.reset();
    reader_.open(*source_);
    used_ += got;
    stored_left_ -= static_cast<uint32_t>(got);
    if (got < room.size()) return status.ok() ? data_ended() : status;
  }
  if (stored_left_ == 0) state_ = State::kBlock;
  return kOk;
}

// Copies a match, which may overlap what it makes (RFC 1951, 3.2.3): a distance of 1 repeats a
// byte. Up to kSlack bytes behind it may be written.
inline void copy_match(uint8_t* to, size_t distance, uint32_t length) {
  uint8_t* const end = to + length;
  const uint8_t* from = to - distance;
  if (distance >= sse2::kBytes) [[likely]] {
    sse2::store(to, sse2::load(from));  // most are no longer than two
    sse2::store(to + sse2::kBytes, sse2::load(from + sse2::kBytes));
    for (to += 2 * sse2::kBytes, from += 2 * sse2::kBytes; to < end;
         to += sse2::kBytes, from += sse2::kBytes)
      sse2::store(to, sse2::load(from));
    return;
  }
  if (distance == 1) {
    const sse2::V all = sse2::splat8(*from);
    for (; to < end; to += sse2::kBytes) sse2::store(to, all);
    return;
  }
  // What repeats within a word is written until it fills one.
  for (; distance < 8; distance *= 2) {
    store_native(to, load_native<uint64_t>(from));
    to += distance;
    if (to >= end) return;
  }
  for (; to < end; to += 8, from += 8) store_native(to, load_native<uint64_t>(from));
}

// The number that an entry stands for. Extra bits are numbers, from the lowest bit on (RFC 1951,
// 3.1.1).
template <class Bits>
inline uint32_t take_number(Bits& bits, Entry entry) {
  const auto held = static_cast<uint32_t>(bits.held);
  bits.drop(entry.bits());
  return entry.value() + ((held & ((1u << entry.bits()) - 1)) >> entry.code_bits());
}

Decoder::Step Decoder::end_or_damage(Entry entry) {
  return entry.value() == kEnd.value() && !entry.is_none() ? Step::kEndOfBlock : Step::kBadData;
}

// The match whose length has been looked up: its extra bits, a distance code with its own.
inline Decoder::Step Decoder::read_match(Bits& bits, Entry entry, uint8_t* window,
                                         size_t& used) const {
  const uint32_t length = take_number(bits, entry);
  const Entry far = distances_.look_up(bits.held);
  if (far.is_none() || far.kind() != Entry::kNumber) return Step::kBadData;
  const size_t distance = take_number(bits, far);
  if (reader_.ran_out(bits)) return Step::kDataEnded;
  if (distance > used) return Step::kBadData;
  copy_match(window + used, distance, length);
  used += length;
  return Step::kGoesOn;
}

// A literal, a match or the end of the block, be it at the end of the data.
Decoder::Step Decoder::decode_one(Bits& bits, uint8_t* window, size_t& used) {
  reader_.refill(bits);
  if (!reader_.has(bits, 1)) return Step::kDataEnded;
  const Entry entry = literals_.look_up(bits.held);
  if (entry.is_none()) return Step::kBadData;
  if (entry.kind() == Entry::kNumber) return read_match(bits, entry, window, used);
  bits.drop(entry.code_bits());
  if (reader_.ran_out(bits)) return Step::kDataEnded;
  if (!entry.is_literal()) return end_or_damage(entry);
  window[used++] = static_cast<uint8_t>(entry.value());
  return Step::kGoesOn;
}

// The same for as long as words of data are there. A refill brings 56 bits: three look-ups of
// literals and what another one shows, or a match.
inline Decoder::Step Decoder::decode_fast(Bits& bits, uint8_t* window, size_t& used) {
  const auto put = [&](Entry entry) {
    store_le16(window + used, static_cast<uint16_t>(entry.value()));
    used += entry.kind();
    bits.drop(entry.bits());
  };
  while (used < kWindow && bits.has_word()) {
    reader_.refill_fast(bits);
    Entry entry = literals_.look_up_fast(bits.held);
    for (int i = 0; i < 3 && entry.is_literal(); ++i) {
      put(entry);
      entry = literals_.look_up_fast(bits.held);
    }
    if (entry.is_literal()) {
      put(entry);
      continue;
    }
    if (!bits.has_word()) break;
    reader_.refill_fast(bits);
    if (entry.is_none()) entry = literals_.look_up(bits.held);
    if (entry.kind() == Entry::kNumber && !entry.is_none()) [[likely]] {
      const Step step = read_match(bits, entry, window, used);
      if (step != Step::kGoesOn) return step;
    } else if (entry.is_literal()) {
      put(entry);
    } else {
      bits.drop(entry.bits());
      return end_or_damage(entry);
    }
  }
  return Step::kGoesOn;
}

// Literals and matches (RFC 1951, 3.2.5), until the block ends or the window is full.
//
// In bounds because a turn begins below kWindow, where kMaxMatch + kSlack bytes more are: it writes
// up to six literals, two more and a match. A match begins in the window, as its distance is
// compared with what has been decoded; kHistory bytes stay when the window moves.
Status Decoder::decode_codes() {
  size_t used = used_;
  Bits bits = reader_.bits;
  Step step = Step::kGoesOn;
  uint8_t* const window = window_.data();
  while (step == Step::kGoesOn && used < kWindow) {
    step = decode_fast(bits, window, used);
    if (step == Step::kGoesOn && used < kWindow) step = decode_one(bits, window, used);
  }
  reader_.bits = bits;
  used_ = used;
  if (step == Step::kEndOfBlock) state_ = State::kBlock;
  if (step == Step::kDataEnded) return data_ended();
  return step == Step::kBadData ? kBadData : kOk;
}

// Decodes until there is something to hand out, or an end. Whoever asks for more behind the last
// block expected a longer stream.
Status Decoder::more() {
  if (used_ >= kWindow) {
    std::memmove(window_.data(), window_.data() + used_ - kHistory, kHistory);
    used_ = given_ = kHistory;
  }
  while (used_ == given_) {
    switch (state_) {
      case State::kHeader:
        TRY(start_wrapper());
        break;
      case State::kBlock:
        TRY(start_block());
        break;
      case State::kStored:
        TRY(copy_stored());
        break;
      case State::kCodes:
        TRY(decode_codes());
        break;
      case State::kEnd:
        return kReadError;
    }
  }
  return kOk;
}

Status Decoder::decode(std::span<uint8_t> out) {
  while (!out.empty()) {
    if (used_ == given_) {
      if (failure_.ok()) failure_ = more();
      // A code that cannot be may be the beginning of one that was cut.
      const bool is_near_end = reader_.missing() > 0 && !reader_.has(reader_.bits, kMatchBits);
      if (failure_ == kBadData && is_near_end) failure_ = data_ended();
      // What was decoded before the failure is handed out first.
      if (used_ == given_) return failure_;
    }
    const size_t part = std::min(out.size(), used_ - given_);
    std::memcpy(out.data(), window_.data() + given_, part);
    given_ += part;
    out = out.subspan(part);
  }
  return kOk;
}

}  // namespace tavo::inflate
