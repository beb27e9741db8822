#include "color/index_rows.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"

namespace tavo::color {

namespace {

constexpr uint8_t kBitOfPixel[16] = {128, 64, 32, 16, 8, 4, 2, 1, 128, 64, 32, 16, 8, 4, 2, 1};

// Sixteen pixels of 1 bit at a time: each byte is spread over eight lanes, and a lane's bit
// chooses between the two values.
void unpack_bits(const uint8_t* packed, uint8_t zero, uint8_t one, std::span<uint8_t> indices) {
  using namespace sse2;
  const V bit_of_pixel = load(kBitOfPixel);
  const V base = splat8(zero);
  const V change = splat8(zero ^ one);
  const size_t whole = indices.size() / 16;
  for (size_t i = 0; i < whole; ++i) {
    V v = single32(load_le16(packed + 2 * i));
    v = unpack_low8(v, v);
    v = unpack_low16(v, v);
    v = unpack_low32(v, v);
    const V is_one = equal8(v & bit_of_pixel, bit_of_pixel);
    store(indices.data() + 16 * i, base ^ (is_one & change));
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

// 32 pixels at a time.
size_t unpack_nibbles_sse2(const uint8_t* packed, std::span<uint8_t> indices) {
  using namespace sse2;
  const size_t whole = indices.size() / 32;
  for (size_t i = 0; i < whole; ++i) {
    const V v = load(packed + 16 * i);
    const V left = shift_right16<4>(v) & splat8(15), right = v & splat8(15);
    store(indices.data() + 32 * i, unpack_low8(left, right));
    store(indices.data() + 32 * i + 16, unpack_high8(left, right));
  }
  return 32 * whole;
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

// 64 pixels at a time: a byte that is 1 leaves its pixel's bit, and sums join eight of them. Of
// what is left, eight at a time: every bit reaches the top byte of the product once, and no two
// meet.
void pack_bits(std::span<const uint8_t> indices, uint8_t* packed) {
  using namespace sse2;
  const V bit_of_pixel = load(kBitOfPixel);
  const auto bytes_of = [=](const uint8_t* in) {
    const V is_one = greater8(V{}, shift_left16<7>(load(in)));
    return sum8_unsigned(is_one & bit_of_pixel);
  };
  const uint8_t* in = indices.data();
  size_t left = indices.size();
  for (; left >= 64; left -= 64, in += 64, packed += 8) {
    const V v = pack32(pack32(bytes_of(in), bytes_of(in + 16)),
                       pack32(bytes_of(in + 32), bytes_of(in + 48)));
    store_low64(packed, pack16_unsigned(v, v));
  }
  for (; left > 0; ++packed) {
    const size_t count = std::min<size_t>(left, 8);
    uint8_t eight[8] = {};
    std::memcpy(eight, in, count);
    const uint64_t bits = (load_le64(eight) & 0x0101010101010101u) * 0x8040201008040201u >> 56;
    *packed = static_cast<uint8_t>((*packed & 0xFF >> count) | bits);
    left -= count;
    in += count;
  }
}

void pack_pairs(std::span<const uint8_t> indices, uint8_t* packed) {
  for (size_t x = 0; x < indices.size(); ++x) {
    const size_t shift = 6 - x % 4 * 2;
    packed[x / 4] =
        static_cast<uint8_t>((packed[x / 4] & ~(3u << shift)) | (indices[x] & 3u) << shift);
  }
}

// 32 pixels at a time.
size_t pack_nibbles_sse2(std::span<const uint8_t> indices, uint8_t* packed) {
  using namespace sse2;
  const auto pairs_of = [](const uint8_t* in) {
    const V v = load(in);
    return (shift_left16<4>(v) & splat16(0xF0)) | (shift_right16<8>(v) & splat16(15));
  };
  const size_t whole = indices.size() / 32;
  for (size_t i = 0; i < whole; ++i) {
    const uint8_t* const in = indices.data() + 32 * i;
    store(packed + 16 * i, pack16_unsigned(pairs_of(in), pairs_of(in + 16)));
  }
  return 32 * whole;
}

void pack_nibbles(std::span<const uint8_t> indices, uint8_t* packed) {
  const size_t done = pack_nibbles_sse2(indices, packed);
  indices = indices.subspan(done);
  packed += done / 2;
  const size_t pairs = indices.size() / 2;
  for (size_t i = 0; i < pairs; ++i) {
    packed[i] = static_cast<uint8_t>(indices[2 * i] << 4 | (indices[2 * i + 1] & 15));
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
  const uint8_t* in = indices.data();
#pragma GCC unroll 8
  for (size_t x = 0; x < indices.size(); ++x) store_native(out + 4 * x, table[in[x]]);
}

}  // namespace

void unpack_indices(int32_t bits, const uint8_t* packed, std::span<uint8_t> indices) {
  const auto same = [](uint8_t index) { return index; };
  switch (bits) {
    case 1:
      return unpack_bits(packed, 0, 1, indices);
    case 2:
      return unpack_pairs(packed, indices, same);
    case 4: {
      const size_t done = unpack_nibbles_sse2(packed, indices);
      return unpack_nibbles(packed + done / 2, indices.subspan(done), same);
    }
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
