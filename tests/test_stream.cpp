// Files to files row by row: the same bytes as by whole pictures, and nothing held.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"
#include "platform/platform.h"

namespace tavo::test {
namespace {

constexpr int32_t kQuality = 25;

class Stream : public testing::TestWithParam<FormatCase> {};
INSTANTIATE_TEST_SUITE_P(All, Stream, testing::ValuesIn(format_cases()),
                         [](const auto& format) { return format.param.name; });

// Every format and depth there is; the second time the page is one more where files have pages.
// (Some files say what their name is.)
TEST_P(Stream, GivesTheBytesOfAConversion) {
  for (const Sample& sample : GetParam().samples) {
    Disk disk;
    disk.files["in"] = sample.file;
    T_Format to;
    for (uint32_t i = 0; T_GetFormat(i, &to) == T_OK; ++i) {
      for (const int32_t bits : {0, 1, 4, 8, 16, 24, 32}) {
        disk.files.erase("want/out");
        disk.files.erase("got/out");
        for (const int32_t page : {1, 2}) {
          SCOPED_TRACE(testing::Message() << sample.name << " to " << to.Id << " at " << bits);
          T_SetPageNumber(page);
          const int32_t want = T_ConvertFile("in", "want/out", to.Id, bits, kQuality);
          const int32_t got = T_StreamFile("in", "got/out", to.Id, bits, kQuality);
          T_SetPageNumber(1);
          EXPECT_EQ(got, want);
          ASSERT_TRUE(disk.files["got/out"] == disk.files["want/out"]);
        }
      }
    }
  }
}

struct Pair {
  const char* what;
  int32_t from;
  int32_t from_bits;
  int32_t to;
  int32_t to_bits;
};

// Rows as they are, placed from the bottom, grey, widened, in another order.
constexpr Pair kPairs[] = {{"as they are", T_FORMAT_TIFF_GROUP4, 1, T_FORMAT_TIFF_LZW, 1},
                           {"placed", T_FORMAT_TIFF_GROUP4, 1, T_FORMAT_BMP, 1},
                           {"grey", T_FORMAT_TIFF_LZW, 24, T_FORMAT_JPEG, 8},
                           {"widened", T_FORMAT_GIF, 8, T_FORMAT_PCX, 24},
                           {"from the end", T_FORMAT_BMP, 24, T_FORMAT_JPEG, 24},
                           {"from the end, lines", T_FORMAT_TGA, 8, T_FORMAT_GIF, 8},
                           {"stored order", T_FORMAT_BMP, 24, T_FORMAT_TGA, 16}};

// All blocks that are ever taken make up less than half of the picture.
TEST(StreamFile, NeverHoldsThePicture) {
  constexpr int32_t kHigh = 20000;
  for (const Pair& pair : kPairs) {
    const int32_t width = pair.from_bits == 1 ? 2000 : 130;
    Disk disk;
    disk.files["in"] = saved_sample(pair.from, pair.from_bits, width, kHigh);
    const uint64_t before = platform::bytes_taken();
    EXPECT_EQ(T_StreamFile("in", "out", pair.to, pair.to_bits, kQuality), T_OK) << pair.what;
    const uint64_t picture = uint64_t{kHigh} * ((width * pair.from_bits + 31) / 32 * 4);
    EXPECT_LT(platform::bytes_taken() - before, picture / 2) << pair.what;
  }
}

TEST(StreamFile, AnyFailingFileOperationAndRefusedMemoryEndItCleanly) {
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(pair.what);
    const Bytes source = saved_sample(pair.from, pair.from_bits, 90, 40);
    const auto stream = [&] { return T_StreamFile("in", "out", pair.to, pair.to_bits, kQuality); };
    Bytes whole;
    for (const uint32_t torn_eighths : {0u, 4u}) {
      for (int64_t n = -1;; ++n) {
        Disk disk;
        disk.files["in"] = source;
        disk.torn_eighths = torn_eighths;
        disk.fail_at = n;
        const int32_t status = stream();
        if (n < 0) whole = disk.files["out"];
        EXPECT_EQ(disk.open_count, 0);
        if (status == T_OK) {  // reading ahead may fail behind the last row
          EXPECT_TRUE(disk.files["out"] == whole) << "operation " << n;
        } else {
          EXPECT_EQ(status, disk.fault_status) << "operation " << n;
        }
        if (n >= 0 && !disk.fault_hit()) break;
      }
    }
    Disk disk;
    disk.files["in"] = source;
    refuse_each([&](BitmapHandle*) { return stream(); });
  }
}

TEST(StreamFile, ACutSourceLeavesAPartAndOneThatStreamsOntoItselfIsHeld) {
  for (const Pair& pair : kPairs) {
    SCOPED_TRACE(pair.what);
    Disk disk;
    Bytes& in = disk.files["in"] = saved_sample(pair.from, pair.from_bits, 90, 40);
    ASSERT_EQ(T_ConvertFile("in", "want", pair.to, pair.to_bits, kQuality), T_OK);
    ASSERT_EQ(T_StreamFile("in", "in", pair.to, pair.to_bits, kQuality), T_OK);
    EXPECT_TRUE(in == disk.files["want"]);
  }
  Disk disk;
  Bytes& in = disk.files["in"] = saved_sample(T_FORMAT_BMP, 24, 90, 400);
  in.resize(in.size() / 2);
  EXPECT_EQ(T_ConvertFile("in", "none", T_FORMAT_TGA, 24, 0), T_ERR_READ);
  EXPECT_EQ(disk.files.count("none"), 0u);
  EXPECT_EQ(T_StreamFile("in", "part", T_FORMAT_TGA, 24, 0), T_ERR_READ);
  EXPECT_FALSE(disk.files["part"].empty());
}

}  // namespace
}  // namespace tavo::test
