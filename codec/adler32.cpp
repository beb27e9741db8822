#include "codec/adler32.h"

#include <algorithm>

#include "base/vector_sse2.h"

namespace tavo {
namespace {

using namespace sse2;

constexpr uint32_t kModulus = 65521;
// As many bytes as can be added before a sum could exceed 32 bits, whole vectors.
constexpr size_t kMostAtOnce = 5552 / 16 * 16;

uint32_t sum32(V v) {
  v = add32(v, swap_halves(v));
  return first32(add32(v, swap_pairs32(v)));
}

// Adds `count` bytes, a multiple of 16, to the sum `a` and the sum `b` of all its values: each
// vector adds 16 times what `a` was and its bytes 16 times to once.
void add_vectors(const uint8_t* at, size_t count, uint32_t& a, uint32_t& b) {
  static constexpr int16_t kTimes[] = {16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1};
  const V low = load(kTimes), high = load(kTimes + 8);
  V sums = {}, before = {}, weighted = {};
  for (const uint8_t* const end = at + count; at < end; at += 16) {
    const V bytes = load(at);
    before = add32(before, sums);
    sums = add32(sums, sum8_unsigned(bytes));
    weighted = add32(weighted, multiply_add16(unpack_low8(bytes, V{}), low));
    weighted = add32(weighted, multiply_add16(unpack_high8(bytes, V{}), high));
  }
  b += a * static_cast<uint32_t>(count) + 16 * sum32(before) + sum32(weighted);
  a += sum32(sums);
}

}  // namespace

uint32_t adler32(uint32_t before, std::span<const uint8_t> bytes) {
  uint32_t a = before & 0xFFFF, b = before >> 16;
  while (!bytes.empty()) {
    const size_t part = std::min(bytes.size(), kMostAtOnce), whole = part / 16 * 16;
    add_vectors(bytes.data(), whole, a, b);
    for (const uint8_t byte : bytes.first(part).subspan(whole)) b += a += byte;
    a %= kModulus;
    b %= kModulus;
    bytes = bytes.subspan(part);
  }
  return b << 16 | a;
}

uint32_t adler32_changed(uint32_t sum, uint32_t difference, uint64_t bytes) {
  const uint64_t a = (sum & 0xFFFF) + difference;
  const uint64_t b = (sum >> 16) + difference * (bytes % kModulus);
  return static_cast<uint32_t>(b % kModulus) << 16 | static_cast<uint32_t>(a % kModulus);
}

}  // namespace tavo
