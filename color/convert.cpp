#include "color/convert.h"

#include <cstring>
#include <utility>

#include "base/endian.h"
#include "color/gray.h"
#include "color/palette_map.h"
#include "color/palettes.h"

namespace tavo::color {

namespace {

bool is_code(int32_t bits) {
  return bits == 0 || bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 ||
         bits == 32;
}

bool is_indexed(int32_t bits) { return bits == 1 || bits == 4 || bits == 8; }
bool is_order(int32_t order) { return order == T_ORDER_RGB || order == T_ORDER_BGR; }
int32_t pixel_bits(int32_t code) { return code == 0 ? 8 : code; }

uint32_t index_at(const uint8_t* row, int32_t x, int32_t bits) {
  if (bits == 1) return row[x / 8] >> (7 - x % 8) & 1u;
  if (bits == 4) return x % 2 == 0 ? row[x / 2] >> 4 : row[x / 2] & 15u;
  return row[x];
}

void set_index(uint8_t* row, int32_t x, int32_t bits, uint32_t index) {
  if (bits == 1) {
    const uint32_t mask = 128u >> (x % 8);
    row[x / 8] = static_cast<uint8_t>(index != 0 ? row[x / 8] | mask : row[x / 8] & ~mask);
  } else if (bits == 4) {
    row[x / 2] = static_cast<uint8_t>(x % 2 == 0 ? (row[x / 2] & 15u) | index << 4
                                                 : (row[x / 2] & 0xF0u) | index);
  } else {
    row[x] = static_cast<uint8_t>(index);
  }
}

uint32_t widen5(uint32_t v) { return v << 3 | v >> 2; }

}  // namespace

Status RowConverter::start(int32_t bits_in, int32_t bits_out, int32_t order_in, int32_t order_out,
                           const T_PaletteEntry* palette_in, const T_PaletteEntry* palette_out) {
  if (!is_code(bits_in) || !is_code(bits_out)) return kBadArgument;
  if (bits_in > 8 && !is_order(order_in)) return kBadArgument;
  if (bits_out > 8 && !is_order(order_out)) return kBadArgument;
  bits_in_ = bits_in;
  bits_out_ = bits_out;
  order_in_ = order_in;
  order_out_ = order_out;
  const uint32_t count_in = bits_in <= 8 ? 1u << pixel_bits(bits_in) : 0;
  const uint32_t count_out = bits_out <= 8 ? 1u << pixel_bits(bits_out) : 0;
  if (bits_in == 0) {
    fill_gray_ramp(palette_in_);
  } else if (is_indexed(bits_in)) {
    const T_PaletteEntry* from = palette_in != nullptr ? palette_in : builtin_palette(bits_in).data();
    std::memcpy(palette_in_, from, count_in * sizeof(T_PaletteEntry));
  }
  if (is_indexed(bits_out)) {
    nearest_.start({palette_out != nullptr ? palette_out : builtin_palette(bits_out).data(),
                    count_out});
  }
  maps_ = bits_in <= 8 && bits_out <= 8;
  if (!maps_) return kOk;
  if (is_indexed(bits_in) && is_indexed(bits_out)) {
    map_palette(palette_in, count_in, palette_out, count_out, map_, nearest_);
    return kOk;
  }
  for (uint32_t i = 0; i < count_in; ++i) {
    const T_PaletteEntry& c = palette_in_[i];
    map_[i] = bits_out == 0 ? gray_level(c)
                            : static_cast<uint8_t>(nearest_.find(c.Red, c.Green, c.Blue));
  }
  return kOk;
}

uint32_t RowConverter::read(const uint8_t* row, int32_t x) const {
  uint32_t first = 0;
  uint32_t green = 0;
  uint32_t third = 0;
  if (bits_in_ <= 8) {
    const T_PaletteEntry& c = palette_in_[index_at(row, x, pixel_bits(bits_in_))];
    return c.Red | uint32_t{c.Green} << 8 | uint32_t{c.Blue} << 16;
  }
  if (bits_in_ == 16) {
    const uint32_t v = load_le16(row + 2 * x);
    first = widen5(v & 31);
    green = widen5(v >> 5 & 31);
    third = widen5(v >> 10 & 31);
  } else {
    const uint8_t* p = row + x * (bits_in_ / 8);
    first = p[0];
    green = p[1];
    third = p[2];
  }
  if (order_in_ == T_ORDER_BGR) std::swap(first, third);
  return first | green << 8 | third << 16;
}

void RowConverter::write(uint8_t* row, int32_t x, uint32_t color) {
  uint32_t first = color & 255u;
  const uint32_t green = color >> 8 & 255u;
  uint32_t third = color >> 16;
  if (bits_out_ == 0) {
    row[x] = gray_level(first, green, third);
    return;
  }
  if (is_indexed(bits_out_)) {
    set_index(row, x, bits_out_, nearest_.find(first, green, third));
    return;
  }
  if (order_out_ == T_ORDER_BGR) std::swap(first, third);
  if (bits_out_ == 16) {
    store_le16(row + 2 * x,
               static_cast<uint16_t>(first >> 3 | green >> 3 << 5 | third >> 3 << 10));
    return;
  }
  uint8_t* p = row + x * (bits_out_ / 8);
  p[0] = static_cast<uint8_t>(first);
  p[1] = static_cast<uint8_t>(green);
  p[2] = static_cast<uint8_t>(third);
  if (bits_out_ == 32 && bits_in_ != 32) p[3] = 0;
}

Status RowConverter::convert(void* buffer, int32_t width) {
  if (buffer == nullptr || width < 1) return kBadArgument;
  auto* row = static_cast<uint8_t*>(buffer);
  const bool grows = pixel_bits(bits_out_) > pixel_bits(bits_in_);
  for (int32_t i = 0; i < width; ++i) {
    const int32_t x = grows ? width - 1 - i : i;
    if (maps_) {
      set_index(row, x, pixel_bits(bits_out_), map_[index_at(row, x, pixel_bits(bits_in_))]);
    } else {
      write(row, x, read(row, x));
    }
  }
  return kOk;
}

}  // namespace tavo::color
