// The LZW coder: what it writes comes back, in both bit orders; lenient and strict places.
#include <gtest/gtest.h>

#include <string>

#include "codec/lzw.h"
#include "support.h"

namespace tavo::lzw {
namespace {

using test::Bytes;
using test::Collector;
using test::Pieces;
using test::Random;

// A code with the width that it has in the stream.
struct Code {
  uint32_t value;
  unsigned width;
};

using Codes = std::vector<Code>;

Codes nine(std::initializer_list<uint32_t> values) {
  Codes codes;
  for (const uint32_t value : values) codes.push_back({value, 9});
  return codes;
}

Bytes pack(const Codes& codes, bool high_first) {
  Bytes out;
  size_t at = 0;
  for (const Code& code : codes) {
    for (unsigned i = 0; i < code.width; ++i, ++at) {
      if (at % 8 == 0) out.push_back(0);
      const unsigned bit = code.value >> (high_first ? code.width - 1 - i : i) & 1;
      out.back() |= static_cast<uint8_t>(bit << (high_first ? 7 - at % 8 : at % 8));
    }
  }
  return out;
}

Bytes noise(size_t size, unsigned values, uint32_t seed) {
  Random random(seed);
  Bytes bytes(size);
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random.below(values));
  return bytes;
}

// Runs with some noise between, as line art has.
Bytes runs(size_t size, unsigned values, uint32_t seed) {
  Random random(seed);
  Bytes bytes;
  while (bytes.size() < size) {
    const size_t length = random.below(random.below(7) == 0 ? 900 : 4);
    bytes.insert(bytes.end(), length, static_cast<uint8_t>(random.below(values)));
  }
  bytes.resize(size);
  return bytes;
}

// On a coder that has already coded another stream.
template <class Coder>
Bytes encode(const Bytes& bytes, unsigned minimum, size_t step) {
  Collector out;
  Coder coder(out);
  EXPECT_TRUE(coder.start(6).ok());
  EXPECT_TRUE(coder.encode(noise(5000, 64, 9)).ok());
  EXPECT_TRUE(coder.finish().ok());
  out.bytes.clear();
  EXPECT_TRUE(coder.start(minimum).ok());
  for (size_t at = 0; at < bytes.size(); at += step) {
    const std::span<const uint8_t> all(bytes);
    EXPECT_TRUE(coder.encode(all.subspan(at, std::min(step, bytes.size() - at))).ok());
  }
  EXPECT_TRUE(coder.finish().ok());
  return out.bytes;
}

struct Decoded {
  Bytes bytes;
  Status status = kOk;
  bool saw_end = false;
};

template <class Coder>
Decoded decode(const Bytes& stream, unsigned minimum, size_t size, size_t step, size_t piece) {
  Pieces pieces{stream, piece};
  ByteSource source(pieces);
  EXPECT_TRUE(source.start(64, 1, 64).ok());
  Coder coder;
  Decoded result;
  EXPECT_TRUE(coder.start(minimum).ok());
  while (result.bytes.size() < size) {
    Bytes part(std::min(step, size - result.bytes.size()));
    size_t got = 0;
    result.status = coder.decode(source, part, got);
    result.bytes.insert(result.bytes.end(), part.begin(),
                        part.begin() + static_cast<ptrdiff_t>(got));
    if (got != part.size()) break;
  }
  result.saw_end = coder.saw_end_code();
  return result;
}

template <class EncoderType, class DecoderType>
void check_both_ways(bool high_first) {
  for (const unsigned minimum : {2u, 3u, 5u, 8u}) {
    if (high_first && minimum != 8) continue;
    const unsigned values = 1u << minimum;
    const Bytes inputs[] = {{},
                            {1},
                            Bytes(20, 1),
                            noise(50000, values, 1),
                            noise(200000, 3, 2),
                            runs(300000, values, 3),
                            Bytes(300000, 1)};
    for (const Bytes& input : inputs) {
      const Bytes want = encode<EncoderType>(input, minimum, 777);
      EXPECT_TRUE(input.size() < 300000 || want.size() < input.size() / 4) << "strings are long";
      for (const size_t step : {size_t{1}, size_t{333}, size_t{1} << 20}) {
        if (step == 1 && input.size() > 50000) continue;
        SCOPED_TRACE(testing::Message()
                     << minimum << " bits, " << input.size() << " bytes, step " << step);
        ASSERT_EQ(encode<EncoderType>(input, minimum, step), want);
        const Decoded got = decode<DecoderType>(want, minimum, input.size(), step, step % 100 + 1);
        ASSERT_TRUE(got.status.ok());
        ASSERT_EQ(got.bytes, input);
      }
      const Decoded all = decode<DecoderType>(want, minimum, input.size() + 1, 1000, 64);
      EXPECT_TRUE(all.saw_end);
      EXPECT_EQ(all.bytes, input);
    }
  }
}

TEST(Lzw, StreamsComeBackHoweverTheyAreCut) {
  check_both_ways<LowFirstEncoder, LowFirstDecoder>(false);
  check_both_ways<HighFirstEncoder, HighFirstDecoder>(true);
}

// A table that is never cleared keeps its 4096 entries and goes on decoding with 12-bit codes.
// Noise of few values through a coder that forgets to clear; the strings double as the judge.
TEST(Lzw, AFullTableStaysFrozen) {
  Random random(7);
  std::vector<std::string> table(4096);
  for (int i = 0; i < 256; ++i)
    table[static_cast<size_t>(i)] = std::string(1, static_cast<char>(i));
  Codes codes = {{256, 9}};
  uint32_t next = 258;
  unsigned width = 9;
  std::string previous, text;
  for (int i = 0; i < 60000; ++i) {
    uint32_t code = random.below(next + (next < 4096 && !previous.empty() ? 1 : 0));
    if (code == 256 || code == 257 || previous.empty()) code = 65;
    codes.push_back({code, width});
    const std::string now = code < next ? table[code] : previous + previous[0];
    text += now;
    if (!previous.empty() && next < 4096) {
      table[next++] = previous + now[0];
      if (next == 1u << width && width < 12) ++width;
    }
    previous = now;
  }
  const Bytes want(text.begin(), text.end());
  const Decoded got = decode<LowFirstDecoder>(pack(codes, false), 8, want.size(), 1777, 64);
  EXPECT_TRUE(got.status.ok());
  EXPECT_EQ(got.bytes, want);
}

TEST(Lzw, LenientAndStrictPlacesOfTheDecoder) {
  const struct {
    const char* what;
    unsigned minimum;
    Codes codes;
    Bytes want;
    Status status = kOk;
    bool saw_end = false;
  } cases[] = {
      {"no clear code at the start", 8, nine({7, 8, 258, 257}), {7, 8, 7, 8}, kOk, true},
      {"clear codes in a row", 8, nine({256, 256, 7, 256, 256, 9}), {7, 9}},
      {"the string being made", 8, nine({256, 7, 258, 259}), {7, 7, 7, 7, 7, 7}},
      {"a code far beyond the table", 8, nine({256, 7, 8, 400}), {7, 8, 8, 8}},
      {"the end code at once", 8, nine({256, 257, 5}), {}, kOk, true},
      {"a string right after a clear code", 8, nine({256, 7, 256, 258}), {7}, kBadData},
      {"codes grow", 1, {{2, 2}, {1, 2}, {0, 3}, {4, 3}, {3, 3}}, {1, 0, 1, 0}, kOk, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Bytes stream = pack(c.codes, false);
    const Decoded got = decode<LowFirstDecoder>(stream, c.minimum, 100, 100, 3);
    // The padding of the last byte is no code: it is shorter than one.
    EXPECT_EQ(got.bytes, c.want);
    EXPECT_EQ(got.status, c.status);
    EXPECT_EQ(got.saw_end, c.saw_end);
  }
  LowFirstDecoder coder;
  EXPECT_EQ(coder.start(0), kBadData);
  EXPECT_EQ(coder.start(9), kBadData);
}

TEST(Lzw, RefusedMemoryAndAFailingSinkAreStatuses) {
  const Bytes input = runs(3000000, 2, 5);
  const Bytes stream = encode<LowFirstEncoder>(input, 8, input.size());
  test::refuse_each([&](BitmapHandle*) {
    ByteSource source{std::span<const uint8_t>(stream)};
    LowFirstDecoder decoder;
    Bytes out(input.size());
    size_t got = 0;
    const Status started = decoder.start(8);
    return started.ok() ? decoder.decode(source, out, got).code() : started.code();
  });
  struct {
    Status write(std::span<const uint8_t>) { return kWriteError; }
  } full;
  LowFirstEncoder encoder(full);
  ASSERT_TRUE(encoder.start(8).ok());
  EXPECT_EQ(encoder.encode(noise(500000, 256, 1)), kWriteError);
}

}  // namespace
}  // namespace tavo::lzw
