// The stages of the JPEG decoder, transform, upsampling and colours, against plain arithmetic.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "codec/jpeg/decoder.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::test {
namespace {

using Block = std::array<int16_t, 64>;

// A block whose coefficients lie in `extent`, up to `limit` either way.
Block random_block(Random& random, jpeg::Extent extent, int limit) {
  Block block = {};
  for (size_t i = 0; i < 64; ++i) {
    const bool is_inside = extent == jpeg::Extent::kFull ||
                           (extent == jpeg::Extent::kCorner ? i % 8 < 4 && i < 32 : i == 0);
    const auto value = static_cast<int>(random.below(2u * limit + 1)) - limit;
    if (is_inside && (i == 0 || random.below(3) != 0)) block[i] = static_cast<int16_t>(value);
  }
  return block;
}

TEST(JpegTransform, IsWithinOneOfTheRealCosines) {
  Random random(1);
  std::array<uint16_t, 64> quantisers;
  quantisers.fill(1);
  for (int round = 0; round < 300; ++round) {
    const Block block = random_block(random, jpeg::Extent::kFull, 120);
    std::array<uint8_t, 64> out, other;
    jpeg::inverse_transform_plain(block.data(), block.data(), quantisers.data(),
                                  jpeg::Extent::kFull, out.data(), other.data(), 8);
    for (int y = 0; y < 8; ++y) {
      for (int x = 0; x < 8; ++x) {
        double sum = 0;
        for (int v = 0; v < 8; ++v) {
          for (int u = 0; u < 8; ++u) {
            const double scale = (u == 0 ? std::sqrt(0.5) : 1) * (v == 0 ? std::sqrt(0.5) : 1) / 4;
            sum += scale * block[8 * v + u] * std::cos((2 * x + 1) * u * std::numbers::pi / 16) *
                   std::cos((2 * y + 1) * v * std::numbers::pi / 16);
          }
        }
        const double want = std::clamp(sum + 128, 0.0, 255.0);
        ASSERT_NEAR(out[8 * y + x], want, 1.0) << x << ", " << y;
      }
    }
  }
}

TEST(JpegTransform, VectorsEqualPlainCodeOnAnyNumbers) {
  Random random(2);
  for (int round = 0; round < 3000; ++round) {
    const int limit = round % 3 == 0 ? 32767 : round % 3 == 1 ? 2000 : 60;
    for (const jpeg::Extent extent :
         {jpeg::Extent::kFlat, jpeg::Extent::kCorner, jpeg::Extent::kFull}) {
      const Block a = random_block(random, extent, limit), b = random_block(random, extent, limit);
      std::array<uint16_t, 64> quantisers;
      for (uint16_t& q : quantisers) q = static_cast<uint16_t>(random.below(round % 2 ? 65536 : 9));
      Bytes want(8 * 32), got(8 * 32);
      jpeg::inverse_transform_plain(a.data(), b.data(), quantisers.data(), extent, want.data(),
                                    want.data() + 16, 32);
      for (const platform::Processor level : processor_levels()) {
        const LimitedProcessor limited(level);
        jpeg::choose_inverse_transform()(a.data(), b.data(), quantisers.data(), extent, got.data(),
                                         got.data() + 16, 32);
        ASSERT_EQ(got, want) << "round " << round;
      }
    }
  }
}

TEST(JpegUpsampling, VectorsEqualPlainCodeAtEveryWidth) {
  Random random(3);
  constexpr size_t kSlack = jpeg::kRowSlack;
  for (size_t count = 1; count < 140; ++count) {
    const Bytes a = random.bytes(count + 2 * kSlack), b = random.bytes(count + 2 * kSlack);
    const uint8_t* near = a.data() + kSlack;
    const uint8_t* far = b.data() + kSlack;
    const auto run = [&](const jpeg::Upsampling& kind) {
      Bytes all;
      Bytes row(2 * count + kSlack);
      const auto keep = [&](size_t size) {
        all.insert(all.end(), row.begin(), row.begin() + size);
      };
      kind.double_width(near, count, row.data());
      keep(2 * count);
      kind.double_both(near, far, count, row.data());
      keep(2 * count);
      for (const int bias : {1, 2}) {
        kind.double_height(near, far, bias, count, row.data());
        keep(count);
      }
      return all;
    };
    const Bytes want = run(jpeg::kUpsamplingPlain);
    for (const platform::Processor level : processor_levels()) {
      const LimitedProcessor limited(level);
      ASSERT_EQ(run(jpeg::choose_upsampling()), want) << count;
    }
  }
}

TEST(JpegUpsampling, RepeatsAtAnyRatio) {
  const Bytes in = {10, 20, 30, 40, 50, 60};
  Bytes out(5);
  jpeg::repeat_samples(in.data(), 2, 3, out.size(), out.data());
  EXPECT_EQ(out, (Bytes{10, 10, 20, 30, 30}));
  jpeg::repeat_samples(in.data(), 1, 4, out.size(), out.data());
  EXPECT_EQ(out, (Bytes{10, 10, 10, 10, 20}));
}

// All pairs of chroma at some luminances, in rows of every width up to 80 and then long ones.
TEST(JpegColor, VectorsEqualPlainCodeAndStayInsideTheRow) {
  Random random(4);
  const auto check = [&](const Bytes& y, const Bytes& cb, const Bytes& cr, size_t width) {
    const auto run = [&](const jpeg::ColorConversion& kind) {
      Bytes all;
      for (const auto function : {kind.to_rgb, kind.to_bgr, kind.interleave}) {
        Bytes row(3 * width + 8, 0xA5);
        function(y.data(), cb.data(), cr.data(), width, row.data());
        all.insert(all.end(), row.begin(), row.end());
      }
      return all;
    };
    const Bytes want = run(jpeg::kColorPlain);
    for (const platform::Processor level : processor_levels()) {
      const LimitedProcessor limited(level);
      ASSERT_EQ(run(jpeg::choose_color_conversion()), want) << width;
    }
  };
  for (size_t width = 1; width < 80; ++width) {
    check(random.bytes(width + 64), random.bytes(width + 64), random.bytes(width + 64), width);
  }
  for (int cb = 0; cb < 256; ++cb) {
    Bytes y(256 * 4 + 64), blue(y.size(), static_cast<uint8_t>(cb)), red(y.size());
    for (size_t i = 0; i < y.size(); ++i) {
      y[i] = static_cast<uint8_t>(i / 256 * 85);
      red[i] = static_cast<uint8_t>(i);
    }
    check(y, blue, red, 1024);
  }
}

}  // namespace
}  // namespace tavo::test
