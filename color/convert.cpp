#include "color/convert.h"

#include <algorithm>
#include <cstring>

#include "base/depths.h"
#include "color/gray.h"
#include "color/palette_map.h"
#include "color/palettes.h"

namespace tavo::color {

namespace {

// Pixels at a time on the paths that go through work memory. A multiple of 8, so that only the
// last chunk of a row has a byte that is not full.
constexpr size_t kChunk = 256;
// Of indices that become colours: where a row in place is written from its end, memory is fetched
// ahead only inside a chunk.
constexpr size_t kIndexChunk = 4096;

constexpr bool is_layout(int32_t bits) { return bits == 0 || is_bitmap_depth(bits); }

constexpr bool has_colors(int32_t bits) { return bits >= 16; }

constexpr bool is_indexed(int32_t bits) { return bits >= 1 && bits <= 8; }

constexpr bool is_order(int32_t order) { return order == T_ORDER_RGB || order == T_ORDER_BGR; }

constexpr uint32_t palette_size(int32_t bits) { return 1u << bits; }

constexpr size_t bits_per_pixel(int32_t bits) { return bits == 0 ? 8 : static_cast<size_t>(bits); }

std::span<const T_PaletteEntry> palette_of(int32_t bits, const T_PaletteEntry* palette) {
  if (palette != nullptr) return {palette, palette_size(bits)};
  return builtin_palette(bits);
}

// An entry as a pixel of 16, 24 or 32 bits.
uint32_t stored_pixel(const T_PaletteEntry& entry, int32_t bits, int32_t order) {
  const uint32_t first = order == T_ORDER_BGR ? entry.Blue : entry.Red;
  const uint32_t third = order == T_ORDER_BGR ? entry.Red : entry.Blue;
  const uint32_t green = entry.Green;
  if (bits == 16) return first >> 3 | green >> 3 << 5 | third >> 3 << 10;
  return first | green << 8 | third << 16;
}

}  // namespace

Status RowConverter::start(int32_t bits_in, int32_t bits_out, int32_t order_in, int32_t order_out,
                           const T_PaletteEntry* palette_in, const T_PaletteEntry* palette_out) {
  if (!is_layout(bits_in) || !is_layout(bits_out)) return kBadArgument;
  if (has_colors(bits_in) && !is_order(order_in)) return kBadArgument;
  if (has_colors(bits_out) && !is_order(order_out)) return kBadArgument;
  bits_in_ = bits_in;
  bits_out_ = bits_out;
  if (!has_colors(bits_in) && !has_colors(bits_out)) {
    start_indices_to_indices(palette_in, palette_out);
  } else if (is_indexed(bits_in)) {
    path_ = Path::kIndicesToColors;
    start_colors(palette_of(bits_in, palette_in), order_out);
  } else if (is_indexed(bits_out)) {
    path_ = Path::kColorsToIndices;
    start_search(palette_of(bits_out, palette_out));
    // Red in the low byte, as the search takes its colours.
    kernel_ = pixel_kernel(bits_in, 32, order_in != T_ORDER_RGB);
  } else {
    // To the kernels, grey is a colour with red last.
    if (bits_in == 0) order_in = order_out;
    if (bits_out == 0) order_out = T_ORDER_BGR;
    kernel_ = pixel_kernel(bits_in, bits_out, order_in != order_out);
    path_ = kernel_ != nullptr ? Path::kPixels : Path::kNothing;
  }
  return kOk;
}

void RowConverter::start_indices_to_indices(const T_PaletteEntry* from, const T_PaletteEntry* to) {
  path_ = bits_in_ == 0 && bits_out_ == 0 ? Path::kNothing : Path::kIndicesToIndices;
  if (path_ == Path::kNothing) return;
  if (bits_in_ == 0) {
    start_search(palette_of(bits_out_, to));
    for (uint32_t level = 0; level < 256; ++level) {
      table_[level] = static_cast<uint8_t>(nearest_.find(level, level, level));
    }
  } else if (bits_out_ == 0) {
    const auto palette = palette_of(bits_in_, from);
    for (size_t i = 0; i < palette.size(); ++i) table_[i] = gray_level(palette[i]);
  } else {
    const bool is_identity =
        map_palette(from, palette_size(bits_in_), to, palette_size(bits_out_), table_, nearest_);
    if (is_identity && bits_in_ == bits_out_) path_ = Path::kNothing;
  }
}

// The same as for the row before, most often.
void RowConverter::start_colors(std::span<const T_PaletteEntry> palette, int32_t order) {
  if (colors_bits_ == bits_out_ && colors_order_ == order && colors_count_ == palette.size() &&
      std::memcmp(palette.data(), colors_palette_.data(), palette.size_bytes()) == 0) {
    return;
  }
  colors_bits_ = bits_out_;
  colors_order_ = order;
  colors_count_ = palette.size();
  std::ranges::copy(palette, colors_palette_.begin());
  for (size_t i = 0; i < palette.size(); ++i) {
    colors_[i] = stored_pixel(palette[i], bits_out_, order);
  }
}

void RowConverter::start_search(std::span<const T_PaletteEntry> palette) {
  if (!nearest_.is_for(palette)) nearest_.start(palette);
}

void RowConverter::convert_chunk(const uint8_t* from, uint8_t* to, size_t first, size_t width) {
  const uint8_t* in = from + first * bits_per_pixel(bits_in_) / 8;
  uint8_t* out = to + first * bits_per_pixel(bits_out_) / 8;
  alignas(32) std::array<uint8_t, kChunk> work;
  const auto indices = std::span(work).first(width);
  if (path_ == Path::kColorsToIndices) {
    alignas(32) std::array<uint32_t, kChunk> colors;
    if (kernel_ != nullptr) {
      kernel_(in, reinterpret_cast<uint8_t*>(colors.data()), width);
    } else {
      std::memcpy(colors.data(), in, width * 4);
    }
    nearest_.find_all(std::span(colors).first(width), indices);
  } else {
    unpack_indices(bits_in_, in, table_, indices);
  }
  pack_indices(bits_out_, indices, out);
}

void RowConverter::convert_indices_to_colors(const uint8_t* from, uint8_t* to, size_t width) const {
  alignas(32) std::array<uint8_t, kIndexChunk> work;
  for (size_t left = width; left > 0;) {
    const size_t first = (left - 1) / kIndexChunk * kIndexChunk;
    const auto indices = std::span(work).first(left - first);
    unpack_indices(bits_in_, from + first * bits_per_pixel(bits_in_) / 8, indices);
    write_colors(bits_out_, indices, colors_, to + first * bits_per_pixel(bits_out_) / 8);
    left = first;
  }
}

Status RowConverter::convert(const void* from, void* to, int32_t width) {
  if (from == nullptr || to == nullptr || width <= 0) return kBadArgument;
  const auto* const in = static_cast<const uint8_t*>(from);
  auto* const out = static_cast<uint8_t*>(to);
  const auto pixels = static_cast<size_t>(width);
  if (path_ == Path::kNothing) {
    if (in != out) std::memcpy(out, in, (pixels * bits_per_pixel(bits_in_) + 7) / 8);
    return kOk;
  }
  if (path_ == Path::kPixels) {
    kernel_(in, out, pixels);
    return kOk;
  }
  if (path_ == Path::kIndicesToColors) {
    convert_indices_to_colors(in, out, pixels);
    return kOk;
  }
  const size_t chunks = (pixels + kChunk - 1) / kChunk;
  const bool runs_back = in == out && bits_per_pixel(bits_out_) > bits_per_pixel(bits_in_);
  for (size_t i = 0; i < chunks; ++i) {
    const size_t first = (runs_back ? chunks - 1 - i : i) * kChunk;
    convert_chunk(in, out, first, std::min(kChunk, pixels - first));
  }
  return kOk;
}

}  // namespace tavo::color
