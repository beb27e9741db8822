#include "codec/deflate_block.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "base/endian.h"
#include "codec/huffman_lengths.h"

namespace tavo::deflate {
namespace {

enum Type : uint32_t { kStored = 0, kFixed = 1, kDynamic = 2 };  // BTYPE (3.2.3)
// BFINAL, then BTYPE.
constexpr uint32_t kHeadBits = 3;

struct Code {
  std::array<uint8_t, huffman::kMaxSymbols> bits = {};
  std::array<uint16_t, huffman::kMaxSymbols> codes = {};  // in the order of the stream

  void assign(size_t symbols) {
    huffman::assign_codes(std::span(bits).first(symbols), codes);
    for (size_t i = 0; i < symbols; ++i) {
      codes[i] = static_cast<uint16_t>(reverse_code(codes[i], bits[i]));
    }
  }
};

struct Codes {
  Code literals, distances;

  // Without the end of the block.
  uint64_t bits_of(const Counts& counts) const {
    uint64_t sum = 0;
    for (size_t i = 0; i < counts.literals.size(); ++i) {
      const uint32_t extra = i > kEndOfBlock ? kLengths[i - kEndOfBlock - 1].bits : 0;
      sum += uint64_t{counts.literals[i]} * (literals.bits[i] + extra);
    }
    for (size_t i = 0; i < counts.distances.size(); ++i) {
      sum += uint64_t{counts.distances[i]} * (distances.bits[i] + kDistances[i].bits);
    }
    return sum;
  }
};

// ---- The description of dynamic codes (3.2.7) ----

class Description {
 public:
  // Runs are written by the symbols 16 + k of which bit k of `kinds` is set.
  Description(const Codes& codes, uint32_t kinds) : kinds_(kinds) {
    // HLIT counts from 257, as there is always an end of block, HDIST from 1.
    literals_ = used(codes.literals, kLiteralCodes, 257);
    distances_ = used(codes.distances, kDistanceCodes, 1);
    std::array<uint8_t, kLiteralCodes + kDistanceCodes> lengths;
    std::copy_n(codes.literals.bits.begin(), literals_, lengths.begin());
    std::copy_n(codes.distances.bits.begin(), distances_, lengths.begin() + literals_);
    find_runs(std::span(lengths).first(literals_ + distances_));
    std::array<uint32_t, kLengthCodes> counts = {};
    for (size_t i = 0; i < count_; ++i) ++counts[runs_[i].symbol];
    // The code of the lengths has 3 bits for each of its own: up to 7.
    huffman::find_lengths(counts, 7, std::span(code_.bits).first(kLengthCodes));
    code_.assign(kLengthCodes);
    // HCLEN counts from 4; lengths behind the last that is used are not stored.
    stored_ = kLengthCodes;
    while (stored_ > 4 && code_.bits[kLengthOrder[stored_ - 1]] == 0) --stored_;
  }

  uint64_t bits() const {
    // HLIT and HDIST have 5 bits, HCLEN 4.
    uint64_t sum = 14 + 3 * stored_;
    for (size_t i = 0; i < count_; ++i) sum += code_.bits[runs_[i].symbol] + extra_bits(runs_[i]);
    return sum;
  }

  void write(BitWriter& out) const {
    out.put(literals_ - 257, 5);
    out.put(distances_ - 1, 5);
    out.put(stored_ - 4, 4);
    for (size_t i = 0; i < stored_; ++i) {
      out.put(code_.bits[kLengthOrder[i]], 3);
      out.drain();
    }
    for (size_t i = 0; i < count_; ++i) {
      out.put(code_.codes[runs_[i].symbol], code_.bits[runs_[i].symbol]);
      out.put(runs_[i].extra, extra_bits(runs_[i]));
      out.drain();
    }
  }

 private:
  struct Run {
    uint8_t symbol, extra;
  };

  static uint32_t extra_bits(Run run) {
    return run.symbol == 16 ? 2 : run.symbol == 17 ? 3 : run.symbol == 18 ? 7 : 0;
  }

  static size_t used(const Code& code, size_t most, size_t least) {
    while (most > least && code.bits[most - 1] == 0) --most;
    return most;
  }

  // 16 repeats the length before 3 to 6 times, 17 and 18 are 3 to 10 and 11 to 138 zeros.
  void find_runs(std::span<const uint8_t> lengths) {
    for (size_t i = 0; i < lengths.size();) {
      const uint8_t value = lengths[i];
      size_t same = 1;
      while (i + same < lengths.size() && lengths[i + same] == value) ++same;
      i += same;
      if (value != 0) {
        add(value, 0);
        same = add_runs(16, 3, 6, same - 1);
      } else {
        same = add_runs(17, 3, 10, add_runs(18, 11, 138, same));
      }
      for (; same > 0; --same) add(value, 0);
    }
  }

  // As many of `same` lengths as runs of one symbol can have; returns how many are left.
  size_t add_runs(uint8_t symbol, size_t least, size_t most, size_t same) {
    if ((kinds_ >> (symbol - 16) & 1) == 0) return same;
    for (size_t part; same >= least; same -= part) {
      part = std::min(same, most);
      add(symbol, part - least);
    }
    return same;
  }

  void add(uint8_t symbol, size_t extra) {
    runs_[count_++] = {symbol, static_cast<uint8_t>(extra)};
  }

  uint32_t kinds_;
  size_t literals_ = 0, distances_ = 0, stored_ = 0;
  std::array<Run, kLiteralCodes + kDistanceCodes> runs_;
  size_t count_ = 0;
  Code code_;
};

// A symbol that is used seldom makes all others longer, so all eight choices of 16, 17 and 18 are
// tried.
Description shortest_description(const Codes& codes) {
  constexpr uint32_t kAllKinds = 7;
  Description best(codes, kAllKinds);
  for (uint32_t kinds = 0; kinds < kAllKinds; ++kinds) {
    const Description other(codes, kinds);
    if (other.bits() < best.bits()) best = other;
  }
  return best;
}

// ---- Symbols ----

// The length of a match as it is written: code and extra bits in one, 20 at most, the number of
// bits from bit 24 on.
struct MatchCodes {
  std::array<uint32_t, kMaxMatch + 1> lengths;

  explicit MatchCodes(const Code& literals) {
    for (uint32_t length = kMinMatch; length <= kMaxMatch; ++length) {
      const uint32_t s = kLengthSymbol[length], symbol = kEndOfBlock + 1 + s;
      const uint32_t bits = literals.bits[symbol];
      lengths[length] = literals.codes[symbol] | (length - kLengths[s].base) << bits |
                        (bits + kLengths[s].bits) << 24;
    }
  }
};

// As many as fit between two calls of drain(): a code has 15 bits.
constexpr uint32_t kLiteralsAtOnce = 3;

void put_literals(const uint8_t* data, uint32_t count, const Code& code, BitWriter& out) {
  for (; count >= kLiteralsAtOnce; count -= kLiteralsAtOnce) {
    for (uint32_t i = 0; i < kLiteralsAtOnce; ++i, ++data) {
      out.put(code.codes[*data], code.bits[*data]);
    }
    out.drain();
  }
  for (; count > 0; --count, ++data) out.put(code.codes[*data], code.bits[*data]);
  out.drain();
}

Status put_sequences(std::span<const Sequence> sequences, const uint8_t* data, const Codes& codes,
                     BitWriter& out) {
  // Their codes take 1920 bytes at most: less than what make_room() promises.
  constexpr uint32_t kPiece = 1024;
  const MatchCodes matches(codes.literals);
  for (const Sequence& sequence : sequences) {
    TRY(out.make_room());
    for (uint32_t left = sequence.literals; left > 0;) {
      const uint32_t part = std::min(left, kPiece);
      put_literals(data, part, codes.literals, out);
      data += part;
      left -= part;
      if (left > 0) TRY(out.make_room());
    }
    if (sequence.length == 0) continue;
    const uint32_t length = matches.lengths[sequence.length];
    out.put(length & 0xFFFFFF, length >> 24);
    const uint32_t symbol = distance_symbol(sequence.distance);
    // With the length 48 bits at most: 15 and 5, 15 and 13.
    out.put(codes.distances.codes[symbol], codes.distances.bits[symbol]);
    out.put(sequence.distance - kDistances[symbol].base, kDistances[symbol].bits);
    out.drain();
    data += sequence.length;
  }
  out.put(codes.literals.codes[kEndOfBlock], codes.literals.bits[kEndOfBlock]);
  out.drain();
  return kOk;
}

// ---- Blocks ----

// LEN has 16 bits.
constexpr size_t kMostStored = 65535;

// Each block with its head, up to 7 bits to the next byte, LEN and its complement.
uint64_t stored_bits(size_t bytes) {
  const uint64_t blocks = bytes / kMostStored + 1;
  return 8 * uint64_t{bytes} + blocks * (kHeadBits + 7 + 32);
}

// 256 times the binary logarithm, by the highest bits.
uint32_t log2_in_256ths(uint32_t value) {
  static constexpr auto kTable = [] {
    std::array<uint16_t, 256> table = {};
    for (uint32_t i = 0; i < 256; ++i) {       // of 1 + i / 256, by squaring: a bit of it each time
      uint64_t x = (uint64_t{256} + i) << 22;  // in 2^30ths
      for (int bit = 0; bit < 8; ++bit) {
        x = x * x >> 30;
        const bool is_two = x >= uint64_t{1} << 31;
        table[i] = static_cast<uint16_t>(table[i] << 1 | (is_two ? 1 : 0));
        if (is_two) x >>= 1;
      }
    }
    return table;
  }();
  const auto power = static_cast<uint32_t>(std::bit_width(value)) - 1;
  return power * 256 + kTable[(uint64_t{value} << 31 >> power >> 23) & 255];
}

// What an ideal code takes for so many of each symbol; none is said to take less than an eighth of
// a bit.
void add_entropy(std::span<const uint32_t> counts, uint64_t& in_256ths, uint32_t& used) {
  uint32_t all = 0;
  for (const uint32_t count : counts) all += count;
  if (all == 0) return;
  const uint32_t of_all = log2_in_256ths(all);
  for (const uint32_t count : counts) {
    if (count == 0) continue;
    ++used;
    in_256ths += uint64_t{count} * std::max(of_all - log2_in_256ths(count), 256u / 8);
  }
}

void fixed_codes(Codes& codes) {
  for (uint32_t i = 0; i < huffman::kMaxSymbols; ++i) {
    codes.literals.bits[i] = fixed_literal_bits(i);
  }
  // 288 and 32 codes, though the last two of each never occur: they take part in the numbering
  // (3.2.6).
  std::fill_n(codes.distances.bits.begin(), 32, kFixedDistanceBits);
  codes.literals.assign(huffman::kMaxSymbols);
  codes.distances.assign(32);
}

Codes dynamic_codes(const Counts& counts) {
  Codes codes;
  huffman::find_lengths(counts.literals, kMaxBits,
                        std::span(codes.literals.bits).first(kLiteralCodes));
  huffman::find_lengths(counts.distances, kMaxBits,
                        std::span(codes.distances.bits).first(kDistanceCodes));
  return codes;
}

}  // namespace

void Counts::add(const Counts& other) {
  for (size_t i = 0; i < literals.size(); ++i) literals[i] += other.literals[i];
  for (size_t i = 0; i < distances.size(); ++i) distances[i] += other.distances[i];
}

uint64_t estimate_bits(const Counts& counts) {
  constexpr uint32_t kFixedPart = 160, kForEach = 2;  // of a description, about
  uint64_t in_256ths = 0;
  uint32_t used = 0;
  add_entropy(counts.literals, in_256ths, used);
  add_entropy(counts.distances, in_256ths, used);
  uint64_t extra = 0;
  for (size_t s = 0; s < std::size(kLengths); ++s) {
    extra += uint64_t{counts.literals[kEndOfBlock + 1 + s]} * kLengths[s].bits;
  }
  for (size_t s = 0; s < kDistanceCodes; ++s) {
    extra += uint64_t{counts.distances[s]} * kDistances[s].bits;
  }
  return in_256ths / 256 + extra + kFixedPart + kForEach * used;
}

uint64_t block_bits(const Counts& counts) {
  Codes fixed;
  fixed_codes(fixed);
  const Codes dynamic = dynamic_codes(counts);
  return std::min(shortest_description(dynamic).bits() + dynamic.bits_of(counts),
                  fixed.bits_of(counts));
}

void costs_of(std::span<const uint32_t> counts, std::span<uint16_t> costs, uint32_t for_new) {
  uint32_t all = 1;
  for (const uint32_t count : counts) all += count;
  const uint32_t of_all = log2_in_256ths(all);
  for (size_t i = 0; i < counts.size(); ++i) {
    const uint32_t cost = of_all - log2_in_256ths(std::max(counts[i], 1u));
    const uint32_t more = counts[i] == 0 ? for_new : 0;
    // As a code has them: a bit at least, 15 at most.
    costs[i] = static_cast<uint16_t>(std::clamp(cost / 16, 16u, 16 * kMaxBits) + more);
  }
}

uint32_t bits_of_literal(const Counts& counts) {
  const auto literals = std::span(counts.literals).first(256);
  uint64_t in_256ths = 0, all = 0;
  uint32_t used = 0;
  for (const uint32_t count : literals) all += count;
  add_entropy(literals, in_256ths, used);
  return all != 0 ? static_cast<uint32_t>((in_256ths / all + 255) / 256) : 8;
}

// Writes eight bytes, of which those count that are whole; up to 7 bits stay.
void BitWriter::drain() {
  store_le64(buffer_.data() + at_, held_);
  at_ += count_ / 8;
  held_ >>= count_ / 8 * 8;
  count_ %= 8;
}

Status BitWriter::put_bytes(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    TRY(make_room());
    const size_t part = std::min(bytes.size(), kSlack / 2);
    std::memcpy(buffer_.data() + at_, bytes.data(), part);
    at_ += part;
    bytes = bytes.subspan(part);
  }
  return kOk;
}

Status BitWriter::flush() {
  const size_t size = at_;
  at_ = 0;
  return size != 0 ? write_(context_, buffer_.bytes().first(size)) : kOk;
}

// LEN and its complement, from a byte on (3.2.4); no data are a block, too.
Status write_stored(std::span<const uint8_t> data, bool is_last, BitWriter& out) {
  do {
    const std::span<const uint8_t> part = data.first(std::min(data.size(), kMostStored));
    data = data.subspan(part.size());
    out.put(is_last && data.empty() ? 1 : 0, 1);
    out.put(kStored, 2);
    out.align();
    out.put(part.size(), 16);
    out.put(part.size() ^ 0xFFFF, 16);
    out.drain();
    TRY(out.put_bytes(part));
  } while (!data.empty());
  return kOk;
}

Status write_block(std::span<const Sequence> sequences, const Counts& counts,
                   std::span<const uint8_t> data, bool is_last, BitWriter& out) {
  Codes dynamic = dynamic_codes(counts), fixed;
  const Description description = shortest_description(dynamic);
  fixed_codes(fixed);
  const uint64_t of_dynamic = description.bits() + dynamic.bits_of(counts);
  const uint64_t of_fixed = fixed.bits_of(counts);
  TRY(out.make_room());
  if (stored_bits(data.size()) <= kHeadBits + std::min(of_dynamic, of_fixed)) {
    return write_stored(data, is_last, out);
  }
  const bool is_fixed = of_fixed <= of_dynamic;
  out.put(is_last ? 1 : 0, 1);
  out.put(is_fixed ? kFixed : kDynamic, 2);
  out.drain();
  if (is_fixed) return put_sequences(sequences, data.data(), fixed, out);
  dynamic.literals.assign(kLiteralCodes);
  dynamic.distances.assign(kDistanceCodes);
  description.write(out);
  return put_sequences(sequences, data.data(), dynamic, out);
}

}  // namespace tavo::deflate
