// Row conversion: every pair of layouts against pixel-by-pixel arithmetic on wide integers.
#include <gtest/gtest.h>

#include <cstring>

#include "color/convert.h"
#include "color/nearest.h"
#include "color/palettes.h"
#include "platform/platform.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::color {
namespace {

using test::Bytes;
using Palette = std::vector<T_PaletteEntry>;

constexpr int kDepths[] = {0, 1, 4, 8, 16, 24, 32};
constexpr size_t kGuard = 64;

size_t row_bytes(int width, int depth) { return (width * (depth == 0 ? 8 : depth) + 7) / 8; }
bool is_indexed(int depth) { return depth == 1 || depth == 4 || depth == 8; }

struct Side {
  int depth;
  int order;
  Palette palette;  // empty: the null argument

  const T_PaletteEntry* argument() const { return palette.empty() ? nullptr : palette.data(); }
  Palette used() const {
    const auto standard = builtin_palette(depth);
    return palette.empty() ? Palette(standard.begin(), standard.end()) : palette;
  }
};

void put_color(Bytes& row, const Side& side, int x, const uint8_t* rgb) {
  uint8_t part[4] = {rgb[0], rgb[1], rgb[2], 0};
  if (side.order == T_ORDER_BGR) std::swap(part[0], part[2]);
  const int word = part[0] / 8 + part[1] / 8 * 32 + part[2] / 8 * 1024;
  if (side.depth == 16) part[0] = word % 256, part[1] = word / 256;
  std::copy_n(part, side.depth / 8, &row[side.depth / 8 * x]);
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
  const Bytes rgb = test::row_rgb(row.data(), width, in.depth, in.order, from.data());
  for (int x = 0; x < width; ++x) {
    const uint8_t* c = &rgb[3 * x];
    if (is_indexed(out.depth)) {
      test::put_index(want.data(), out.depth, x,
                      is_start ? test::index_at(row.data(), in.depth, x)
                               : nearest_color_plain(to, c[0], c[1], c[2]));
    } else if (out.depth == 0) {
      want[x] = in.depth == 0 ? row[x] : (2 * c[0] + 5 * c[1] + c[2] + 4) / 8;
    } else {
      put_color(want, out, x, c);
    }
  }
  return want;
}

class Convert : public ::testing::Test {
 protected:
  test::Random random{20};

  // Colours close together, with duplicates, so that equal distances are frequent.
  Palette random_palette(int depth) {
    Palette palette(size_t{1} << depth);
    const int spread = random.below(2) == 0 ? 256 : 12;
    for (T_PaletteEntry& e : palette) {
      const auto part = [&] { return static_cast<uint8_t>(random.below(spread) * (256 / spread)); };
      e = {part(), part(), part(), random.byte()};
    }
    return palette;
  }

  Side random_side(int depth) {
    Side side{depth, static_cast<int>(random.below(2)), {}};
    if (is_indexed(depth) && random.below(3) != 0) side.palette = random_palette(depth);
    return side;
  }

  // Converts through `convert` and compares, bytes around and behind the row included.
  template <class Converter>
  void check(int width, const Side& in, const Side& out, Converter convert) {
    const size_t size = std::max(row_bytes(width, in.depth), row_bytes(width, out.depth));
    Bytes guarded = random.bytes(size + 2 * kGuard);
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
        check_export(1000 + random.below(1000), random_side(depth_in), random_side(depth_out));
        if (HasFatalFailure()) return;
      }
    }
  }
}

TEST_F(Convert, OneConverterServesManyRowsAndPictures) {
  RowConverter converter;
  for (int picture = 0; picture < 60; ++picture) {
    const Side in = random_side(kDepths[random.below(7)]);
    const Side out = random_side(kDepths[random.below(7)]);
    ASSERT_TRUE(
        converter.start(in.depth, out.depth, in.order, out.order, in.argument(), out.argument())
            .ok());
    for (int row = 0; row < 4; ++row) {
      const int width = 1 + random.below(700);
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
    const Bytes row = random.bytes(200);
    Bytes bytes = row;
    EXPECT_EQ(T_ConvertBuffer(bytes.data(), 50, side.depth, side.depth, side.order, side.order,
                              side.argument(), side.argument()),
              T_OK);
    EXPECT_EQ(bytes, row) << side.depth;
  }
}

TEST_F(Convert, RefusesBadArgumentsBeforeWriting) {
  const struct {
    const char* why;
    int32_t width, bits_in, bits_out, order_in, order_out, want;
  } calls[] = {
      {"no pixels", 0, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"low 16 bits are 0", 0x10000, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"low 16 bits are negative", 0x8001, 24, 24, 0, 1, T_ERR_ARGUMENT},
      {"2 bits in", 5, 2, 24, 0, 1, T_ERR_ARGUMENT},
      {"12 bits out", 5, 24, 12, 0, 1, T_ERR_ARGUMENT},
      {"order in, equal depths", 5, 24, 24, -1, -1, T_ERR_ARGUMENT},
      {"order out", 5, 8, 32, 0, 2, T_ERR_ARGUMENT},
      {"orders without color", 5, 8, 0, 2, 2, T_OK},
      {"only the low 16 bits count", 0x70005, 24, 24, 0, 1, T_OK},
  };
  for (const auto& c : calls) {
    const Bytes row = random.bytes(64);
    Bytes bytes = row;
    EXPECT_EQ(T_ConvertBuffer(bytes.data(), c.width, c.bits_in, c.bits_out, c.order_in, c.order_out,
                              nullptr, nullptr),
              c.want)
        << c.why;
    EXPECT_EQ(bytes == row, c.want != T_OK) << c.why;
  }
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
