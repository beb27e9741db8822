// The JPEG encoder's core: vector paths against the plain one, quantisation against division.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

#include "codec/jpeg/encoder.h"
#include "platform/platform.h"
#include "processor_levels.h"
#include "support.h"

namespace {

using namespace tavo;
using test::Bytes;
using test::Random;

struct Path {
  const char* name;
  const jpeg::Kernels* stages;
  const jpeg::EntropyCoder* coder;
};

// What this processor can run beside the plain code.
std::vector<Path> vector_paths() {
  std::vector<Path> paths = {{"words", &jpeg::kPlainKernels, &jpeg::kSse2EntropyCoder}};
  const char* const names[] = {"plain", "SSE2", "SSSE3", "AVX2", "AVX-512"};
  for (const platform::Processor level : test::processor_levels()) {
    const test::LimitedProcessor limited(level);
    paths.push_back({names[static_cast<int>(level)], &jpeg::kernels(), &jpeg::entropy_coder()});
  }
  return paths;
}

enum class Picture { kNoise, kBlackWhite, kSmooth };

// `bytes` of 3-byte pixels or samples.
Bytes make_picture(Picture kind, size_t row_bytes, size_t rows, uint32_t seed) {
  Random random(seed);
  Bytes out = random.bytes(row_bytes * rows);
  for (size_t i = 0; i < out.size(); ++i) {
    if (kind == Picture::kBlackWhite) out[i] = out[i] % 2 != 0 ? 255 : 0;
    if (kind == Picture::kSmooth) out[i] = i % row_bytes / 5 + i / row_bytes * 2 + out[i] % 9;
  }
  return out;
}

jpeg::QuantiserTable flat_table(uint8_t entry) {
  jpeg::QuantiserTable table;
  table.fill(entry);
  return table;
}

Status keep(void* context, std::span<const uint8_t> bytes) {
  return static_cast<test::Collector*>(context)->write(bytes);
}

Bytes encode(const jpeg::EncoderSetup& setup, const Bytes& rows, uint32_t strip, const Path& path) {
  test::Collector out;
  ByteSink sink;
  jpeg::Encoder encoder;
  EXPECT_TRUE(sink.start(keep, &out, 1000).ok());
  EXPECT_TRUE(encoder.start(setup, *path.stages, *path.coder).ok());
  const size_t stride = rows.size() / setup.height;
  for (uint32_t y = 0; y < setup.height; y += strip) {
    const uint32_t count = std::min(strip, setup.height - y);
    EXPECT_TRUE(encoder.encode_rows(rows.data() + y * stride, stride, count, sink).ok());
  }
  EXPECT_TRUE(encoder.finish(sink).ok());
  EXPECT_TRUE(sink.flush().ok());
  return out.bytes;
}

const Path kPlain = {"plain", &jpeg::kPlainKernels, &jpeg::kPlainEntropyCoder};

TEST(JpegEncode, QuantisationIsDivision) {
  for (int q = 1; q <= 255; ++q) {
    jpeg::Divisors d;
    jpeg::make_divisors(flat_table(static_cast<uint8_t>(q)), d);
    const uint32_t divisor = 8 * q;
    for (uint32_t x = 0; x <= 8192; ++x) {
      const uint32_t n = x + d.half[5];
      ASSERT_LT(n, 1u << 14);
      const uint32_t got = (n * d.reciprocal[5] >> 16) * d.scale[5] >> 16;
      ASSERT_EQ(got, (x + divisor / 2) / divisor) << x << " by " << divisor;
    }
  }
}

TEST(JpegEncode, ColorsAreThoseOfJfif) {
  // Every 5th level of each component against the real-valued formula.
  for (int r = 0; r < 256; r += 5) {
    for (int g = 0; g < 256; g += 5) {
      for (int b = 0; b < 256; b += 5) {
        const uint8_t bgr[3] = {static_cast<uint8_t>(b), static_cast<uint8_t>(g),
                                static_cast<uint8_t>(r)};
        uint8_t y, cb, cr;
        jpeg::kPlainKernels.convert(bgr, 1, &y, &cb, &cr);
        ASSERT_NEAR(y, 0.299 * r + 0.587 * g + 0.114 * b, 0.51);
        ASSERT_NEAR(cb, 128 - 0.168736 * r - 0.331264 * g + 0.5 * b, 0.52);
        ASSERT_NEAR(cr, 128 + 0.5 * r - 0.418688 * g - 0.081312 * b, 0.52);
      }
    }
  }
}

TEST(JpegEncode, StagesAreTheSameOnEveryPath) {
  constexpr size_t kCount = 256;
  for (const Path& path : vector_paths()) {
    for (const Picture kind : {Picture::kNoise, Picture::kBlackWhite, Picture::kSmooth}) {
      const Bytes bgr = make_picture(kind, 3 * kCount + jpeg::kOverread, 1, 7);
      Bytes want(3 * kCount), got(3 * kCount);
      jpeg::kPlainKernels.convert(bgr.data(), kCount, &want[0], &want[kCount], &want[2 * kCount]);
      path.stages->convert(bgr.data(), kCount, &got[0], &got[kCount], &got[2 * kCount]);
      EXPECT_TRUE(got == want) << path.name;

      jpeg::kPlainKernels.halve(bgr.data(), kCount, &want[0]);
      jpeg::kPlainKernels.quarter(bgr.data(), bgr.data() + kCount, kCount, &want[kCount]);
      path.stages->halve(bgr.data(), kCount, &got[0]);
      path.stages->quarter(bgr.data(), bgr.data() + kCount, kCount, &got[kCount]);
      EXPECT_TRUE(got == want) << path.name;
    }
  }
}

// Whole scans: odd sizes on both sides of tiles and MCUs, strips that do and do not fit them.
TEST(JpegEncode, ScansAreTheSameOnEveryPath) {
  const uint32_t samplings[][2] = {{1, 1}, {2, 1}, {2, 2}, {0, 0}};
  const uint32_t sizes[][2] = {{1, 1}, {7, 9}, {128, 16}, {129, 17}, {300, 40}, {256, 8}};
  for (const auto& [h, v] : samplings) {
    for (const auto& [width, height] : sizes) {
      for (const uint8_t q : {1, 2, 20}) {
        jpeg::EncoderSetup setup;
        setup.width = width;
        setup.height = height;
        setup.is_gray = h == 0;
        setup.horizontal = h == 0 ? 1 : h;
        setup.vertical = v == 0 ? 1 : v;
        setup.luminance = setup.chrominance = flat_table(q);
        const size_t stride = (setup.is_gray ? 1 : 3) * width;
        const Picture kind = q == 1   ? Picture::kBlackWhite
                             : q == 2 ? Picture::kNoise
                                      : Picture::kSmooth;
        const Bytes rows = make_picture(kind, stride, height, width);
        const Bytes want = encode(setup, rows, 16, kPlain);
        EXPECT_TRUE(encode(setup, rows, 5, kPlain) == want) << "strips of 5 rows";
        for (const Path& path : vector_paths()) {
          EXPECT_TRUE(encode(setup, rows, 16, path) == want)
              << path.name << ' ' << width << 'x' << height << ' ' << h << 'x' << v;
        }
      }
    }
  }
}

TEST(JpegEncode, MarkerBytesAreStuffed) {
  Random random(3);
  for (size_t count = 0; count < 100; ++count) {
    Bytes bytes(count);
    for (uint8_t& b : bytes) b = random.below(3) == 0 ? 0xFF : random.byte();
    Bytes want;
    for (const uint8_t b : bytes) {
      want.push_back(b);
      if (b == 0xFF) want.push_back(0);
    }
    Bytes got(2 * count + 16);
    const uint8_t* end = jpeg::kSse2EntropyCoder.stuff(bytes.data(), count, got.data());
    got.resize(static_cast<size_t>(end - got.data()));
    EXPECT_EQ(got, want);
  }
}

}  // namespace
