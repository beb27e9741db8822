#include "codec/inflate.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace tavo::inflate {
namespace {

constexpr size_t kHistory = 32768;  // how far back matches reach (RFC 1951, 2)
// Decoded before what has no use any more is moved out.
constexpr size_t kWindow = 4 * kHistory;
constexpr size_t kMaxMatch = 258;
constexpr size_t kSlack = 16;  // copies go by 8 bytes
constexpr uint32_t kEndOfBlock = 256;
// The longest match (RFC 1951, 3.2.5): a length code and its extra bits, a distance code and its.
constexpr uint32_t kMatchBits = 15 + 5 + 15 + 13;

struct Extra {
  uint16_t base;
  uint8_t bits;
};

// RFC 1951, 3.2.5; symbols 257 to 285, and distance symbols 0 to 29. The rest (286 and 287, 30 and
// 31) have fixed codes, but never occur (3.2.6).
constexpr Extra kLengths[] = {
    {3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
    {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
    {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}};
constexpr Extra kDistances[] = {{1, 0},     {2, 0},     {3, 0},      {4, 0},      {5, 1},
                                {7, 1},     {9, 2},     {13, 2},     {17, 3},     {25, 3},
                                {33, 4},    {49, 4},    {65, 5},     {97, 5},     {129, 6},
                                {193, 6},   {257, 7},   {385, 7},    {513, 8},    {769, 8},
                                {1025, 9},  {1537, 9},  {2049, 10},  {3073, 10},  {4097, 11},
                                {6145, 11}, {8193, 12}, {12289, 12}, {16385, 13}, {24577, 13}};

// Order in which the lengths of the code-length code are stored (3.2.7).
constexpr uint8_t kLengthOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                      11, 4,  12, 3, 13, 2, 14, 1, 15};

// Codes are packed from their most significant bit on into bytes that are filled from the lowest
// bit on (RFC 1951, 3.1.1), so the bits in the register stand the other way round.
uint32_t reverse(uint32_t code, uint32_t length) {
  uint32_t reversed = 0;
  for (; length > 0; --length, code >>= 1) reversed = reversed << 1 | (code & 1);
  return reversed;
}

}  // namespace

// Canonical codes from lengths (RFC 1951, 3.2.2): the codes of a length are consecutive, in the
// order of their symbols.
//
// kept: a set of codes that leaves some out is accepted, though 3.2.7 knows it for a single
// distance code only. A stream that uses none of those that are not there decodes.
bool HuffmanCode::build(std::span<const uint8_t> lengths) {
  fast_.fill(0);
  counts_.fill(0);
  for (const uint8_t length : lengths) ++counts_[length];
  counts_[0] = 0;
  std::array<uint16_t, kMaxBits + 2> first = {};  // index into symbols_
  std::array<uint32_t, kMaxBits + 2> code = {};
  int32_t left = 1;
  for (uint32_t length = 1; length <= kMaxBits; ++length) {
    left = 2 * left - counts_[length];
    if (left < 0) return false;
    first[length + 1] = static_cast<uint16_t>(first[length] + counts_[length]);
    code[length + 1] = (code[length] + counts_[length]) << 1;
  }
  for (uint32_t symbol = 0; symbol < lengths.size(); ++symbol) {
    const uint32_t length = lengths[symbol];
    if (length == 0) continue;
    symbols_[first[length]++] = static_cast<uint16_t>(symbol);
    const uint32_t bits = reverse(code[length]++, length);
    for (uint32_t i = bits; length <= kFastBits && i < 1u << kFastBits; i += 1u << length) {
      fast_[i] = static_cast<uint16_t>(symbol << 4 | length);
    }
  }
  return true;
}

// Codes of more than kFastBits bits, which are the rare ones by their nature: bit by bit, from the
// first code of each length.
uint32_t HuffmanCode::look_up_slowly(uint64_t bits) const {
  uint32_t code = 0;
  uint32_t first = 0;
  uint32_t index = 0;
  for (uint32_t length = 1; length <= kMaxBits; ++length, bits >>= 1) {
    code |= static_cast<uint32_t>(bits & 1);
    const uint32_t count = counts_[length];
    if (code < first + count) return uint32_t{symbols_[index + (code - first)]} << 4 | length;
    index += count;
    first = (first + count) << 1;
    code <<= 1;
  }
  return kNoCode;
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
      std::array<uint8_t, 288> lengths;
      std::fill(lengths.begin(), lengths.begin() + 144, uint8_t{8});
      std::fill(lengths.begin() + 144, lengths.begin() + 256, uint8_t{9});
      std::fill(lengths.begin() + 256, lengths.begin() + 280, uint8_t{7});
      std::fill(lengths.begin() + 280, lengths.end(), uint8_t{8});
      literals_.build(lengths);
      std::fill_n(lengths.begin(), 30, uint8_t{5});
      distances_.build({lengths.data(), 30});
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
  std::array<uint8_t, 19> code_lengths = {};
  for (uint32_t i = 0; i < stored; ++i) {
    if (!need(3)) return data_ended();
    code_lengths[kLengthOrder[i]] = static_cast<uint8_t>(take(3));
  }
  HuffmanCode& code = literals_;  // free until the lengths are known
  if (!code.build(code_lengths)) return kBadData;

  std::array<uint8_t, 320> lengths = {};
  const uint32_t count = literals + distances;
  for (uint32_t i = 0; i < count;) {
    if (!need(22) && !need(1)) return data_ended();
    const uint32_t entry = code.look_up(reader_.bits.held);
    if (entry == HuffmanCode::kNoCode) return kBadData;
    reader_.bits.drop(entry & 15);
    const uint32_t symbol = entry >> 4;
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
  if (!literals_.build({lengths.data(), literals})) return kBadData;
  if (!distances_.build({lengths.data() + literals, distances})) return kBadData;
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
    TRY(status);
    used_ += got;
    stored_left_ -= static_cast<uint32_t>(got);
    if (got < room.size()) return data_ended();
  }
  if (stored_left_ == 0) state_ = State::kBlock;
  return kOk;
}

// What stands behind the code of a length: its extra bits, a distance code with its own. Extra bits
// are numbers, from the lowest bit on (RFC 1951, 3.1.1).
inline bool Decoder::read_match(Bits& bits, uint32_t length_code, uint32_t& length,
                                size_t& distance) const {
  if (length_code >= std::size(kLengths)) return false;
  length = kLengths[length_code].base + bits.take(kLengths[length_code].bits);
  const uint32_t entry = distances_.look_up(bits.held);
  const uint32_t code = entry >> 4;
  if (code >= std::size(kDistances)) return false;
  bits.drop(entry & 15);
  distance = kDistances[code].base + bits.take(kDistances[code].bits);
  return true;
}

// Copies a match, which may overlap what it makes (RFC 1951, 3.2.3): a distance of 1 repeats a
// byte. Up to kSlack bytes behind it may be written.
inline void copy_match(uint8_t* to, size_t distance, uint32_t length) {
  uint8_t* const end = to + length;
  const uint8_t* from = to - distance;
  if (distance == 1) {
    std::memset(to, *from, length);
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

// Up to three literals, a match behind up to two, or the end of the block. A refill brings 56 bits:
// enough for a match, or for three literals.
inline Decoder::Step Decoder::decode_some(Bits& bits, uint8_t* window, size_t& used) {
  reader_.refill(bits);
  if (!reader_.has(bits, 1)) return Step::kDataEnded;
  uint32_t entry = literals_.look_up(bits.held);
  const int more = reader_.missing() == 0 ? 2 : 0;  // symbols that bits behind the end cannot be
  for (int i = 0; i < more && entry < kEndOfBlock << 4; ++i) {
    window[used++] = static_cast<uint8_t>(entry >> 4);
    bits.drop(entry & 15);
    entry = literals_.look_up(bits.held);
  }
  if (entry == HuffmanCode::kNoCode) return Step::kBadData;
  if (bits.count < kMatchBits) reader_.refill(bits);
  bits.drop(entry & 15);
  const uint32_t symbol = entry >> 4;
  uint32_t length = 0;
  size_t distance = 0;
  if (symbol > kEndOfBlock &&
      (!read_match(bits, symbol - kEndOfBlock - 1, length, distance) || distance > used)) {
    return Step::kBadData;
  }
  if (reader_.ran_out(bits)) return Step::kDataEnded;
  if (symbol == kEndOfBlock) return Step::kEndOfBlock;
  if (symbol < kEndOfBlock) {
    window[used++] = static_cast<uint8_t>(symbol);
    return Step::kGoesOn;
  }
  copy_match(window + used, distance, length);
  used += length;
  return Step::kGoesOn;
}

// Literals and matches (RFC 1951, 3.2.5), until the block ends or the window is full.
//
// In bounds because a turn begins below kWindow, where kMaxMatch + kSlack bytes more are: it writes
// two literals and a match or a third literal. A match begins in the window, as its distance is
// compared with what has been decoded; kHistory bytes stay when the window moves.
Status Decoder::decode_codes() {
  size_t used = used_;
  Bits bits = reader_.bits;
  Step step = Step::kGoesOn;
  uint8_t* const window = window_.data();
  while (step == Step::kGoesOn && used < kWindow) step = decode_some(bits, window, used);
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
