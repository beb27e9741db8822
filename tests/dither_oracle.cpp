#include "dither_oracle.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tavo::oracle {

namespace {

using Color = std::array<int, 3>;  // red, green, blue

struct Weight {
  int dx, dy, weight;
};

struct Filter {
  int divisor;
  std::vector<Weight> weights;
};

const Filter kFilters[] = {
    {1, {}},
    {16, {{1, 0, 7}, {-1, 1, 3}, {0, 1, 5}, {1, 1, 1}}},
    {42,
     {{1, 0, 8},
      {2, 0, 4},
      {-2, 1, 2},
      {-1, 1, 4},
      {0, 1, 8},
      {1, 1, 4},
      {2, 1, 2},
      {-2, 2, 1},
      {-1, 2, 2},
      {0, 2, 4},
      {1, 2, 2},
      {2, 2, 1}}},
    {32, {{1, 0, 8}, {2, 0, 4}, {-2, 1, 2}, {-1, 1, 4}, {0, 1, 8}, {1, 1, 4}, {2, 1, 2}}},
    {32,
     {{1, 0, 5},
      {2, 0, 3},
      {-2, 1, 2},
      {-1, 1, 4},
      {0, 1, 5},
      {1, 1, 4},
      {2, 1, 2},
      {-1, 2, 2},
      {0, 2, 3},
      {1, 2, 2}}},
    {200,
     {{2, 0, 32},
      {-3, 1, 12},
      {-1, 1, 26},
      {1, 1, 30},
      {3, 1, 16},
      {-2, 2, 12},
      {0, 2, 26},
      {2, 2, 12},
      {-3, 3, 5},
      {-1, 3, 12},
      {1, 3, 12},
      {3, 3, 5}}},
    {48,
     {{1, 0, 7},
      {2, 0, 5},
      {-2, 1, 3},
      {-1, 1, 5},
      {0, 1, 7},
      {1, 1, 5},
      {2, 1, 3},
      {-2, 2, 1},
      {-1, 2, 3},
      {0, 2, 5},
      {1, 2, 3},
      {2, 2, 1}}},
};

const int kMatrix[64] = {0,  128, 32, 160, 8,  136, 40, 168, 192, 64,  224, 96,  200, 72,  232, 104,
                         48, 176, 16, 144, 56, 184, 24, 152, 236, 112, 208, 80,  244, 120, 216, 88,
                         12, 140, 44, 172, 4,  132, 36, 164, 204, 76,  232, 108, 196, 68,  228, 100,
                         60, 188, 28, 156, 52, 180, 20, 148, 248, 124, 220, 92,  240, 116, 212, 84};

int clamp255(int v) { return v < 0 ? 0 : v > 255 ? 255 : v; }
int gray_of(const Color& c) { return (2 * c[0] + 5 * c[1] + c[2] + 4) / 8; }
int hue(const Color& c) {
  return (c[2] > c[0] ? 4 : 0) + (c[1] < std::min(c[0], c[2]) ? 2 : 0) +
         (c[1] > std::max(c[0], c[2]) ? 1 : 0);
}

std::vector<Color> builtin(int depth) {
  std::vector<Color> colors;
  if (depth == 1) return {{0, 0, 0}, {255, 255, 255}};
  if (depth == 8) {
    for (int i = 0; i < 256; ++i) {
      const auto seventh = [](int k) { return (k * 255 * 2 + 7) / 14; };
      colors.push_back({seventh(i >> 5), seventh(i >> 2 & 7), (i & 3) * 85});
    }
    return colors;
  }
  for (int i = 0; i < 8; ++i) colors.push_back({i & 1 ? 128 : 0, i & 2 ? 128 : 0, i & 4 ? 128 : 0});
  for (int i = 0; i < 8; ++i) colors.push_back({i & 1 ? 255 : 0, i & 2 ? 255 : 0, i & 4 ? 255 : 0});
  colors[8] = {192, 192, 192};
  return colors;
}

int nearest(const std::vector<Color>& palette, const Color& c) {
  const Color black = {0, 0, 0};
  const Color white = {255, 255, 255};
  const int last = static_cast<int>(palette.size()) - 1;
  if (c == black && palette[0] == black) return 0;
  if (c == black && palette[last] == black) return last;
  if (c == white && palette[last] == white) return last;
  if (c == white && palette[0] == white) return 0;
  int best = 0;
  int least = 1 << 30;
  for (int i = 0; i <= last && least != 0; ++i) {
    int distance = 0;
    for (int k = 0; k < 3; ++k) distance += (c[k] - palette[i][k]) * (c[k] - palette[i][k]);
    if (distance < least || (distance == least && hue(palette[i]) == hue(c))) {
      least = distance;
      best = i;
    }
  }
  return best;
}

Color pixel(const Picture& p, int x, int y) {
  const uint8_t* row = p.row(static_cast<uint32_t>(y));
  const int depth = p.bitmap.BitsPerPixel;
  Color c = {};
  if (depth <= 8) {
    const int index = depth == 8   ? row[x]
                      : depth == 4 ? row[x / 2] >> (x % 2 ? 0 : 4) & 15
                                   : row[x / 8] >> (7 - x % 8) & 1;
    const T_PaletteEntry white = {255, 255, 255, 255};
    const T_PaletteEntry& e =
        index < static_cast<int>(p.bitmap.Colors) ? p.bitmap.Info.Palette[index] : white;
    return {e.Red, e.Green, e.Blue};
  }
  if (depth == 16) {
    const int word = row[2 * x] + 256 * row[2 * x + 1];
    for (int k = 0; k < 3; ++k) {
      const int field = word >> 5 * k & 31;
      c[k] = field * 8 + field / 4;
    }
  } else {
    for (int k = 0; k < 3; ++k) c[k] = row[depth / 8 * x + k];
  }
  if (p.bitmap.Order == 1) std::swap(c[0], c[2]);
  return c;
}

struct Mapper {
  std::vector<Color> palette;  // `colours` entries
  std::vector<int> table;      // by class, -1 unknown
  int depth;
  bool fixed;

  int operator()(const Color& c) {
    if (!fixed) {
      int& slot = table[c[0] / 8 * 1024 + c[1] / 8 * 32 + c[2] / 8];
      if (slot < 0) slot = nearest(palette, {c[0] & 0xF8, c[1] & 0xF8, c[2] & 0xF8});
      return slot;
    }
    if (depth == 1) return gray_of(c) >= 128;
    if (depth == 8) return (c[0] & 0xE0) | c[1] / 32 * 4 | c[2] / 64;
    const int bits = c[0] / 128 + c[1] / 128 * 2 + c[2] / 128 * 4;
    return bits ? bits + 8 : 0;
  }

  int ordered(Color c, int m) {
    if (fixed && depth == 1) return m < gray_of(c);
    if (fixed && depth == 4) {
      const int bits = (m < c[0]) + 2 * (m < c[1]) + 4 * (m < c[2]);
      return bits ? bits + 8 : 0;
    }
    const int d = depth == 1 ? m - 128 : depth == 4 ? m / 4 - 32 : m / 8 - 16;
    for (int& v : c) v = clamp255(v + d);
    return (*this)(c);
  }
};

Mapper make_mapper(const std::vector<T_PaletteEntry>& given, uint32_t colours, bool by_table) {
  Mapper mapper;
  mapper.depth = colours <= 2 ? 1 : colours <= 16 ? 4 : 8;
  const auto standard = builtin(mapper.depth);
  bool equal = true;
  for (uint32_t i = 0; i < colours; ++i) {
    if (given.empty()) {
      mapper.palette.push_back(standard[i]);
      continue;
    }
    mapper.palette.push_back({given[i].Red, given[i].Green, given[i].Blue});
    equal = equal && mapper.palette[i] == standard[i] && given[i].Reserved == 0;
  }
  mapper.fixed = equal && !by_table;
  mapper.table.assign(32768, -1);
  for (uint32_t i = 0; i < colours; ++i) {
    const Color& c = mapper.palette[i];
    int& slot = mapper.table[c[0] / 8 * 1024 + c[1] / 8 * 32 + c[2] / 8];
    if (slot < 0) slot = static_cast<int>(i);
  }
  return mapper;
}

void store(uint8_t* row, int x, int index, int depth) {
  if (depth == 8) {
    row[x] = static_cast<uint8_t>(index);
  } else if (depth == 4) {
    const int shift = x % 2 ? 0 : 4;
    row[x / 2] = static_cast<uint8_t>((row[x / 2] & ~(15 << shift)) | index << shift);
  } else {
    const int shift = 7 - x % 8;
    row[x / 8] = static_cast<uint8_t>((row[x / 8] & ~(1 << shift)) | index << shift);
  }
}

}  // namespace

Picture::Picture(uint32_t w, uint32_t h, int32_t depth, uint32_t method, bool gray,
                 std::mt19937& random)
    : width(w), height(h), stride((w * static_cast<uint32_t>(depth) + 7) / 8) {
  bitmap.Width = static_cast<int32_t>(w);
  bitmap.Height = static_cast<int32_t>(h);
  bitmap.BitsPerPixel = depth;
  bitmap.Order = random() % 2;
  bitmap.DitherMethod = method;
  bitmap.Colors = depth <= 8 ? (1u << depth) - (random() % 4 == 0 ? 1 : 0) : 0;
  for (T_PaletteEntry& e : bitmap.Info.Palette) {
    const bool is_ramp = gray && h % 2 == 1;
    const auto v = static_cast<uint8_t>(is_ramp ? &e - bitmap.Info.Palette : random());
    e = {v, v, v, 0};
    if (!gray) e.Red = static_cast<uint8_t>(random()), e.Green = static_cast<uint8_t>(random());
  }
  bytes.resize(static_cast<size_t>(stride) * h);
  const bool smooth = random() % 3 == 0;
  for (size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<uint8_t>(smooth ? i * 5 / 16 + random() % 8 : random());
  }
}

std::vector<uint8_t> dither(const Picture& picture, const std::vector<T_PaletteEntry>& palette,
                            uint32_t colours, bool by_table) {
  Mapper mapper = make_mapper(palette, colours, by_table);
  const uint32_t method = picture.bitmap.DitherMethod;
  const int width = static_cast<int>(picture.width);
  const int height = static_cast<int>(picture.height);
  const uint32_t stride = picture.out_stride(colours);
  std::vector<uint8_t> out(static_cast<size_t>(stride) * picture.height, 0xA5);
  std::vector<std::array<int, 3>> sums(static_cast<size_t>(width) * height);  // numerators
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      Color c = pixel(picture, x, y);
      uint8_t* row = out.data() + static_cast<size_t>(stride) * y;
      if (method == 0 || method == 7) {
        store(row, x, method == 0 ? mapper(c) : mapper.ordered(c, kMatrix[y % 8 * 8 + x % 8]),
              mapper.depth);
        continue;
      }
      const Filter& filter = kFilters[method];
      for (int k = 0; k < 3; ++k) {
        c[k] = clamp255(c[k] + sums[static_cast<size_t>(y) * width + x][k] / filter.divisor);
      }
      const int index = mapper(c);
      store(row, x, index, mapper.depth);
      const Color entry =
          index < static_cast<int>(mapper.palette.size()) ? mapper.palette[index] : Color{0, 0, 0};
      for (const Weight& w : filter.weights) {
        const int tx = x + w.dx;
        const int ty = y + w.dy;
        if (tx < 0 || tx >= width || ty >= height) continue;
        for (int k = 0; k < 3; ++k) {
          sums[static_cast<size_t>(ty) * width + tx][k] += w.weight * (c[k] - entry[k]);
        }
      }
    }
  }
  return out;
}

}  // namespace tavo::oracle
