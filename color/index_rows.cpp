#include "color/index_rows.h"

#include <emmintrin.h>

#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/endian.h"

namespace tavo::color {

namespace {

// Sixteen pixels of 1 bit at a time: each byte is spread over eight lanes, and a lane's bit
// chooses between the two values.
void unpack_bits(const uint8_t* packed, uint8_t zero, uint8_t one, std::span<uint8_t> indices) {
  const __m128i bit_of_lane = _mm_set1_epi64x(0x0102040810204080);
  const __m128i base = _mm_set1_epi8(static_cast<char>(zero));
  const __m128i change = _mm_set1_epi8(static_cast<char>(zero ^ one));
  const auto spread = [=](uint32_t two_bytes) {
    __m128i v = _mm_cvtsi32_si128(static_cast<int>(two_bytes));
    v = _mm_unpacklo_epi8(v, v);
    v = _mm_unpacklo_epi16(v, v);
    v = _mm_unpacklo_epi32(v, v);
    const __m128i is_one = _mm_cmpeq_epi8(_mm_and_si128(v, bit_of_lane), bit_of_lane);
    return _mm_xor_si128(base, _mm_and_si128(is_one, change));
  };
  const size_t whole = indices.size() / 16;
  for (size_t i = 0; i < whole; ++i) {
    const uint32_t two_bytes = packed[2 * i] | static_cast<uint32_t>(packed[2 * i + 1]) << 8;
    _mm_storeu_si128(reinterpret_cast<__m128i*>(indices.data() + 16 * i), spread(two_bytes));
  }
  for (size_t x = whole * 16; x < indices.size(); ++x) {
    indices[x] = (packed[x / 8] >> (7 - x % 8) & 1) != 0 ? one : zero;
  }
}

template <class Map>
void unpack_pairs(const uint8_t* packed, std::span<uint8_t> indices, Map map) {
  for (size_t x = 0; x < indices.size(); ++x) {
    indices[x] = map(static_cast<uint8_t>(packed[x / 4] >> (6 - x % 4 * 2) & 3));
  }
}

template <class Map>
void unpack_nibbles(const uint8_t* packed, std::span<uint8_t> indices, Map map) {
  const size_t pairs = indices.size() / 2;
  for (size_t i = 0; i < pairs; ++i) {
    indices[2 * i] = map(static_cast<uint8_t>(packed[i] >> 4));
    indices[2 * i + 1] = map(static_cast<uint8_t>(packed[i] & 15));
  }
  if (indices.size() % 2 != 0) {
    indices[2 * pairs] = map(static_cast<uint8_t>(packed[pairs] >> 4));
  }
}

void pack_bits(std::span<const uint8_t> indices, uint8_t* packed) {
  // The product brings bit 0 of byte k to bit 63 - k; no two of its terms meet, so none carries.
  constexpr uint64_t kGather = 0x8040201008040201;
  const size_t whole = indices.size() / 8;
  for (size_t i = 0; i < whole; ++i) {
    uint64_t eight;
    std::memcpy(&eight, indices.data() + 8 * i, 8);
    packed[i] = static_cast<uint8_t>(eight * kGather >> 56);
  }
  const size_t rest = indices.size() % 8;
  if (rest == 0) return;
  uint32_t byte = packed[whole] & 0xFFu >> rest;
  for (size_t k = 0; k < rest; ++k) {
    byte |= static_cast<uint32_t>(indices[8 * whole + k]) << (7 - k);
  }
  packed[whole] = static_cast<uint8_t>(byte);
}

void pack_pairs(std::span<const uint8_t> indices, uint8_t* packed) {
  for (size_t x = 0; x < indices.size(); ++x) {
    const size_t shift = 6 - x % 4 * 2;
    packed[x / 4] = static_cast<uint8_t>((packed[x / 4] & ~(3u << shift)) | indices[x] << shift);
  }
}

void pack_nibbles(std::span<const uint8_t> indices, uint8_t* packed) {
  const size_t pairs = indices.size() / 2;
  for (size_t i = 0; i < pairs; ++i) {
    packed[i] = static_cast<uint8_t>(indices[2 * i] << 4 | indices[2 * i + 1]);
  }
  if (indices.size() % 2 != 0) {
    packed[pairs] = static_cast<uint8_t>(indices[2 * pairs] << 4 | (packed[pairs] & 15));
  }
}

void write_16(std::span<const uint8_t> indices, const ColorTable& table, uint8_t* out) {
  for (size_t x = 0; x < indices.size(); ++x) {
    const auto pixel = static_cast<uint16_t>(table[indices[x]]);
    std::memcpy(out + 2 * x, &pixel, 2);
  }
}

// Each pixel is stored as four bytes, of which the next pixel overwrites the last.
void write_24(std::span<const uint8_t> indices, const ColorTable& table, uint8_t* out) {
  if (indices.empty()) return;
  const uint8_t* in = indices.data();
  const size_t last = indices.size() - 1;
#pragma GCC unroll 8
  for (size_t x = 0; x < last; ++x) store_native(out + 3 * x, table[in[x]]);
  std::memcpy(out + 3 * last, &table[in[last]], 3);
}

void write_32(std::span<const uint8_t> indices, const ColorTable& table, uint8_t* out) {
  for (size_t x = 0; x < indices.size(); ++x) {
    std::memcpy(out + 4 * x, &table[indices[x]], 4);
  }
}

}  // namespace

void unpack_indices(int32_t bits, const uint8_t* packed, std::span<uint8_t> indices) {
  const auto same = [](uint8_t index) { return index; };
  switch (bits) {
    case 1:
      return unpack_bits(packed, 0, 1, indices);
    case 2:
      return unpack_pairs(packed, indices, same);
    case 4:
      return unpack_nibbles(packed, indices, same);
    default:
      std::memcpy(indices.data(), packed, indices.size());
  }
}

void unpack_indices(int32_t bits, const uint8_t* packed, std::span<const uint8_t, 256> table,
                    std::span<uint8_t> indices) {
  const auto look_up = [entries = table.data()](uint8_t index) { return entries[index]; };
  switch (bits) {
    case 1:
      return unpack_bits(packed, table[0], table[1], indices);
    case 2:
      return unpack_pairs(packed, indices, look_up);
    case 4:
      return unpack_nibbles(packed, indices, look_up);
    default:
      for (size_t x = 0; x < indices.size(); ++x) indices[x] = look_up(packed[x]);
  }
}

void pack_indices(int32_t bits, std::span<const uint8_t> indices, uint8_t* packed) {
  switch (bits) {
    case 1:
      return pack_bits(indices, packed);
    case 2:
      return pack_pairs(indices, packed);
    case 4:
      return pack_nibbles(indices, packed);
    default:
      std::memcpy(packed, indices.data(), indices.size());
  }
}

void write_colors(int32_t bits, std::span<const uint8_t> indices, const ColorTable& table,
                  uint8_t* out) {
  switch (bits) {
    case 16:
      return write_16(indices, table, out);
    case 24:
      return write_24(indices, table, out);
    default:
      assert(bits == 32);
      return write_32(indices, table, out);
  }
}

}  // namespace tavo::color
