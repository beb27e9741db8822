#include "reduce/color_points.h"

#include <algorithm>
#include <bit>

#include "base/vector_sse2.h"
#include "color/index_rows.h"
#include "color/paint_palette.h"
#include "color/planes.h"
#include "reduce/count_rows.h"

namespace tavo::color {

namespace {

constexpr uint32_t kCellCount = 64 * 64 * 64;
constexpr uint32_t kCellColors = 4 * 4 * 4;
// With fewer cells every colour gets a count of its own.
constexpr uint32_t kFewCells = 16384;

constexpr uint32_t cell_of(uint32_t red, uint32_t green, uint32_t blue) {
  return (red >> 2) << 12 | (green >> 2) << 6 | blue >> 2;
}
constexpr uint32_t place_in_cell(uint32_t red, uint32_t green, uint32_t blue) {
  return (red & 3) << 4 | (green & 3) << 2 | (blue & 3);
}
// The least colour of a cell.
constexpr uint32_t color_of_cell(uint32_t cell) {
  return cell >> 12 << 2 | (cell >> 6 & 63) << 10 | (cell & 63) << 18;
}

// What a pixel adds to its cell, by its place in there.
constexpr auto kPixel = [] {
  std::array<ColorCell, kCellColors> pixels = {};
  for (uint32_t i = 0; i < kCellColors; ++i) pixels[i] = {1, {i >> 4, i >> 2 & 3, i & 3}};
  return pixels;
}();

// Calls use(planes, n) for pieces of rows above 8 bits.
template <class Use>
void for_each_piece(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width,
                    int32_t depth, uint32_t order, const Use& use) {
  Planes planes;
  const auto bytes = static_cast<uint32_t>(depth) / 8;
  for (uint32_t y = 0; y < count; ++y) {
    for (uint32_t x = 0, n = 0; x < width; x += n) {
      n = std::min(kPlanePixels, width - x);
      split_pixels(rows + y * stride + size_t{x} * bytes, depth, order, n, planes);
      use(planes, n);
    }
  }
}

struct CellCounter {
  ColorCell* cells;
  ColorSet& few;

  void add_rows(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width, int32_t depth,
                uint32_t order) {
    for_each_piece(rows, stride, count, width, depth, order, [&](const Planes& p, uint32_t n) {
      if (!few.is_over()) add_few(p, n);
      for (uint32_t i = 0; i < n; ++i) {
        ColorCell& cell = cells[cell_of(p.red[i], p.green[i], p.blue[i])];
        const ColorCell& pixel = kPixel[place_in_cell(p.red[i], p.green[i], p.blue[i])];
        sse2::store(&cell, sse2::add32(sse2::load(&cell), sse2::load(&pixel)));
      }
    });
  }

  void add_few(const Planes& p, uint32_t n) {
    uint32_t last = UINT32_MAX;
    for (uint32_t i = 0; i < n && !few.is_over(); ++i) {
      const uint32_t color = p.red[i] | uint32_t{p.green[i]} << 8 | uint32_t{p.blue[i]} << 16;
      if (color != last) few.add(color);
      last = color;
    }
  }
};

// Counts each colour of some cells; `firsts` has the places of their counts.
struct ColorCounter {
  const ColorCell* firsts;
  uint32_t* counts;

  void add_rows(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width, int32_t depth,
                uint32_t order) {
    for_each_piece(rows, stride, count, width, depth, order, [&](const Planes& p, uint32_t n) {
      for (uint32_t i = 0; i < n; ++i) {
        const ColorCell& cell = firsts[cell_of(p.red[i], p.green[i], p.blue[i])];
        ++counts[cell.pixels + place_in_cell(p.red[i], p.green[i], p.blue[i])];
      }
    });
  }
};

struct IndexCounter {
  std::array<uint64_t, 256> counts = {};

  void add_rows(const uint8_t* rows, size_t stride, uint32_t count, uint32_t width, int32_t depth,
                uint32_t /*order*/) {
    uint8_t indices[kPlanePixels];
    for (uint32_t y = 0; y < count; ++y) {
      for (uint32_t x = 0, n = 0; x < width; x += n) {
        n = std::min(kPlanePixels, width - x);
        unpack_indices(depth, rows + y * stride + packed_offset(depth, x),
                       std::span(indices).first(n));
        for (uint32_t i = 0; i < n; ++i) ++counts[indices[i]];
      }
    }
  }
};

}  // namespace

void ColorSet::add(uint32_t color) {
  uint32_t slot = color * 0x9E3779B1u >> 22;
  while (slots_[slot] != 0) {
    if (colors_[slots_[slot] - 1u] == color) return;
    slot = (slot + 1) % kSlots;
  }
  colors_[count_++] = color;
  slots_[slot] = static_cast<uint16_t>(count_);
}

Status ColorPoints::read(BitmapHandle& bitmap, uint32_t few, core::Progress& progress,
                         uint32_t percent_share) {
  few_ = ColorSet(few);
  size_ = 0;
  if (bitmap.BitsPerPixel <= 8) return read_indices(bitmap, progress, percent_share);
  return read_cells(bitmap, progress, percent_share);
}

Status ColorPoints::read_indices(BitmapHandle& bitmap, core::Progress& progress,
                                 uint32_t percent_share) {
  const PaintPalette palette(bitmap);
  IndexCounter counter;
  TRY(count_rows(bitmap, counter, progress, 0, percent_share));
  TRY(colors_.allocate(256));
  TRY(pixels_.allocate(256));
  // A picture of 1 bit may have more pixels than 32 bits can count.
  const int shift =
      std::max(0, static_cast<int>(std::bit_width(std::ranges::max(counter.counts))) - 24);
  for (uint32_t i = 0; i < 256; ++i) {
    if (counter.counts[i] == 0) continue;
    const T_PaletteEntry& entry = palette.entries[i];
    const uint32_t color = entry.Red | uint32_t{entry.Green} << 8 | uint32_t{entry.Blue} << 16;
    if (!few_.is_over()) few_.add(color);
    colors_[size_] = color;
    pixels_[size_++] = static_cast<uint32_t>(std::max<uint64_t>(counter.counts[i] >> shift, 1));
  }
  return kOk;
}

Status ColorPoints::read_cells(BitmapHandle& bitmap, core::Progress& progress,
                               uint32_t percent_share) {
  TRY(cells_.allocate(kCellCount));
  CellCounter counter{cells_.data(), few_};
  TRY(count_rows(bitmap, counter, progress, 0, percent_share / 2));
  if (!few_.is_over()) return kOk;
  const auto is_met = [](const ColorCell& cell) { return cell.pixels != 0; };
  size_ = static_cast<size_t>(std::ranges::count_if(cells_.items(), is_met));
  // A cell of 16-bit pixels is one colour.
  if (size_ > kFewCells || bitmap.BitsPerPixel == 16) return gather_cells();
  return read_colors(bitmap, progress, percent_share / 2, percent_share / 2);
}

// The cells that occur move to the front of the table. A sum of a cell fits 32 bits, because no
// picture of 24 bits has more than UINT32_MAX / 3 pixels; one of 16 bits may, and then no more than
// the low bits of a mean are wrong.
Status ColorPoints::gather_cells() {
  TRY(colors_.allocate(size_));
  TRY(pixels_.allocate(size_));
  size_t to = 0;
  for (uint32_t cell = 0; cell < kCellCount; ++cell) {
    const ColorCell from = cells_[cell];
    if (from.pixels == 0) continue;
    uint32_t color = color_of_cell(cell);
    for (uint32_t c = 0; c < 3; ++c) {
      const uint64_t mean = (uint64_t{from.low[c]} + from.pixels / 2) / from.pixels;
      color |= static_cast<uint32_t>(mean & 3) << (8 * c);
    }
    colors_[to] = color;
    pixels_[to] = from.pixels;
    cells_[to++] = from;
  }
  return kOk;
}

// Takes the counts apart by colour. Place 0 is that of the cells that do not occur.
Status ColorPoints::read_colors(BitmapHandle& bitmap, core::Progress& progress,
                                uint32_t percent_done, uint32_t percent_share) {
  TRY(pixels_.allocate((size_ + 1) * kCellColors));
  uint32_t first = 0;
  for (ColorCell& cell : cells_.items()) {
    if (cell.pixels != 0) cell.pixels = first += kCellColors;
  }
  ColorCounter counter{cells_.data(), pixels_.data()};
  TRY(count_rows(bitmap, counter, progress, percent_done, percent_share));
  return gather_colors();
}

Status ColorPoints::gather_colors() {
  TRY(colors_.allocate(pixels_.size()));
  size_ = 0;
  for (uint32_t cell = 0; cell < kCellCount; ++cell) {
    if (cells_[cell].pixels == 0) continue;
    for (uint32_t i = 0; i < kCellColors; ++i) {
      const uint32_t pixels = pixels_[cells_[cell].pixels + i];
      if (pixels == 0) continue;
      colors_[size_] = color_of_cell(cell) | (i >> 4) | (i >> 2 & 3) << 8 | (i & 3) << 16;
      pixels_[size_++] = pixels;
    }
  }
  cells_.release();
  return kOk;
}

}  // namespace tavo::color
