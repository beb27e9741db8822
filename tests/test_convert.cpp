// Row conversion: every pair of layouts against pixel-by-pixel arithmetic on wide integers.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "color/convert.h"
#include "platform/platform.h"
#include "processor_levels.h"
#include "tavo45.h"

namespace tavo::color {
namespace {

using Bytes = std::vector<uint8_t>;
using Palette = std::vector<T_PaletteEntry>;

constexpr int kDepths[] = {0, 1, 4, 8, 16, 24, 32};
constexpr size_t kGuard = 64;

size_t bits_of(int depth) { return depth == 0 ? 8 : depth; }
size_t row_bytes(int width, int depth) { return (width * bits_of(depth) + 7) / 8; }
bool is_indexed(int depth) { return depth == 1 || depth == 4 || depth == 8; }

struct Color {
  int red, green, blue;
};

// The palettes a null argument stands for, from their definition.
Palette default_palette(int depth) {
  Palette palette;
  if (depth == 1) palette = {{0, 0, 0, 0}, {255, 255, 255, 0}};
  for (int i = 0; depth == 4 && i < 16; ++i) {
    const uint8_t on = i < 8 ? 128 : 255;
    const auto part = [&](int bit) { return static_cast<uint8_t>((i >> bit & 1) * on); };
    palette.push_back({part(2), part(1), part(0), 0});
  }
  if (depth == 4) palette[8] = {192, 192, 192, 0};
  for (int i = 0; depth == 8 && i < 256; ++i) {
    const auto step = [](int k, int of) { return static_cast<uint8_t>(k * 255.0 / of + 0.5); };
    palette.push_back({step(i & 3, 3), step(i >> 2 & 7, 7), step(i >> 5, 7), 0});
  }
  return palette;
}

int hue(int r, int g, int b) {
  return (b > r ? 4 : 0) + (g < std::min(r, b) ? 2 : 0) + (g > std::max(r, b) ? 1 : 0);
}

int nearest(const Palette& palette, Color c) {
  const auto is = [&](size_t i, int v) {
    return palette[i].Red == v && palette[i].Green == v && palette[i].Blue == v;
  };
  const size_t last = palette.size() - 1;
  if (c.red == 0 && c.green == 0 && c.blue == 0) {
    if (is(0, 0)) return 0;
    if (is(last, 0)) return last;
  }
  if (c.red == 255 && c.green == 255 && c.blue == 255) {
    if (is(last, 255)) return last;
    if (is(0, 255)) return 0;
  }
  int64_t least = INT64_MAX;
  int best = -1;
  for (size_t i = 0; i <= last; ++i) {
    const T_PaletteEntry& e = palette[i];
    const int64_t r = c.red - e.Red, g = c.green - e.Green, b = c.blue - e.Blue;
    const int64_t distance = r * r + g * g + b * b;
    const bool same_hue = hue(e.Red, e.Green, e.Blue) == hue(c.red, c.green, c.blue);
    if (distance < least || (distance == least && same_hue)) {
      least = distance;
      best = i;
    }
    if (distance == 0) break;
  }
  return best;
}

struct Side {
  int depth;
  int order;
  Palette palette;  // empty: the null argument

  const T_PaletteEntry* argument() const { return palette.empty() ? nullptr : palette.data(); }
  Palette used() const { return palette.empty() ? default_palette(depth) : palette; }
};

int index_at(const Bytes& row, int depth, int x) {
  const int per_byte = 8 / depth;
  const int shift = depth * (per_byte - 1 - x % per_byte);
  return row[x / per_byte] >> shift & ((1 << depth) - 1);
}

Color color_at(const Bytes& row, const Side& side, const Palette& palette, int x) {
  if (side.depth == 0) return {row[x], row[x], row[x]};
  if (is_indexed(side.depth)) {
    const T_PaletteEntry& e = palette[index_at(row, side.depth, x)];
    return {e.Red, e.Green, e.Blue};
  }
  std::array<int, 3> part;
  if (side.depth == 16) {
    const int word = row[2 * x] + 256 * row[2 * x + 1];
    for (int i = 0; i < 3; ++i) {
      const int five = word >> (5 * i) & 31;
      part[i] = five * 8 + five / 4;
    }
  } else {
    for (int i = 0; i < 3; ++i) part[i] = row[x * side.depth / 8 + i];
  }
  if (side.order == T_ORDER_BGR) std::swap(part[0], part[2]);
  return {part[0], part[1], part[2]};
}

void put_color(Bytes& row, const Side& side, int x, Color c) {
  std::array<int, 3> part = {c.red, c.green, c.blue};
  if (side.order == T_ORDER_BGR) std::swap(part[0], part[2]);
  if (side.depth == 16) {
    const int word = part[0] / 8 + part[1] / 8 * 32 + part[2] / 8 * 1024;
    row[2 * x] = word % 256;
    row[2 * x + 1] = word / 256;
    return;
  }
  const int step = side.depth / 8;
  for (int i = 0; i < 3; ++i) row[step * x + i] = part[i];
  if (step == 4) row[4 * x + 3] = 0;
}

void put_index(Bytes& row, int depth, int x, int index) {
  const int per_byte = 8 / depth;
  const int shift = depth * (per_byte - 1 - x % per_byte);
  uint8_t& byte = row[x / per_byte];
  byte = (byte & ~(((1 << depth) - 1) << shift)) | index << shift;
}

// The row as it must be afterwards.
Bytes expected(const Bytes& row, int width, const Side& in, const Side& out) {
  Bytes want = row;
  if (in.depth == out.depth && in.depth >= 24) {
    const int step = in.depth / 8;
    for (int x = 0; x < width && in.order != out.order; ++x) {
      std::swap(want[step * x], want[step * x + 2]);
    }
    return want;
  }
  const Palette from = in.used(), to = out.used();
  const bool is_start = is_indexed(in.depth) && is_indexed(out.depth) && from.size() <= to.size() &&
                        std::memcmp(from.data(), to.data(), 4 * from.size()) == 0;
  for (int x = 0; x < width; ++x) {
    const Color c = color_at(row, in, from, x);
    if (is_indexed(out.depth)) {
      put_index(want, out.depth, x, is_start ? index_at(row, in.depth, x) : nearest(to, c));
    } else if (out.depth == 0) {
      want[x] = in.depth == 0 ? row[x] : (2 * c.red + 5 * c.green + c.blue + 4) / 8;
    } else {
      put_color(want, out, x, c);
    }
  }
  return want;
}

class Convert : public ::testing::Test {
 protected:
  std::mt19937 random{20};

  Bytes random_bytes(size_t count) {
    Bytes bytes(count);
    for (uint8_t& byte : bytes) byte = random();
    return bytes;
  }

  // Colours close together, with duplicates, so that equal distances are frequent.
  Palette random_palette(int depth) {
    Palette palette(size_t{1} << depth);
    const int spread = random() % 2 == 0 ? 256 : 12;
    for (T_PaletteEntry& e : palette) {
      const auto part = [&] { return static_cast<uint8_t>(random() % spread * (256 / spread)); };
      e = {part(), part(), part(), static_cast<uint8_t>(random())};
    }
    return palette;
  }

  Side random_side(int depth) {
    Side side{depth, static_cast<int>(random() % 2), {}};
    if (is_indexed(depth) && random() % 3 != 0) side.palette = random_palette(depth);
    return side;
  }

  // Converts through `convert` and compares, bytes around and behind the row included.
  template <class Converter>
  void check(int width, const Side& in, const Side& out, Converter convert) {
    const size_t size = std::max(row_bytes(width, in.depth), row_bytes(width, out.depth));
    Bytes guarded = random_bytes(size + 2 * kGuard);
    Bytes want = guarded;
    const Bytes row(guarded.begin() + kGuard, guarded.begin() + kGuard + size);
    const Bytes result = expected(row, width, in, out);
    const size_t changed = row_bytes(width, out.depth);
    std::copy_n(result.begin(), changed, want.begin() + kGuard);
    convert(guarded.data() + kGuard);
    // Behind a shrunk row, work bytes of the old row may be overwritten, but nothing else.
    std::copy_n(guarded.begin() + kGuard + changed, size - changed,
                want.begin() + kGuard + changed);
    ASSERT_EQ(guarded, want) << in.depth << " to " << out.depth << ", width " << width
                             << ", orders " << in.order << out.order;
  }

  void check_export(int width, const Side& in, const Side& out) {
    check(width, in, out, [&](uint8_t* row) {
      EXPECT_EQ(T_ConvertBuffer(row, width, in.depth, out.depth, in.order, out.order, in.argument(),
                                out.argument()),
                T_OK);
    });
  }
};

TEST_F(Convert, EveryPairEqualsPixelByPixel) {
  for (const auto& level : test::processor_levels()) {
    const test::LimitedProcessor limit(level);
    for (const int depth_in : kDepths) {
      for (const int depth_out : kDepths) {
        for (int width = 1; width <= 70; ++width) {
          check_export(width, random_side(depth_in), random_side(depth_out));
          if (HasFatalFailure()) return;
        }
        check_export(1000 + random() % 1000, random_side(depth_in), random_side(depth_out));
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_F(Convert, OneConverterServesManyRowsAndPictures) {
  RowConverter converter;
  for (int picture = 0; picture < 60; ++picture) {
    const Side in = random_side(kDepths[random() % 7]);
    const Side out = random_side(kDepths[random() % 7]);
    ASSERT_TRUE(
        converter.start(in.depth, out.depth, in.order, out.order, in.argument(), out.argument())
            .ok());
    for (int row = 0; row < 4; ++row) {
      const int width = 1 + random() % 700;
      check(width, in, out,
            [&](uint8_t* bytes) { ASSERT_TRUE(converter.convert(bytes, width).ok()); });
      if (HasFatalFailure()) return;
    }
  }
  const Side in{1, 0, {}}, out{24, 0, {}};
  ASSERT_TRUE(converter.start(in.depth, out.depth, in.order, out.order, nullptr, nullptr).ok());
  const int wide = 100'003;  // beyond what the export takes
  check(wide, in, out, [&](uint8_t* bytes) { ASSERT_TRUE(converter.convert(bytes, wide).ok()); });
}

TEST_F(Convert, LeavesEqualLayoutsAlone) {
  // Duplicates in the palette would move indices if a search were made.
  const Palette palette(256, T_PaletteEntry{1, 2, 3, 4});
  for (const Side& side : {Side{0, 7, {}}, Side{1, 7, {}}, Side{4, 7, {}}, Side{8, 7, palette},
                           Side{24, 0, {}}, Side{32, 1, {}}}) {
    const Bytes row = random_bytes(200);
    Bytes bytes = row;
    EXPECT_EQ(T_ConvertBuffer(bytes.data(), 50, side.depth, side.depth, side.order, side.order,
                              side.argument(), side.argument()),
              T_OK);
    EXPECT_EQ(bytes, row) << side.depth;
  }
}

TEST_F(Convert, RefusesBadArgumentsBeforeWriting) {
  struct Call {
    const char* why;
    int32_t width, bits_in, bits_out, order_in, order_out, want;
  };
  const Call calls[] = {
      {"no pixels", 0, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"negative", -1, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"low 16 bits are 0", 0x10000, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"low 16 bits are negative", 0x8001, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"2 bits in", 5, 2, 24, 0, 1, T_ERR_ARGUMENT},
      {"12 bits out", 5, 24, 12, 0, 1, T_ERR_ARGUMENT},
      {"33 bits in", 5, 33, 24, 0, 1, T_ERR_ARGUMENT},
      {"negative depth", 5, -8, 24, 0, 1, T_ERR_ARGUMENT},
      {"order in", 5, 16, 8, 2, 0, T_ERR_ARGUMENT},
      {"order in, equal depths", 5, 24, 24, -1, -1, T_ERR_ARGUMENT},
      {"order out", 5, 8, 32, 0, 2, T_ERR_ARGUMENT},
      {"orders without colour", 5, 8, 0, 2, 2, T_OK},
      {"only the low 16 bits count", 0x70005, 24, 24, 0, 1, T_OK},
  };
  for (const Call& c : calls) {
    const Bytes row = random_bytes(64);
    Bytes bytes = row;
    EXPECT_EQ(T_ConvertBuffer(bytes.data(), c.width, c.bits_in, c.bits_out, c.order_in, c.order_out,
                              nullptr, nullptr),
              c.want)
        << c.why;
    EXPECT_EQ(bytes == row, c.want != T_OK) << c.why;
  }
  EXPECT_EQ(T_ConvertBuffer(nullptr, 5, 24, 24, 0, 1, nullptr, nullptr), T_ERR_ARGUMENT);
}

TEST_F(Convert, GivesTheSameWithoutMemory) {
  const Side in{24, 0, {}}, out{8, 0, random_palette(8)};
  RowConverter converter;
  platform::refuse_allocation(0, true);
  ASSERT_TRUE(converter.start(in.depth, out.depth, in.order, 0, nullptr, out.argument()).ok());
  check(5000, in, out, [&](uint8_t* bytes) { ASSERT_TRUE(converter.convert(bytes, 5000).ok()); });
  platform::refuse_allocation(-1, false);
}

}  // namespace
}  // namespace tavo::color
