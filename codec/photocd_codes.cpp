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
    // Length less 1, the code in the high bits of two bytes, the high one first, the difference.
    // The number of entries stands in front of them all, less 1 as well.
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

// A row that is being decoded. It is in memory whole; zeros follow it.
struct CodeTable::Run : BitRegister<BitOrder::kHighFirst, uintptr_t> {
  explicit Run(const CodedRow& row) : next(row.bytes), out(row.out) {
    refill();
    drop(row.skipped);
  }
  void refill() { BitRegister::refill(load(next), next); }
  void put(uint8_t difference) { *out++ = static_cast<int8_t>(difference); }

  static constexpr size_t kSteps = kRefilledBits / kLookBits;  // that a refill serves
  static constexpr size_t kMostJoined = 3 * kSteps;

  const uint8_t* next;
  int8_t* out;
};

inline CodeTable::Code CodeTable::next(const Run& run) const {
  const uint32_t top = run.peek(kLongest);
  const Code code = codes_[top >> kRestBits];
  if (code.bits != kIsLonger) return code;
  return longer_[code.value][top & ((1u << kRestBits) - 1)];
}

// Up to three codes at once; false when the next one is longer than that, or none.
inline bool CodeTable::join(Run& run) const {
  const uint32_t entry = joined_[run.peek(kLookBits)];
  store_le32(reinterpret_cast<uint8_t*>(run.out), entry >> 8);
  run.drop(entry & 0xF);
  run.out += entry >> 4 & 0xF;
  return (entry & 0xF) != 0;
}

// Any code; false when it is none.
inline bool CodeTable::single(Run& run) const {
  run.refill();
  const Code code = next(run);
  if (code.bits == 0) return false;
  run.drop(code.bits);
  run.put(code.value);
  return true;
}

void CodeTable::decode(CodedRow& a, CodedRow& b, size_t count) const {
  Run first(a), second(b);
  const int8_t* const first_end = a.out + count - std::min(count, Run::kMostJoined);
  const int8_t* const second_end = b.out + count - std::min(count, Run::kMostJoined);
  bool is_coded = true;
  while (is_coded && first.out < first_end && second.out < second_end) {
    first.refill();
    second.refill();
    for (size_t i = 0; i < Run::kSteps; ++i) {
      const bool first_joins = join(first), second_joins = join(second);
      if (first_joins && second_joins) [[likely]]
        continue;
      is_coded = (first_joins || single(first)) && (second_joins || single(second));
      break;
    }
  }
  finish(first, a, count);
  finish(second, b, count);
}

void CodeTable::decode(CodedRow& row, size_t count) const {
  Run run(row);
  finish(run, row, count);
}

// The rest of a row.
void CodeTable::finish(Run run, CodedRow& row, size_t count) const {
  const int8_t* const end = row.out + count;
  while (end - run.out > static_cast<ptrdiff_t>(Run::kMostJoined)) {
    run.refill();
    size_t steps = 0;
    while (steps < Run::kSteps && join(run)) ++steps;
    if (steps < Run::kSteps && !single(run)) break;
  }
  while (run.out < end && single(run)) continue;
  const auto taken = static_cast<uint64_t>(run.next - row.bytes) * 8 - run.count - row.skipped;
  row.found = count;
  if (run.out != end || taken > row.available) decode_singly(row, count);
}

// Of a damaged row.
void CodeTable::decode_singly(CodedRow& row, size_t count) const {
  Run run(row);
  uint64_t left = row.available;
  for (row.found = 0; row.found < count; ++row.found) {
    run.refill();
    const Code code = next(run);
    if (code.bits == 0 || code.bits > left) return;
    left -= code.bits;
    run.drop(code.bits);
    run.put(code.value);
  }
}

}  // namespace tavo::photocd
