#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "codec/ccitt_codes.h"
#include "codec/ccitt_decoder.h"
#include "codec/ccitt_encoder.h"
#include "support.h"

namespace tavo::ccitt {
namespace {

using test::Bytes;
using test::Collector;
using test::Pieces;
using test::Random;
using Row = std::vector<bool>;  // black = true
using Picture = std::vector<Row>;

// ---- Pictures ----

Bytes pack(const Row& row) {
  Bytes packed((row.size() + 7) / 8);
  for (size_t x = 0; x < row.size(); ++x) {
    if (row[x]) packed[x / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
  }
  return packed;
}

// Rows of runs between 1 and `longest` pixels, most of them close to the row above: equal, moved
// by a few pixels, with runs taken out or put in, or new.
Picture random_picture(Random& random, uint32_t width, uint32_t height, uint32_t longest) {
  Picture picture;
  Row above(width, false);
  for (uint32_t y = 0; y < height; ++y) {
    Row row = above;
    switch (random.below(6)) {
      case 0:
        break;
      case 1:
        row.assign(width, random.below(4) == 0);
        break;
      case 2: {
        bool black = random.below(2) != 0;
        for (uint32_t x = 0; x < width; black = !black) {
          for (uint32_t n = random.below(longest) + 1; n > 0 && x < width; --n) row[x++] = black;
        }
        break;
      }
      default:
        for (uint32_t n = random.below(8); n > 0; --n) {
          const uint32_t from = random.below(width);
          const uint32_t to =
              std::min(width, from + 1 + random.below(random.below(2) ? 4 : longest));
          const bool black = random.below(2) != 0;
          for (uint32_t x = from; x < to; ++x) row[x] = black;
        }
        break;
    }
    picture.push_back(row);
    above = row;
  }
  return picture;
}

Bytes encode(const Picture& picture, const EncoderOptions& options) {
  Collector out;
  Encoder encoder(out);
  EXPECT_EQ(encoder.start(options, static_cast<uint32_t>(picture[0].size())), kOk);
  for (const Row& row : picture) {
    Bytes packed = pack(row);
    if (row.size() % 8 != 0)
      packed.back() |= static_cast<uint8_t>(0xFF >> row.size() % 8);  // must not matter
    EXPECT_EQ(encoder.encode_row(packed), kOk);
  }
  EXPECT_EQ(encoder.finish(), kOk);
  return out.bytes;
}

struct Result {
  Status status = kOk;
  std::vector<Bytes> rows;
  uint64_t damaged = 0;
};

Result decode(const Bytes& data, Coding coding, uint32_t width, uint32_t height,
              bool is_reversed = false, size_t step = 0) {
  Pieces drip{data, step};
  ByteSource whole{std::span<const uint8_t>(data)};
  ByteSource dripping(drip);
  EXPECT_EQ(dripping.start(64, 64, 64), kOk);
  Result result;
  Decoder decoder;
  EXPECT_EQ(decoder.start(coding, width, is_reversed), kOk);
  decoder.begin(step == 0 ? whole : dripping);
  for (uint32_t y = 0; y < height; ++y) {
    Bytes row((width + 7) / 8, 0xAA);
    result.status = decoder.decode_row(row);
    if (!result.status.ok()) break;
    result.rows.push_back(row);
  }
  result.damaged = decoder.damaged_rows();
  return result;
}

std::vector<Bytes> packed(const Picture& picture) {
  std::vector<Bytes> rows;
  for (const Row& row : picture) rows.push_back(pack(row));
  return rows;
}

Picture picture_of(const std::vector<std::string>& rows) {
  Picture picture;
  for (const std::string& row : rows) {
    picture.emplace_back();
    for (char c : row) picture.back().push_back(c == '#');
  }
  return picture;
}

// Bits written as text; blanks do not count.
Bytes bits(const std::string& text) {
  Bytes bytes;
  size_t n = 0;
  for (char c : text) {
    if (c == ' ') continue;
    if (n % 8 == 0) bytes.push_back(0);
    if (c == '1') bytes.back() |= static_cast<uint8_t>(0x80 >> n % 8);
    ++n;
  }
  return bytes;
}

constexpr Coding kCodings[] = {Coding::kRuns, Coding::kRuns16, Coding::kGroup3, Coding::kGroup3TwoD,
                               Coding::kGroup4};

// ---- Tests ----

// The unused prefix of the run codes is eight zeros, that of the modes six.
TEST(Ccitt, CodesAreComplete) {
  for (const bool black : {false, true}) {
    double sum = 0;
    for (uint32_t run = 0; run <= kMaxMakeUp; run += run < 64 ? 1 : 64) {
      const Code code = run < 64 ? terminating_code(run, black) : make_up_code(run, black);
      sum += 1.0 / (1 << code.length);
    }
    EXPECT_EQ(sum, 255.0 / 256);
  }
}

TEST(Ccitt, WritesTheCodesOfTheRecommendation) {
  const Picture picture = picture_of({"....####", "....####", "#######.", "........"});
  // V0 is 1; horizontal 001; white 4 = 1011, black 4 = 011; white 0 = 00110101, black 7 = 00011.
  // Row 3: b1 = 4 is 4 pixels off; row 4: pass over the black run, V0.
  EXPECT_EQ(encode(picture, {Coding::kGroup4}),
            bits("001 1011 011   1 1   001 00110101 00011 1   0001 1"
                 " 000000000001 000000000001"));
  EXPECT_EQ(encode(picture, {Coding::kRuns}),
            bits("1011 011 0   1011 011 0   00110101 00011 000111 00000   10011 000"));
  EXPECT_EQ(encode(picture_of({"....####"}), {Coding::kGroup3, false, true}),
            bits("0000 000000000001 1011 011 0"));
  EXPECT_EQ(encode(picture_of({"....####", "....####"}), {Coding::kGroup3TwoD, false, true, 2}),
            bits("0000 000000000001 1 1011 011   0000 0000 0000 0001 0 1 1"));
}

TEST(Ccitt, RoundTripsEveryCoding) {
  Random random(7);
  const uint32_t widths[] = {1, 2, 7, 8, 9, 31, 63, 64, 65, 200, 1728, 6001, 30000, 150000};
  for (const uint32_t width : widths) {
    for (const uint32_t longest : {2u, 20u, 3000u, 30000u}) {
      const Picture picture = random_picture(random, width, width > 30000 ? 6 : 60, longest);
      for (const Coding coding : kCodings) {
        const EncoderOptions options{coding, random.below(2) != 0, random.below(2) != 0,
                                     random.below(5)};
        const Bytes data = encode(picture, options);
        const Result result = decode(data, coding, width, picture.size(), options.is_reversed,
                                     random.below(2) ? 0u : 1 + random.below(70));
        ASSERT_EQ(result.status, kOk) << width << ' ' << longest << ' ' << int(coding);
        ASSERT_EQ(result.rows, packed(picture)) << width << ' ' << longest << ' ' << int(coding);
        EXPECT_EQ(result.damaged, 0u);
      }
    }
  }
}

// Every run of both colours beside short ones, which share look-ups with it.
TEST(Ccitt, RoundTripsEveryRun) {
  Picture picture;
  for (uint32_t run = 1; run <= 2700; ++run) {
    picture.clear();
    for (uint32_t beside = 1; beside <= 4; ++beside) {
      Row row;
      for (const bool black : {true, false, true}) row.insert(row.end(), run, black);
      for (const bool black : {false, true, false}) row.insert(row.end(), beside, black);
      row.insert(row.end(), run, true);
      row.insert(row.end(), beside, false);
      row.insert(row.end(), run, true);
      row.resize(14000, false);
      picture.push_back(row);
    }
    const Result result = decode(encode(picture, {Coding::kGroup3}), Coding::kGroup3, 14000, 4);
    ASSERT_EQ(result.rows, packed(picture)) << run;
  }
}

using enum Coding;
const std::string eol = "000000000001 ";
const std::string row = "1011 011 ";  // ....####
const Bytes kPacked = {0x0F};

TEST(Ccitt, Group3RowsNeedNoParticularFraming) {
  const struct {
    const char* what;
    std::string stream;
  } cases[] = {
      {"no codes at all", row + row + row},
      {"none before the first row", row + eol + row + eol + row},
      {"one missing in the middle", eol + row + row + eol + row},
      {"fill", eol + row + "00000000000000000000000" + eol + row + "000" + eol + row},
      {"return to control", eol + row + eol + row + eol + row + eol + eol + eol + eol + eol + eol},
  };
  for (const auto& c : cases) {
    const Result result = decode(bits(c.stream), Coding::kGroup3, 8, 3);
    EXPECT_EQ(result.status, kOk) << c.what;
    EXPECT_EQ(result.rows, std::vector<Bytes>(3, kPacked)) << c.what;
    EXPECT_EQ(result.damaged, 0u) << c.what;
  }
}

TEST(Ccitt, DamagedGroup3RowsDoNotSpread) {
  const struct {
    const char* what;
    Coding coding;
    std::string stream;
    Bytes rows;
    uint64_t damaged;
  } cases[] = {
      // What was read, and the rest white.
      {"no such code",
       kGroup3,
       eol + "1011 010 000000001 111" + eol + row + eol + row,
       {8, 15, 15},
       1},
      {"an empty row", kGroup3, eol + row + eol + eol + row, {15, 0, 15}, 0},
      {"row ends early", kGroup3, eol + "1000 11" + eol + row + eol + row, {0x18, 15, 15}, 1},
      {"clipped", kGroup3, eol + "1011 00010 1011" + eol + row + eol + row, {15, 15, 15}, 1},
      // 2-D rows behind damage repeat the last row until a 1-D row comes.
      {"damaged 2-D row",
       kGroup3TwoD,
       eol + "1 " + row + eol + "0 0000001 000" + eol + "0 1 1" + eol + "1 10011",
       {15, 15, 15, 0},
       2},
      // Without an end-of-line code what follows belongs to no row.
      {"code missing", kGroup3TwoD, eol + "1 " + row + "10011" + eol + "1 " + row, {15, 15}, 0},
      {"no first code", kGroup3TwoD, row + eol + "0 1 1" + eol + "1 10011", {15, 15, 0}, 0},
  };
  for (const auto& c : cases) {
    const Result result = decode(bits(c.stream), c.coding, 8, static_cast<uint32_t>(c.rows.size()));
    EXPECT_EQ(result.status, kOk) << c.what;
    ASSERT_EQ(result.rows.size(), c.rows.size()) << c.what;
    for (size_t y = 0; y < c.rows.size(); ++y) EXPECT_EQ(result.rows[y][0], c.rows[y]) << c.what;
    EXPECT_EQ(result.damaged, c.damaged) << c.what;
  }
}

TEST(Ccitt, StreamsThatEndTellHow) {
  const std::string horizontal = "001 " + row;
  const struct {
    const char* what;
    Coding coding;
    std::string stream;
    Status status;
    size_t rows;
  } cases[] = {
      {"no end code", kGroup4, horizontal + "11 11", kOk, 3},
      {"end code early: the rest is white", kGroup4, horizontal + eol + eol, kOk, 3},
      {"Group 4 cut", kGroup4, horizontal + "11 0", kReadError, 2},
      {"no such mode", kGroup4, horizontal + "00000001 11111111111111", kBadData, 1},
      {"change left of the row", kGroup4, "001 00110101 000101 010 1111111111111111", kBadData, 1},
      {"uncompressed mode", kGroup4, "0000001111 1111111111111", kSubtype, 0},
      {"Group 3 cut", kGroup3, eol + row + eol + row, kReadError, 2},
      {"no end-of-line codes, no such code", kGroup3, row + "000000001 1111111111111" + row + row,
       kBadData, 1},
      {"control", kGroup3, eol + row + eol + eol + eol + eol + eol + eol, kOk, 3},
      {"too few of its codes", kGroup3, eol + row + eol + eol, kOk, 3},
      {"runs cut", kRuns, row + "0" + row + "0", kReadError, 2},
      {"runs, no such code", kRuns, row + "0 000000001 1111111111111", kBadData, 1},
      {"nothing", kGroup4, "", kReadError, 0},
  };
  for (const auto& c : cases) {
    for (const size_t step : {0, 1}) {
      const Result result = decode(bits(c.stream), c.coding, 8, 3, false, step);
      EXPECT_EQ(result.status, c.status) << c.what;
      EXPECT_EQ(result.rows.size(), c.rows) << c.what;
    }
  }
}

// Whatever the bytes: the same end however they arrive.
TEST(Ccitt, DamagedDataGiveTheSameInPieces) {
  Random random(9);
  for (int round = 0; round < 1000; ++round) {
    const uint32_t width = 1 + random.below(round % 10 == 0 ? 5000 : 100);
    const Coding coding = kCodings[random.below(5)];
    Bytes data = encode(random_picture(random, width, 12, 1 + random.below(60)), {coding});
    const uint32_t changes = 1 + random.below(6);
    for (uint32_t n = 0; n < changes; ++n) data[random.below(data.size())] = random.byte();
    const Result whole = decode(data, coding, width, 20);
    const Result pieces = decode(data, coding, width, 20, false, 1 + random.below(9));
    ASSERT_EQ(whole.status, pieces.status);
    ASSERT_EQ(whole.rows, pieces.rows);
    ASSERT_EQ(whole.damaged, pieces.damaged);
    const int padding = width % 8 ? 0xFF >> width % 8 : 0;
    for (const Bytes& bytes : whole.rows) ASSERT_EQ(bytes.back() & padding, 0);
  }
}

TEST(Ccitt, FailingSinksAndSizesAreStatuses) {
  Random random(1);
  const Picture picture = random_picture(random, 70000, 2, 1);
  struct {
    Status write(std::span<const uint8_t>) { return kWriteError; }
  } full;
  Encoder failing(full);
  ASSERT_EQ(failing.start({}, 70000), kOk);
  Status status = kOk;
  for (int i = 0; i < 40 && status.ok(); ++i) status = failing.encode_row(pack(picture[i % 2]));
  EXPECT_EQ(failing.finish(), kWriteError);
  EXPECT_EQ(Decoder().start(Coding::kGroup4, 0, false), kBadSize);
  EXPECT_EQ(Decoder().start(Coding::kGroup4, 0x80000000u, false), kBadSize);
}

}  // namespace
}  // namespace tavo::ccitt
