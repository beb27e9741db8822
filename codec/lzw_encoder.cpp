#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/endian.h"
#include "codec/lzw.h"

namespace tavo::lzw {
namespace {

// Sixteen slots for every string that a table can hold: strings seldom meet, and a meeting costs a
// mispredicted branch. 256 KiB, of which one table touches little.
constexpr unsigned kSlotBits = 16;
constexpr uint32_t kSlots = 1u << kSlotBits;
constexpr uint32_t kSlotMask = kSlots - 1;

// Bytes encoded between looks at the room left: each puts one code or two, the store of a code
// touches 8 bytes.
constexpr size_t kPart = 8 * 1024;
constexpr size_t kOutSize = 64 * 1024;
constexpr size_t kPartRoom = kPart * 3 + 8;
static_assert(kOutSize > 2 * kPartRoom);

// A first place for each string. All slots are reached, and strings that differ in one half never
// meet.
inline uint32_t first_slot(uint32_t prefix, uint32_t byte) { return prefix ^ (byte << 8); }
inline uint32_t next_slot(uint32_t slot) { return (slot + 0x9D) & kSlotMask; }

}  // namespace

// A clear code comes first: TIFF 6.0, section 13 demands it, GIF89a, appendix F recommends it.
template <BitOrder kOrder, bool kEarlyChange>
Status Encoder<kOrder, kEarlyChange>::start(unsigned minimum_code_size) {
  assert(minimum_code_size >= 2 && minimum_code_size <= 8);
  if (out_.size() == 0) {
    TRY(table_.allocate(kSlots));
    TRY(slots_.allocate(kMaxCodes));
    TRY(out_.allocate(kOutSize));
  }
  free_slots();
  minimum_bits_ = minimum_code_size;
  clear_ = 1u << minimum_code_size;
  used_ = 0;
  held_ = held_bits_ = 0;
  prefix_ = kNoPrefix;
  reset_table();
  put(clear_);
  return kOk;
}

// The first byte of a stream is a prefix without a code before it.
template <BitOrder kOrder, bool kEarlyChange>
Status Encoder<kOrder, kEarlyChange>::encode(std::span<const uint8_t> bytes) {
  const uint8_t* next = bytes.data();
  const uint8_t* const end = next + bytes.size();
  if (prefix_ == kNoPrefix && next != end) prefix_ = *next++;
  while (next != end) {
    const size_t part = std::min(kPart, static_cast<size_t>(end - next));
    if (out_.size() - used_ < kPartRoom) TRY(flush());
    next = encode_part(next, next + part);
  }
  return kOk;
}

// The string at hand, the end code, and zeros up to a byte.
template <BitOrder kOrder, bool kEarlyChange>
Status Encoder<kOrder, kEarlyChange>::finish() {
  if (out_.size() - used_ < kPartRoom) TRY(flush());
  if (prefix_ != kNoPrefix) put(prefix_);
  put(clear_ + 1);
  if (held_bits_ != 0) {
    out_.data()[used_++] =
        static_cast<uint8_t>(kOrder == BitOrder::kLowFirst ? held_ : held_ >> 56);
  }
  return flush();
}

template <BitOrder kOrder, bool kEarlyChange>
Status Encoder<kOrder, kEarlyChange>::flush() {
  const size_t count = used_;
  used_ = 0;
  return count == 0 ? kOk : write_(context_, out_.bytes().first(count));
}

// Puts one code in the current width, which grows when the next code might need it: in GIF as soon
// as the entry to be made now has a number beyond it, in TIFF one entry earlier (section 13).
template <BitOrder kOrder, bool kEarlyChange>
inline void Encoder<kOrder, kEarlyChange>::put(uint32_t code) {
  const unsigned bits = held_bits_ + width_;
  uint8_t* const to = out_.data() + used_;
  if constexpr (kOrder == BitOrder::kLowFirst) {
    held_ |= uint64_t{code} << held_bits_;
    store_le64(to, held_);
    held_ >>= bits & ~7u;
  } else {
    held_ |= uint64_t{code} << (64 - bits);
    store_be64(to, held_);
    held_ <<= bits & ~7u;
  }
  used_ += bits / 8;
  held_bits_ = bits % 8;
  if (next_ >= (1u << width_) - (kEarlyChange ? 1 : 0) && width_ < kMaxCodeBits) ++width_;
}

// Those that codes have taken; clearing all of them would cost short streams more than their codes.
template <BitOrder kOrder, bool kEarlyChange>
void Encoder<kOrder, kEarlyChange>::free_slots() {
  for (uint32_t code = clear_ + 2; code < next_; ++code) table_[slots_[code]] = 0;
}

template <BitOrder kOrder, bool kEarlyChange>
void Encoder<kOrder, kEarlyChange>::reset_table() {
  width_ = minimum_bits_ + 1;
  next_ = clear_ + 2;
}

// Section 13 of TIFF 6.0: the clear code goes out as soon as entry 4094 has been made, so that no
// code grows to 13 bits by the early change. GIF uses all 4096.
template <BitOrder kOrder, bool kEarlyChange>
inline void Encoder<kOrder, kEarlyChange>::add_entry(uint32_t slot, uint32_t key) {
  if constexpr (kEarlyChange) {
    slots_[next_] = slot;
    table_[slot] = key | next_++;
    if (next_ < kMaxCodes - 1) return;
  } else if (next_ < kMaxCodes) {
    slots_[next_] = slot;
    table_[slot] = key | next_++;
    return;
  }
  put(clear_);
  free_slots();
  reset_table();
}

// The greedy rule: the longest string that is in the table, then a new entry of it and the byte
// behind.
//
// In bounds because the caller left kPartRoom bytes: each byte puts one code, and a clear code at
// most once for each, 3 bytes together. The search ends as kSlots is 16 times what a table holds,
// and the step is odd: it comes to every slot.
template <BitOrder kOrder, bool kEarlyChange>
const uint8_t* Encoder<kOrder, kEarlyChange>::encode_part(const uint8_t* next, const uint8_t* end) {
  const uint32_t* const table = table_.data();
  uint32_t prefix = prefix_;
  while (next != end) {
    const uint32_t byte = *next++;
    const uint32_t key = prefix << 20 | byte << 12;
    uint32_t slot = first_slot(prefix, byte);
    uint32_t entry = table[slot];
    while (entry != 0 && (entry ^ key) >= kMaxCodes) {
      slot = next_slot(slot);
      entry = table[slot];
    }
    if (entry != 0) {
      prefix = entry & (kMaxCodes - 1);
      continue;
    }
    put(prefix);
    add_entry(slot, key);
    prefix = byte;
  }
  prefix_ = prefix;
  return next;
}

template class Encoder<BitOrder::kLowFirst, false>;
template class Encoder<BitOrder::kHighFirst, true>;

}  // namespace tavo::lzw
