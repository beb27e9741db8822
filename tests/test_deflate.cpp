// The Deflate encoder: what it writes comes back, and what its parts are.
#include <gtest/gtest.h>

#include <numeric>

#include "base/crc32.h"
#include "codec/adler32.h"
#include "codec/deflate.h"
#include "codec/huffman_lengths.h"
#include "codec/inflate.h"
#include "processor_levels.h"
#include "support.h"

namespace tavo::deflate {
namespace {

using test::Bytes;
using test::Collector;
using test::Random;

Bytes encoded(const Bytes& data, Level level, size_t piece) {
  Collector out;
  Encoder encoder(out);
  EXPECT_EQ(encoder.allocate(level), kOk);
  encoder.start();
  for (size_t at = 0; at < data.size(); at += piece) {
    EXPECT_EQ(encoder.encode(std::span(data).subspan(at, std::min(piece, data.size() - at))), kOk);
  }
  EXPECT_EQ(encoder.finish(), kOk);
  return out.bytes;
}

void expect_back(const Bytes& stream, const Bytes& data) {
  ByteSource source{std::span<const uint8_t>(stream)};
  inflate::Decoder decoder;
  ASSERT_EQ(decoder.start(), kOk);
  decoder.begin(source);
  Bytes back(data.size());
  ASSERT_EQ(decoder.decode(back), kOk);
  EXPECT_TRUE(back == data);
  uint8_t more = 0;
  EXPECT_EQ(decoder.decode({&more, 1}), kReadError);
}

// Runs, repetitions near and far, noise of many and few values.
Bytes mixture(size_t size, uint32_t seed) {
  Random random(seed);
  Bytes data;
  while (data.size() < size) {
    const size_t length = 1 + random.below(random.below(9) == 0 ? 3000 : 40);
    const uint32_t kind = random.below(4);
    const size_t back =
        std::min<size_t>(data.size(), 1 + random.below(random.below(2) == 0 ? 40000 : 300));
    for (size_t i = 0; i < length; ++i) {
      const bool copies = kind == 0 && back != 0;
      data.push_back(copies ? data[data.size() - back] : kind == 1 ? 0 : random.byte() >> kind * 2);
    }
  }
  data.resize(size);
  return data;
}

TEST(Deflate, WhatIsEncodedComesBack) {
  std::vector<Bytes> all = {{}, {7}, Bytes(258, 1), Bytes(500000, 0), Random(1).bytes(200000)};
  for (const size_t size : {2, 300, 40000, 163840, 163841, 700000}) {
    all.push_back(mixture(size, static_cast<uint32_t>(size)));
  }
  for (const Level level : {Level::kDefault, Level::kFast, Level::kSmall}) {
    for (const Bytes& data : all) {
      SCOPED_TRACE(data.size());
      const Bytes stream = encoded(data, level, 100000);
      expect_back(stream, data);
      EXPECT_LE(stream.size(), data.size() + data.size() / 4000 + 16);
      if (data.size() < 100000) {
        EXPECT_EQ(encoded(data, level, 1), stream);
      }
    }
  }
}

TEST(Deflate, LengthsMakeWholeCodesOfFewBits) {
  Random random(3);
  for (int i = 0; i < 300; ++i) {
    std::vector<uint32_t> counts(2 + random.below(285));
    // Like Fibonacci's numbers, whose codes would be longest, or any.
    for (size_t k = 0; k < counts.size(); ++k) {
      counts[k] = i % 2 == 0 ? 1u << std::min<size_t>(k, 25) : random.below(50) * random.below(50);
    }
    for (const uint32_t limit : {15u, counts.size() > 100 ? 9u : 7u}) {
      Bytes lengths(counts.size());
      huffman::find_lengths(counts, limit, lengths);
      uint64_t taken = 0;
      for (size_t k = 0; k < counts.size(); ++k) {
        EXPECT_LE(lengths[k], limit);
        EXPECT_TRUE(counts[k] == 0 || lengths[k] != 0);
        if (lengths[k] != 0) taken += uint64_t{1} << (limit - lengths[k]);
      }
      EXPECT_EQ(taken, uint64_t{1} << limit);
    }
  }
}

TEST(Deflate, ChecksumsOfKnownData) {
  const Bytes digits = test::text("123456789");
  const Bytes noise = Random(5).bytes(100000), ones(400000, 255);
  uint32_t a = 1, b = 0;
  for (const uint8_t byte : ones) b = (b + (a = (a + byte) % 65521)) % 65521;
  EXPECT_EQ(adler32(1, ones), b << 16 | a);
  EXPECT_EQ(adler32(1, digits), 0x091E01DEu);
  for (const platform::Processor level : test::processor_levels()) {
    const test::LimitedProcessor limited(level);
    EXPECT_EQ(crc32(0, digits), 0xCBF43926u);
    for (const size_t size : {63, 64, 65, 127, 200, 100000}) {
      const auto part = std::span<const uint8_t>(noise).first(size);
      EXPECT_EQ(crc32(crc32(0, part.first(17)), part.subspan(17)), ~crc32_by_tables(~0u, part));
    }
  }
}

}  // namespace
}  // namespace tavo::deflate
