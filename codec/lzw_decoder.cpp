#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/vector_sse2.h"
#include "codec/lzw.h"

namespace tavo::lzw {
namespace {

constexpr size_t kLiterals = 256;     // history begins with one string of each byte
constexpr size_t kBurst = 32 * 1024;  // decoded ahead of what is asked for; stays in the cache
constexpr uint32_t kGroup = 4;        // codes per refill: 4 * 12 bits, 56 are there after it
constexpr size_t kCopyStep = 16;
constexpr uint32_t kNoGrowth = UINT32_MAX;

// No string is longer than the table has entries; the copies of one may write a step beyond it.
constexpr size_t kSlack = kGroup * (kMaxCodes + kCopyStep);

// Loads and stores whole steps: a string that is being made overlaps its own copy.
inline void copy_step(uint8_t* to, const uint8_t* from) { sse2::store(to, sse2::load(from)); }

inline void copy_string(uint8_t* to, const uint8_t* from, uint32_t length) {
  copy_step(to, from);
  for (uint32_t done = kCopyStep; done < length; done += kCopyStep) {
    copy_step(to + done, from + done);
  }
}

}  // namespace

template <BitOrder kOrder, bool kEarlyChange>
Status Decoder<kOrder, kEarlyChange>::start(unsigned minimum_code_size) {
  if (minimum_code_size < 1 || minimum_code_size > 8) return kBadData;
  // One entry more than there are codes: a full table lets the code loop write behind it.
  if (table_.size() == 0) TRY(table_.allocate(kMaxCodes + 1));
  given_ = written_ = kLiterals;
  TRY(reserve(kLiterals + kBurst + kSlack));
  for (uint32_t i = 0; i < kLiterals; ++i) {
    history_.data()[i] = static_cast<uint8_t>(i);
    table_[i] = {i, 1};
  }
  minimum_bits_ = minimum_code_size;
  clear_ = 1u << minimum_code_size;
  reader_.reset();
  end_ = End::kNone;
  reset_table();
  return kOk;
}

template <BitOrder kOrder, bool kEarlyChange>
Status Decoder<kOrder, kEarlyChange>::decode(ByteSource& bytes, std::span<uint8_t> out,
                                             size_t& got) {
  got = 0;
  while (got < out.size()) {
    if (given_ == written_) {
      if (end_ == End::kNone) TRY(fill(bytes));
      if (given_ == written_) return end_ == End::kBadCode ? kBadData : kOk;
    }
    const size_t part = std::min(written_ - given_, out.size() - got);
    std::memcpy(out.data() + got, history_.data() + given_, part);
    given_ += part;
    got += part;
  }
  return kOk;
}

// Decodes a burst into history_, all of which has been handed out. Leaves it empty only when the
// stream has ended.
template <BitOrder kOrder, bool kEarlyChange>
Status Decoder<kOrder, kEarlyChange>::fill(ByteSource& bytes) {
  if (at_start_) {
    given_ = written_ = kLiterals;
  } else if (next_ == kMaxCodes) {
    given_ = written_ = frozen_;
  }
  TRY(reserve(written_ + kBurst + kSlack));
  const size_t stop = written_ + kBurst;
  reader_.open(bytes);
  while (end_ == End::kNone && written_ < stop) {
    if (at_start_) {
      first_code();
    } else if (!run(stop)) {
      // A clear code: the next dictionary goes over this one once it has been handed out.
      reset_table();
      if (written_ != given_) break;
    }
  }
  reader_.close();
  return end_ == End::kNoData ? bytes.failure() : kOk;
}

// Makes room for `size` bytes of history. Long strings of a few values make much of it before a
// table is full, 7.4 MB at most; it grows with what has really been decoded.
template <BitOrder kOrder, bool kEarlyChange>
Status Decoder<kOrder, kEarlyChange>::reserve(size_t size) {
  if (size <= history_.size()) return kOk;
  Buffer larger;
  TRY(larger.allocate(std::max(size, 2 * history_.size())));
  if (written_ <= history_.size()) std::memcpy(larger.data(), history_.data(), written_);
  history_ = std::move(larger);
  return kOk;
}

// What a clear code does. The literals stay.
template <BitOrder kOrder, bool kEarlyChange>
void Decoder<kOrder, kEarlyChange>::reset_table() {
  width_ = minimum_bits_ + 1;
  next_ = clear_ + 2;
  at_start_ = true;
}

// How many more codes have the present width, or come before the table is full. A decoder knows an
// entry one code later than the encoder; kEarlyChange takes one more off (TIFF 6.0, section 13).
template <BitOrder kOrder, bool kEarlyChange>
uint32_t Decoder<kOrder, kEarlyChange>::codes_to_growth() const {
  if (next_ == kMaxCodes) return kNoGrowth;
  const uint32_t limit =
      width_ == kMaxCodeBits ? kMaxCodes : (1u << width_) - (kEarlyChange ? 1 : 0);
  return limit - next_;
}

// Called when codes_to_growth has come down to 0. Codes stay at 12 bits, and what is decoded from a
// full table makes no strings (GIF89a calls it a deferred clear code).
template <BitOrder kOrder, bool kEarlyChange>
void Decoder<kOrder, kEarlyChange>::grow_codes() {
  if (width_ < kMaxCodeBits) ++width_;
  if (next_ == kMaxCodes) frozen_ = written_;
}

// The code after a clear code (or at the very start) makes no entry and must be a literal.
// Another clear code changes nothing.
template <BitOrder kOrder, bool kEarlyChange>
void Decoder<kOrder, kEarlyChange>::first_code() {
  reader_.refill(reader_.bits);
  if (!reader_.has(reader_.bits, width_)) {
    end_ = End::kNoData;
    return;
  }
  const uint32_t code = reader_.bits.take(width_);
  if (code == clear_) return;
  if (code > clear_) {
    end_ = code == clear_ + 1 ? End::kEndCode : End::kBadCode;
    return;
  }
  previous_ = {static_cast<uint32_t>(written_), 1};
  history_.data()[written_++] = static_cast<uint8_t>(code);
  at_start_ = false;
  if (codes_to_growth() == 0) grow_codes();
}

// What run() works on, out of the object so that it stays in registers.
//
// The entry for the string being made is stored before the code is looked up, and its last byte
// put in place, so that a code which names that very string (GIF89a appendix F: it is in the
// stream one code before the decoder can know it) needs no case of its own.
template <BitOrder kOrder, bool kEarlyChange>
struct Decoder<kOrder, kEarlyChange>::Run {
  uint8_t* const history;
  Entry* const table;
  const uint32_t clear;
  uint32_t out;   // in history
  uint32_t next;  // the next free code
  uint32_t made;  // entries that each code makes: 0 in a full table
  unsigned width;
  Entry previous;
  typename BitReader<kOrder>::Bits bits;
  uint32_t special = 0;  // the clear or the end code, once it has come

  // Decodes a code whose bits are there; false when it is special.
  bool decode_one() {
    uint32_t code = bits.take(width);
    if (code - clear < 2) [[unlikely]] {
      special = code;
      return false;
    }
    table[next] = {previous.position, previous.length + 1};
    code = std::min(code, next);
    next += made;
    history[out] = history[previous.position];
    const Entry entry = table[code];
    copy_string(history + out, history + entry.position, entry.length);
    previous = {out, entry.length};
    out += entry.length;
    return true;
  }
};

// Decodes until `stop` is reached, the stream ends or a clear code comes (false).
//
// In bounds because history_ has kSlack bytes behind `stop`: a group of codes begins below it and
// writes at most kGroup strings, each with less than one copy step of excess. table_ has an entry
// behind the last code, which a full table's codes write to.
template <BitOrder kOrder, bool kEarlyChange>
bool Decoder<kOrder, kEarlyChange>::run(size_t stop) {
  Run r = {history_.data(), table_.data(),
           clear_,          static_cast<uint32_t>(written_),
           next_,           next_ < kMaxCodes ? 1u : 0u,
           width_,          previous_,
           reader_.bits};
  const auto limit = static_cast<uint32_t>(stop);
  uint32_t until_growth = codes_to_growth();
  while (true) {
    while (r.out < limit && until_growth > kGroup && r.bits.has_word()) {
      reader_.refill_fast(r.bits);
      if (!r.decode_one() || !r.decode_one() || !r.decode_one() || !r.decode_one()) break;
      until_growth -= r.made * kGroup;
    }
    if (r.special != 0 || r.out >= limit) break;

    // One at a time where the width is about to grow and near the end of the window.
    reader_.refill(r.bits);
    if (!reader_.has(r.bits, r.width)) {
      end_ = End::kNoData;
      break;
    }
    if (!r.decode_one()) break;
    until_growth -= r.made;
    if (until_growth == 0) {
      next_ = r.next;
      written_ = r.out;
      grow_codes();
      r.width = width_;
      r.made = next_ < kMaxCodes ? 1 : 0;
      until_growth = codes_to_growth();
    }
  }
  reader_.bits = r.bits;
  written_ = r.out;
  next_ = r.next;
  previous_ = r.previous;
  if (r.special == clear_) return false;
  if (r.special != 0) end_ = End::kEndCode;
  return true;
}

template class Decoder<BitOrder::kLowFirst, false>;
template class Decoder<BitOrder::kHighFirst, true>;

}  // namespace tavo::lzw
