#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "codec/ccitt_codes.h"
#include "codec/ccitt_decoder.h"
#include "codec/ccitt_encoder.h"
#include "platform/platform.h"

namespace tavo::ccitt {
namespace {

using Bytes = std::vector<uint8_t>;
using Row = std::vector<bool>;  // black = true
using Picture = std::vector<Row>;
using Random = std::minstd_rand;  // draws fit 32 bits

// ---- A plain decoder: one bit at a time, pixels instead of change lists ----

class PlainDecoder {
 public:
  PlainDecoder(const Bytes& data, Coding coding, uint32_t width)
      : data_(data), coding_(coding), width_(width), above_(width, false) {}

  Row row() {
    bool is_1d = coding_ != Coding::kGroup4;
    if (coding_ == Coding::kRuns) at_ = (at_ + 7) / 8 * 8;
    if (coding_ == Coding::kRuns16) at_ = (at_ + 15) / 16 * 16;
    if (coding_ == Coding::kGroup3 || coding_ == Coding::kGroup3TwoD) {
      int zeros = 0;
      while (!bit()) ++zeros;
      EXPECT_GE(zeros, 11);
      if (coding_ == Coding::kGroup3TwoD) is_1d = bit();
    }
    Row row(width_, false);
    if (is_1d) {
      bool black = false;
      for (size_t x = 0; x < width_; black = !black) x = paint(row, x, run(black), black);
    } else {
      row_2d(row);
    }
    above_ = row;
    return row;
  }

 private:
  bool bit() {
    if (at_ / 8 >= data_.size()) throw std::string("out of data");
    const bool value = data_[at_ / 8] >> (7 - at_ % 8) & 1;
    ++at_;
    return value;
  }

  static size_t paint(Row& row, size_t x, size_t count, bool black) {
    for (; count > 0; --count) row.at(x++) = black;
    return x;
  }

  uint32_t run(bool black) {
    for (uint32_t total = 0;;) {
      const uint32_t part = run_code(black);
      total += part;
      if (part < 64) return total;
    }
  }

  uint32_t run_code(bool black) {
    uint32_t bits = 0;
    for (uint32_t length = 1; length <= 13; ++length) {
      bits = bits << 1 | bit();
      for (uint32_t run = 0; run <= kMaxMakeUp; run += run < 64 ? 1 : 64) {
        const Code code = run < 64 ? terminating_code(run, black) : make_up_code(run, black);
        if (code.length == length && code.bits == bits) return run;
      }
    }
    throw std::string("no run code");
  }

  // First change of the row above to the opposite of `black`, at `from` or right of it.
  size_t b1(size_t from, bool black) const {
    for (size_t x = from; x < width_; ++x) {
      const bool left = x > 0 && above_[x - 1];
      if (above_[x] != left && above_[x] != black) return x;
    }
    return width_;
  }

  void row_2d(Row& row) {
    bool black = false;
    for (size_t x = 0, from = 0; x < width_; from = x + 1) {
      const size_t first = b1(from, black);
      int zeros = 0;
      while (!bit()) ++zeros;
      size_t a1 = first;
      if (zeros == 3) {  // pass
        size_t b2 = first;
        while (b2 < width_ && above_[b2] != black) ++b2;
        x = paint(row, x, b2 - x, black);
        continue;
      }
      if (zeros == 2) {  // horizontal
        x = paint(row, x, run(black), black);
        x = paint(row, x, run(!black), !black);
        continue;
      }
      const size_t apart[] = {0, 1, 0, 0, 2, 3};
      if (zeros > 5) throw std::string("no mode");
      if (zeros > 0) a1 = bit() ? first + apart[zeros] : first - apart[zeros];
      x = paint(row, x, a1 - x, black);
      black = !black;
    }
  }

  const Bytes& data_;
  Coding coding_;
  uint32_t width_;
  Row above_;
  size_t at_ = 0;
};

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
uint32_t draw(Random& random, uint32_t below) {
  return static_cast<uint32_t>(random() >> 8) % below;
}

Picture random_picture(Random& random, uint32_t width, uint32_t height, uint32_t longest) {
  Picture picture;
  Row above(width, false);
  for (uint32_t y = 0; y < height; ++y) {
    Row row = above;
    switch (draw(random, 6)) {
      case 0:
        break;
      case 1:
        row.assign(width, draw(random, 4) == 0);
        break;
      case 2: {
        bool black = draw(random, 2) != 0;
        for (uint32_t x = 0; x < width; black = !black) {
          for (uint32_t n = draw(random, longest) + 1; n > 0 && x < width; --n) row[x++] = black;
        }
        break;
      }
      default:
        for (uint32_t n = draw(random, 8); n > 0; --n) {
          const uint32_t from = draw(random, width);
          const uint32_t to =
              std::min(width, from + 1 + draw(random, draw(random, 2) ? 4 : longest));
          const bool black = draw(random, 2) != 0;
          for (uint32_t x = from; x < to; ++x) row[x] = black;
        }
        break;
    }
    picture.push_back(row);
    above = row;
  }
  return picture;
}

struct Collector {
  Bytes bytes;
  Status write(std::span<const uint8_t> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    return kOk;
  }
};

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

// Hands out `step` bytes a call, so that refills happen everywhere.
struct Drip {
  const Bytes& data;
  size_t step;
  size_t at = 0;
  Status read_some(std::span<uint8_t> into, size_t& got) {
    got = std::min({step, into.size(), data.size() - at});
    std::copy_n(data.data() + at, got, into.begin());
    at += got;
    return kOk;
  }
};

struct Result {
  Status status = kOk;
  std::vector<Bytes> rows;
  uint64_t damaged = 0;
};

Result decode(const Bytes& data, Coding coding, uint32_t width, uint32_t height,
              bool is_reversed = false, size_t step = 0) {
  Drip drip{data, step};
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
        const EncoderOptions options{coding, draw(random, 2) != 0, draw(random, 2) != 0,
                                     draw(random, 5)};
        const Bytes data = encode(picture, options);
        const Result result = decode(data, coding, width, picture.size(), options.is_reversed,
                                     draw(random, 2) ? 0u : 1 + draw(random, 70));
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

TEST(Ccitt, AgreesWithThePlainDecoder) {
  Random random(8);
  for (int round = 0; round < 60; ++round) {
    const uint32_t width = 1 + draw(random, 300);
    const Picture picture = random_picture(random, width, 30, 1 + draw(random, 40));
    for (const Coding coding : kCodings) {
      const Bytes data = encode(picture, {coding});
      PlainDecoder plain(data, coding, width);
      for (const Row& row : picture) ASSERT_EQ(plain.row(), row);
    }
  }
}

const char kEol[] = "000000000001 ";
const char kRow[] = "1011 011 ";  // ....####
const Bytes kPacked = {0x0F};

TEST(Ccitt, Group3RowsNeedNoParticularFraming) {
  const std::string eol = kEol;
  const std::string row = kRow;
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
  const std::string eol = kEol;
  const std::string row = kRow;
  const std::string tag_1d = eol + "1 " + row;
  const struct {
    const char* what;
    Coding coding;
    std::string stream;
    std::vector<uint8_t> rows;
    uint64_t damaged;
  } cases[] = {
      {"no such code: what was read, rest white",
       Coding::kGroup3,
       eol + "1011 010 000000001 111" + eol + row + eol + row,
       {0x08, 0x0F, 0x0F},
       1},
      {"nothing between two codes: an empty row",
       Coding::kGroup3,
       eol + row + eol + eol + row,
       {0x0F, 0x00, 0x0F},
       0},
      {"row ends early",
       Coding::kGroup3,
       eol + "1000 11" + eol + row + eol + row,
       {0x18, 0x0F, 0x0F},
       1},
      {"row too long: clipped",
       Coding::kGroup3,
       eol + "1011 00010 1011" + eol + row + eol + row,
       {0x0F, 0x0F, 0x0F},
       1},
      // 2-D rows behind damage repeat the last row until a 1-D row comes.
      {"damaged 2-D row",
       Coding::kGroup3TwoD,
       tag_1d + eol + "0 0000001 000" + eol + "0 1 1" + eol + "1 10011",
       {0x0F, 0x0F, 0x0F, 0x00},
       2},
      {"code missing in the middle: the row is skipped",
       Coding::kGroup3TwoD,
       eol + "1 " + row + "10011" + tag_1d,
       {0x0F, 0x0F},
       0},
      {"first code missing",
       Coding::kGroup3TwoD,
       row + eol + "0 1 1" + eol + "1 10011",
       {0x0F, 0x0F, 0x00},
       0},
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
  const std::string eol = kEol;
  const std::string row = kRow;
  const std::string horizontal = "001 " + row;
  const struct {
    const char* what;
    Coding coding;
    std::string stream;
    Status status;
    size_t rows;
  } cases[] = {
      {"Group 4 without an end code", Coding::kGroup4, horizontal + "11 11", kOk, 3},
      {"end code early: the rest is white", Coding::kGroup4, horizontal + eol + eol, kOk, 3},
      {"Group 4 cut", Coding::kGroup4, horizontal + "11 0", kReadError, 2},
      {"Group 4, no such mode", Coding::kGroup4, horizontal + "00000001 11111111111111", kBadData,
       1},
      {"Group 4, change left of the row", Coding::kGroup4,
       "001 00110101 000101 010 1111111111111111", kBadData, 1},
      {"uncompressed mode", Coding::kGroup4, "0000001111 1111111111111", kSubtype, 0},
      {"Group 3 cut", Coding::kGroup3, eol + row + eol + row, kReadError, 2},
      {"Group 3 without end-of-line codes, no such code", Coding::kGroup3,
       row + "000000001 1111111111111" + row + row, kBadData, 1},
      {"return to control early", Coding::kGroup3, eol + row + eol + eol + eol + eol + eol + eol,
       kOk, 3},
      {"too few of its codes", Coding::kGroup3, eol + row + eol + eol, kOk, 3},
      {"runs cut", Coding::kRuns, row + "0" + row + "0", kReadError, 2},
      {"runs, no such code", Coding::kRuns, row + "0 000000001 1111111111111", kBadData, 1},
      {"nothing", Coding::kGroup4, "", kReadError, 0},
  };
  for (const auto& c : cases) {
    for (const size_t step : {0, 1}) {
      const Result result = decode(bits(c.stream), c.coding, 8, 3, false, step);
      EXPECT_EQ(result.status, c.status) << c.what;
      EXPECT_EQ(result.rows.size(), c.rows) << c.what;
    }
  }
}

// Whatever the bytes: an end, and the same one however they arrive.
TEST(Ccitt, SurvivesMutations) {
  Random random(9);
  for (int round = 0; round < 3000; ++round) {
    const uint32_t width = 1 + draw(random, round % 10 == 0 ? 5000 : 100);
    const Coding coding = kCodings[draw(random, 5)];
    Bytes data = encode(random_picture(random, width, 12, 1 + draw(random, 60)), {coding});
    for (uint32_t n = 1 + draw(random, 6); n > 0; --n) {
      data[draw(random, static_cast<uint32_t>(data.size()))] = static_cast<uint8_t>(random() >> 8);
    }
    for (uint32_t n = draw(random, 3); n > 0 && !data.empty(); --n) data.pop_back();
    const Result whole = decode(data, coding, width, 20);
    const Result dripping = decode(data, coding, width, 20, false, 1 + draw(random, 9));
    ASSERT_EQ(whole.status, dripping.status);
    ASSERT_EQ(whole.rows, dripping.rows);
    ASSERT_EQ(whole.damaged, dripping.damaged);
    for (const Bytes& row : whole.rows) {
      ASSERT_EQ(row.back() & static_cast<uint8_t>(width % 8 ? 0xFF >> width % 8 : 0), 0);
    }
  }
}

TEST(Ccitt, RefusedMemoryAndFailingSinksAreStatuses) {
  Random random(1);
  const Picture picture = random_picture(random, 70000, 2, 1);
  struct FullDisk {
    Status write(std::span<const uint8_t>) { return kWriteError; }
  } full;
  Encoder failing(full);
  ASSERT_EQ(failing.start({}, 70000), kOk);
  Status status = kOk;
  for (int i = 0; i < 40 && status.ok(); ++i) status = failing.encode_row(pack(picture[i % 2]));
  EXPECT_EQ(failing.finish(), kWriteError);

  EXPECT_EQ(Decoder().start(Coding::kGroup4, 0, false), kBadSize);
  EXPECT_EQ(Decoder().start(Coding::kGroup4, 0x80000000u, false), kBadSize);
  for (int n = 0;; ++n) {
    platform::refuse_allocation(n, true);
    Collector out;
    Encoder encoder(out);
    Status result = encoder.start({}, 70000);
    Decoder decoder;
    if (result.ok()) result = decoder.start(Coding::kGroup4, 70000, false);
    const bool was_refused = platform::allocation_was_refused();
    platform::refuse_allocation(-1, false);
    EXPECT_EQ(result, was_refused ? kNoMemory : kOk);
    if (!was_refused) break;
  }
}

}  // namespace
}  // namespace tavo::ccitt
