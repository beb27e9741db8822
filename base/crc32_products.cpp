// CRC-32 by products without carries (V. Gopal and others, "Fast CRC Computation for Generic
// Polynomials Using PCLMULQDQ Instruction", Intel, 2009).
#include <immintrin.h>

#include "base/crc32.h"
#include "base/vector_sse2.h"

namespace tavo {
namespace {

TAVO_FOR("pclmul")

using sse2::V;

// x^n mod P, bits in reverse: n is the distance over which a half is carried, 32 more for the low
// one. The names of the paper: k1 and k2 carry by 512 bits, k3 and k4 by 128.
constexpr int64_t kBy512[] = {0x154442bd4, 0x1c6e41596};
constexpr int64_t kBy128[] = {0x1751997d0, 0x0ccaa009e};

// `v`, carried over so many bits, and what stands there.
inline V fold(V v, V by, V next) {
  return _mm_clmulepi64_si128(v, by, 0x00) ^ _mm_clmulepi64_si128(v, by, 0x11) ^ next;
}

V fold_all(V start, const uint8_t*& at, const uint8_t* end) {
  const V by512 = sse2::load(kBy512), by128 = sse2::load(kBy128);
  V v[4] = {start ^ sse2::load(at), sse2::load(at + 16), sse2::load(at + 32), sse2::load(at + 48)};
  for (at += 64; end - at >= 64; at += 64) {
    for (int i = 0; i < 4; ++i) v[i] = fold(v[i], by512, sse2::load(at + 16 * i));
  }
  V all = v[0];
  for (int i = 1; i < 4; ++i) all = fold(all, by128, v[i]);
  for (; end - at >= 16; at += 16) all = fold(all, by128, sse2::load(at));
  return all;
}

TAVO_END

}  // namespace

// What is left of the products has the same remainder as all that was folded into it: the tables
// find it.
uint32_t crc32_by_products(uint32_t state, std::span<const uint8_t> bytes) {
  if (bytes.size() < 64) return crc32_by_tables(state, bytes);
  const uint8_t* at = bytes.data();
  const uint8_t* const end = at + bytes.size();
  uint8_t folded[16];
  sse2::store(folded, fold_all(sse2::single32(state), at, end));
  state = crc32_by_tables(0, folded);
  return crc32_by_tables(state, {at, end});
}

}  // namespace tavo
