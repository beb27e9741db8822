#include "process/rotate/fine_pixels.h"

#include <cstring>

#include "base/endian.h"
#include "base/vector_sse2.h"
#include "color/widen.h"

namespace tavo::process {

namespace {

const uint8_t* row_at(const TurnedRows& rows, int64_t y) {
  return rows.first + rows.stride * static_cast<ptrdiff_t>(y);
}

template <size_t kBytes>
void nearest_of_bytes(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    std::memcpy(out + i * kBytes, row_at(rows, path.y >> 32) + (path.x >> 32) * int64_t{kBytes},
                kBytes);
    path.x += path.step_x;
    path.y += path.step_y;
  }
}

template <uint32_t kBits>
void nearest_of_packed(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const auto bit = static_cast<uint64_t>(path.x >> 32) * kBits;
    const uint32_t byte = row_at(rows, path.y >> 32)[bit / 8];
    out[i] = static_cast<uint8_t>(byte >> (8 - kBits - bit % 8) & ((1u << kBits) - 1));
    path.x += path.step_x;
    path.y += path.step_y;
  }
}

// Layouts of pixels: their channels in 8 bits, and how they are put back.

struct Gray {
  static constexpr size_t kBytes = 1, kChannels = 1;
  static uint32_t channel(const uint8_t* pixel, size_t) { return *pixel; }
  static void put(uint8_t* out, const uint32_t (&v)[1], const uint8_t*) {
    *out = static_cast<uint8_t>(v[0]);
  }
};

struct Bits16 {
  static constexpr size_t kBytes = 2, kChannels = 3;
  static uint32_t channel(const uint8_t* pixel, size_t c) {
    return color::widen_5_bits(static_cast<uint32_t>(load_le16(pixel)) >> (5 * c));
  }
  // Bit 15 is the nearest pixel's.
  static void put(uint8_t* out, const uint32_t (&v)[3], const uint8_t* nearest) {
    const uint32_t carried = nearest == nullptr ? 0 : load_le16(nearest) & 0x8000u;
    const uint32_t word = v[0] >> 3 | v[1] >> 3 << 5 | v[2] >> 3 << 10 | carried;
    out[0] = static_cast<uint8_t>(word);
    out[1] = static_cast<uint8_t>(word >> 8);
  }
};

struct Bits24 {
  static constexpr size_t kBytes = 3, kChannels = 3;
  static uint32_t channel(const uint8_t* pixel, size_t c) { return pixel[c]; }
  static void put(uint8_t* out, const uint32_t (&v)[3], const uint8_t*) {
    for (size_t c = 0; c < 3; ++c) out[c] = static_cast<uint8_t>(v[c]);
  }
};

struct Bits32 {
  static constexpr size_t kBytes = 4, kChannels = 3;
  static uint32_t channel(const uint8_t* pixel, size_t c) { return pixel[c]; }
  static void put(uint8_t* out, const uint32_t (&v)[3], const uint8_t* nearest) {
    Bits24::put(out, v, nullptr);
    out[3] = nearest == nullptr ? 0 : nearest[3];
  }
};

constexpr int64_t kHalf = int64_t{1} << 31;  // centres of pixels lie between whole numbers

template <class Pixel, bool kInside>
void smooth(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count) {
  // Null: outside.
  const auto pixel_at = [&rows](int64_t x, int64_t y) -> const uint8_t* {
    const bool inside = kInside || (x >= 0 && y >= 0 && x < rows.width && y < rows.height);
    return inside ? row_at(rows, y) + static_cast<ptrdiff_t>(x) * ptrdiff_t{Pixel::kBytes}
                  : nullptr;
  };
  const auto value = [&rows](const uint8_t* pixel, size_t c) -> uint32_t {
    return kInside || pixel != nullptr ? Pixel::channel(pixel, c) : rows.fill[c];
  };
  for (size_t i = 0; i < count; ++i) {
    const int64_t left = (path.x - kHalf) >> 32, top = (path.y - kHalf) >> 32;
    const auto f = static_cast<uint32_t>((path.x - kHalf) >> 24 & 255);
    const auto g = static_cast<uint32_t>((path.y - kHalf) >> 24 & 255);
    const uint8_t* const a = pixel_at(left, top);
    const uint8_t* const b = pixel_at(left + 1, top);
    const uint8_t* const c = pixel_at(left, top + 1);
    const uint8_t* const d = pixel_at(left + 1, top + 1);
    uint32_t mixed[Pixel::kChannels];
    for (size_t channel = 0; channel < Pixel::kChannels; ++channel) {
      const uint32_t above = value(a, channel) * (256 - f) + value(b, channel) * f;
      const uint32_t below = value(c, channel) * (256 - f) + value(d, channel) * f;
      mixed[channel] = (above * (256 - g) + below * g + 0x8000) >> 16;
    }
    Pixel::put(out + i * Pixel::kBytes, mixed, pixel_at(path.x >> 32, path.y >> 32));
    path.x += path.step_x;
    path.y += path.step_y;
  }
}

// The upper left of the four pixels around a place, and the place between them in 256ths.
struct Corner {
  const uint8_t* at;
  int32_t right, down;
};
template <size_t kBytes>
Corner corner_at(const TurnedRows& rows, const TurnedPath& path) {
  const int64_t x = path.x - kHalf, y = path.y - kHalf;
  return {row_at(rows, y >> 32) + static_cast<ptrdiff_t>(x >> 32) * ptrdiff_t{kBytes},
          static_cast<int32_t>(x >> 24 & 255), static_cast<int32_t>(y >> 24 & 255)};
}

// Two columns at once, in halves of a word; sums stay below 2^16.
void smooth_gray(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    const Corner corner = corner_at<1>(rows, path);
    const auto right = static_cast<uint32_t>(corner.right);
    const auto down = static_cast<uint32_t>(corner.down);
    const uint32_t above = load_le16(corner.at), below = load_le16(corner.at + rows.stride);
    const uint32_t columns =
        ((above | above << 8) & 0xFF00FF) * (256 - down) + ((below | below << 8) & 0xFF00FF) * down;
    const uint32_t mixed = (columns & 0xFFFF) * (256 - right) + (columns >> 16) * right;
    out[i] = static_cast<uint8_t>((mixed + 0x8000) >> 16);
    path.x += path.step_x;
    path.y += path.step_y;
  }
}

// All channels at once. Columns are sums below 2^16; those of two pixels are weighed as signed
// numbers, which are 2^15 less, and 256 times that is added again. Reads eight bytes of each row.
template <size_t kBytes>
void smooth_colors(const TurnedRows& rows, TurnedPath path, uint8_t* out, size_t count) {
  using sse2::V;
  constexpr uint32_t kRounding = 0x8000 + (uint32_t{256} << 15);
  for (size_t i = 0; i < count; ++i) {
    const Corner corner = corner_at<kBytes>(rows, path);
    const V above =
        sse2::multiply16(sse2::load_widened8(corner.at), sse2::splat16(256 - corner.down));
    const V below =
        sse2::multiply16(sse2::load_widened8(corner.at + rows.stride), sse2::splat16(corner.down));
    const V columns = sse2::add16(above, below) ^ sse2::splat16(-0x8000);
    const V pairs = sse2::unpack_low16(columns, sse2::shift_right_bytes<2 * kBytes>(columns));
    const V mixed =
        sse2::multiply_add16(pairs, sse2::splat_pairs16(256 - corner.right, corner.right));
    const V values = sse2::shift_right32<16>(sse2::add32(mixed, sse2::splat32(kRounding)));
    const V words = sse2::pack32(values, values);
    const uint32_t pixel = sse2::first32(sse2::pack16_unsigned(words, words));
    uint8_t* const to = out + i * kBytes;
    if constexpr (kBytes == 4) {
      const uint8_t* const nearest = row_at(rows, path.y >> 32) + (path.x >> 32) * ptrdiff_t{4};
      store_le32(to, (pixel & 0xFFFFFF) | uint32_t{nearest[3]} << 24);
    } else {
      store_le16(to, static_cast<uint16_t>(pixel));
      to[2] = static_cast<uint8_t>(pixel >> 16);
    }
    path.x += path.step_x;
    path.y += path.step_y;
  }
}

TurnPixels smooth_edge_pixels(int32_t bits) {
  switch (bits) {
    case 8:
      return smooth<Gray, false>;
    case 16:
      return smooth<Bits16, false>;
    case 24:
      return smooth<Bits24, false>;
    default:
      return smooth<Bits32, false>;
  }
}

TurnPixels smooth_inner_pixels(int32_t bits) {
  switch (bits) {
    case 8:
      return smooth_gray;
    case 16:
      return smooth<Bits16, true>;
    case 24:
      return smooth_colors<3>;
    default:
      return smooth_colors<4>;
  }
}

}  // namespace

TurnPixels nearest_pixels(int32_t bits) {
  switch (bits) {
    case 1:
      return nearest_of_packed<1>;
    case 2:
      return nearest_of_packed<2>;
    case 4:
      return nearest_of_packed<4>;
    case 8:
      return nearest_of_bytes<1>;
    case 16:
      return nearest_of_bytes<2>;
    case 24:
      return nearest_of_bytes<3>;
    default:
      return nearest_of_bytes<4>;
  }
}

TurnPixels smooth_pixels(int32_t bits, bool inside) {
  return inside ? smooth_inner_pixels(bits) : smooth_edge_pixels(bits);
}

}  // namespace tavo::process
