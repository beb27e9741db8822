#include "codec/photocd_codes.h"

#include <algorithm>

#include "base/bit_reader.h"
#include "base/endian.h"

namespace tavo::photocd {

size_t CodeTable::parse(std::span<const uint8_t> bytes) {
  codes_ = {};
  longer_ = {};
  joined_ = {};
  longer_count_ = 0;
  const size_t count = bytes.empty() ? 0 : size_t{bytes[0]} + 1;
  const size_t size = 1 + 4 * count;
  if (count == 0 || bytes.size() < size) return 0;
  for (size_t i = 0; i < count; ++i) {
    const uint8_t* const entry = &bytes[1 + 4 * i];
    if (entry[0] >= kLongest) {
      codes_ = {};
      return 0;
    }
    const uint32_t bits = entry[0] + 1u;
    add(load_be16(entry + 1), bits, entry[3]);
  }
  join_codes();
  return size;
}

// Where codes begin with one another, the first one counts.
void CodeTable::add(uint32_t code, uint32_t bits, uint8_t value) {
  const auto fill = [&](auto& table, uint32_t first, uint32_t count) {
    for (uint32_t i = first; i < first + count; ++i) {
      if (table[i].bits == 0) table[i] = {static_cast<uint8_t>(bits), value};
    }
  };
  const uint32_t look = code >> kRestBits;
  if (bits <= kLookBits) {
    const uint32_t count = 1u << (kLookBits - bits);
    return fill(codes_, look & ~(count - 1), count);
  }
  Code& entry = codes_[look];
  if (entry.bits == 0) entry = {kIsLonger, static_cast<uint8_t>(longer_count_++)};
  if (entry.bits != kIsLonger) return;
  const uint32_t count = 1u << (kLongest - bits);
  const uint32_t rest = code & ((1u << kRestBits) - 1);
  fill(longer_[entry.value], rest & ~(count - 1), count);
}

void CodeTable::join_codes() {
  for (uint32_t look = 0; look < kLooks; ++look) {
    uint32_t bits = 0, count = 0, values = 0;
    while (count < 3) {
      const Code code = codes_[look << bits & (kLooks - 1)];
      if (code.bits == 0 || code.bits > kLookBits - bits) break;
      values |= uint32_t{code.value} << (8 + 8 * count);
      bits += code.bits;
      ++count;
    }
    joined_[look] = bits | count << 4 | values;
  }
}

template <class Bits>
CodeTable::Code CodeTable::next(const Bits& bits) const {
  const uint32_t top = bits.peek(kLongest);
  const Code code = codes_[top >> kRestBits];
  if (code.bits != kIsLonger) return code;
  return longer_[code.value][top & ((1u << kRestBits) - 1)];
}

namespace {

// The bits of a row that is in memory whole; zeros follow it.
struct RowBits : BitRegister<BitOrder::kHighFirst, uintptr_t> {
  RowBits(const uint8_t* bytes, uint32_t skipped) : next(bytes) {
    refill();
    drop(skipped);
  }
  void refill() { BitRegister::refill(load(next), next); }

  const uint8_t* next;
};

}  // namespace

size_t CodeTable::decode(const uint8_t* bytes, uint32_t skipped, uint64_t available, size_t count,
                         int8_t* out) const {
  constexpr size_t kSteps = RowBits::kRefilledBits / kLookBits;
  RowBits bits(bytes, skipped);
  size_t done = 0;
  while (done + 3 * kSteps <= count) {
    bits.refill();
    for (size_t i = 0; i < kSteps; ++i) {
      const uint32_t entry = joined_[bits.peek(kLookBits)];
      store_le32(reinterpret_cast<uint8_t*>(out) + done, entry >> 8);
      bits.drop(entry & 0xF);
      done += entry >> 4 & 0xF;
      if ((entry & 0xF) != 0) [[likely]]
        continue;
      bits.refill();
      const Code code = next(bits);
      if (code.bits == 0) return decode_singly(bytes, skipped, available, count, out);
      bits.drop(code.bits);
      out[done++] = static_cast<int8_t>(code.value);
      break;
    }
  }
  while (done < count) {
    bits.refill();
    const Code code = next(bits);
    if (code.bits == 0) break;
    bits.drop(code.bits);
    out[done++] = static_cast<int8_t>(code.value);
  }
  const auto taken = static_cast<uint64_t>(bits.next - bytes) * 8 - bits.count - skipped;
  const bool is_whole = done == count && taken <= available;
  return is_whole ? count : decode_singly(bytes, skipped, available, count, out);
}

// Of a damaged row.
size_t CodeTable::decode_singly(const uint8_t* bytes, uint32_t skipped, uint64_t available,
                                size_t count, int8_t* out) const {
  RowBits bits(bytes, skipped);
  for (size_t i = 0; i < count; ++i) {
    bits.refill();
    const Code code = next(bits);
    if (code.bits == 0 || code.bits > available) return i;
    available -= code.bits;
    bits.drop(code.bits);
    out[i] = static_cast<int8_t>(code.value);
  }
  return count;
}

}  // namespace tavo::photocd
