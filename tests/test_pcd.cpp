// Photo CD: levels, turns, overview packs, damage.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "codec/photocd_codes.h"
#include "codec/photocd_marks.h"
#include "photocd_pack.h"
#include "platform/platform.h"

namespace tavo::test {
namespace {

class PhotoCd : public ::testing::Test {
 protected:
  ~PhotoCd() override {
    T_SetPCDResolution(0);
    T_SetPageNumber(1);
  }
};

// Turned against the clock by so many quarters.
Bytes turned(const Bytes& rgb, size_t width, size_t height, int quarters) {
  const bool is_upright = quarters % 2 == 0;
  const size_t new_width = is_upright ? width : height, new_height = is_upright ? height : width;
  Bytes result;
  result.reserve(rgb.size());
  for (size_t y = 0; y < new_height; ++y) {
    for (size_t x = 0; x < new_width; ++x) {
      const std::pair<size_t, size_t> from[] = {
          {x, y}, {width - 1 - y, x}, {width - 1 - x, height - 1 - y}, {y, height - 1 - x}};
      const size_t at = 3 * (from[quarters].second * width + from[quarters].first);
      result.insert(result.end(), &rgb[at], &rgb[at] + 3);
    }
  }
  return result;
}

TEST_F(PhotoCd, LevelsAreWhatTheFormatSaysAndStandUpright) {
  Bytes file = photocd_pack().file;
  for (int quarters = 0; quarters < 4; ++quarters) {
    file[0xE02] = static_cast<uint8_t>(2 << 2 | quarters);
    for (int32_t level = 1; level <= 5; ++level) {
      SCOPED_TRACE(testing::Message() << "level " << level << ", quarters " << quarters);
      ASSERT_EQ(T_SetPCDResolution(level == 5 ? 0 : level), T_OK);
      const uint32_t width = photocd_width(level), height = photocd_height(level);
      const FILEINFO info = info_of(file);
      EXPECT_EQ(info.Width, static_cast<int32_t>(quarters % 2 == 0 ? width : height));
      EXPECT_EQ(info.Height, static_cast<int32_t>(quarters % 2 == 0 ? height : width));
      const uint64_t before = platform::bytes_taken();
      Rows rows;
      Bitmap target;
      ASSERT_EQ(T_LoadMemory(file.data(), target.get(), 24, T_ORDER_RGB, 0, Rows::sink, &rows,
                             static_cast<uint32_t>(file.size())),
                T_OK);
      EXPECT_TRUE(rows.bytes == turned(photocd_pack().rgb[level], width, height, quarters));
      EXPECT_EQ(T_GetRowsRead(), info.Height);
      EXPECT_LT(platform::bytes_taken() - before, uint64_t{8} << 20);
    }
  }
}

TEST_F(PhotoCd, LevelsThatAreNotThereAreThoseBelow) {
  const Bytes& whole = photocd_pack().file;
  const size_t to_4base = photocd_pack().marks.back();
  const struct {
    size_t bytes;
    uint8_t attributes;
    int32_t asked, level, status;
  } cases[] = {
      {whole.size(), 2 << 2, 4, 4, T_OK},   {whole.size(), 1 << 2, 0, 4, T_OK},
      {whole.size(), 0, 5, 3, T_OK},        {to_4base, 2 << 2, 0, 4, T_ERR_READ},
      {389 * 2048, 2 << 2, 0, 3, T_OK},     {384 * 2048, 1 << 2, 4, 3, T_OK},
      {384 * 2048 - 1, 0, 0, 2, T_OK},      {95 * 2048 - 1, 0, 0, 1, T_OK},
      {22 * 2048 - 1, 0, 0, 1, T_ERR_READ}, {2048 + 7, 0, 0, 1, T_ERR_READ},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bytes);
    Bytes file = part(whole, 0, c.bytes);
    if (file.size() > 0xE02) file[0xE02] = c.attributes;
    T_SetPCDResolution(c.asked);
    EXPECT_EQ(info_of(file).Width, static_cast<int32_t>(photocd_width(c.level)));
    Bitmap bitmap;
    EXPECT_EQ(load(file, bitmap), c.status);
  }
  EXPECT_EQ(T_SetPCDResolution(6), T_ERR_ARGUMENT);
  EXPECT_EQ(T_SetPCDResolution(-1), T_ERR_ARGUMENT);
}

TEST_F(PhotoCd, SmallSizesTakeSmallLevels) {
  const Bytes& file = photocd_pack().file;
  Disk disk;
  disk.files["in"] = file;
  Bitmap draft, small, smallest;
  ASSERT_EQ(T_LoadBitmapFine("in", draft.get(), 24, -1, 96, 64, T_SIZE_BOX | T_SIZE_DRAFT), T_OK);
  T_SetPCDResolution(2);  // an eighth of 16Base
  ASSERT_EQ(T_LoadBitmapFine("in", small.get(), 24, -1, 96, 64, T_SIZE_BOX), T_OK);
  EXPECT_EQ(pixels(draft.get()), pixels(small.get()));
  T_SetPCDResolution(1);  // nothing is smaller
  EXPECT_EQ(T_LoadBitmapFine("in", smallest.get(), 24, -1, 8, 8, T_SIZE_BOX | T_SIZE_DRAFT), T_OK);
}

// Rows of 4Base with and without what is damaged.
struct Damaged {
  int32_t status;
  int32_t whole;  // rows
  Bytes rows;
};
Damaged load_4base(const Bytes& file) {
  T_SetPCDResolution(4);
  Bitmap bitmap;
  const int32_t status = T_LoadMemory(file.data(), bitmap.get(), 24, T_ORDER_RGB, T_LOAD_ALLOCATE,
                                      nullptr, nullptr, static_cast<uint32_t>(file.size()));
  return {status, T_GetRowsRead(), rgb(bitmap.get())};
}
constexpr size_t kLine = 3 * 1536;
Bytes row_of(const Bytes& rows, size_t y) { return part(rows, y * kLine, kLine); }

TEST_F(PhotoCd, RowsWithoutAMarkAreEnlarged) {
  const PhotoCdPack& pack = photocd_pack();
  Bytes file = pack.file;
  file[pack.marks[500] + 1] ^= 0x10;
  const Damaged got = load_4base(file);
  EXPECT_EQ(got.status, T_OK);
  EXPECT_EQ(got.whole, 500);
  Bytes want = pack.rgb[4];
  const Bytes enlarged = row_of(pack.enlarged_base, 500);
  std::copy(enlarged.begin(), enlarged.end(), want.begin() + 500 * kLine);
  EXPECT_TRUE(got.rows == want);
}

TEST_F(PhotoCd, TheRestOfALevelIsEnlarged) {
  const PhotoCdPack& pack = photocd_pack();
  Damaged got = load_4base(part(pack.file, 0, pack.marks[300]));
  EXPECT_EQ(got.status, T_ERR_READ);
  EXPECT_GE(got.whole, 299);
  EXPECT_LE(got.whole, 300);
  EXPECT_EQ(row_of(got.rows, 298), row_of(pack.rgb[4], 298));
  EXPECT_TRUE(part(got.rows, 301 * kLine) == part(pack.enlarged_base, 301 * kLine));

  Bytes no_table = pack.file;
  no_table[388 * 2048 + 1] = 16;
  got = load_4base(no_table);
  EXPECT_EQ(got.status, T_ERR_READ);
  EXPECT_TRUE(got.rows == pack.enlarged_base);
}

TEST_F(PhotoCd, LevelsWithoutAnyMarkEnd) {
  for (const uint8_t filler : {0x00, 0xFF, 0xFE}) {
    Disk disk;
    Bytes& file = disk.files["in"] = part(photocd_pack().file, 0, 389 * 2048);
    file.resize(size_t{24} << 20, filler);
    EXPECT_TRUE(load_4base(file).rows == photocd_pack().enlarged_base);
    EXPECT_LT(disk.bytes_read, uint64_t{8} << 20);
  }
}

TEST_F(PhotoCd, OverviewsArePages) {
  Bytes file = part(photocd_pack().file, 0, 0);
  file.resize(5 * 2048);
  std::copy_n("PCD_OPA", 7, file.begin());
  file[11] = 9;  // more than there are
  const Bytes picture = part(photocd_pack().file, 4 * 2048, 18 * 2048);
  file = join({file, Bytes(picture.size(), 156), picture, part(picture, 0, 9000)});
  EXPECT_EQ(info_of(file).PageCount, 3);
  T_SetPageNumber(2);
  Bitmap second, third;
  ASSERT_EQ(load(file, second), T_OK);
  EXPECT_EQ(rgb(second.get()), photocd_pack().rgb[1]);
  T_SetPageNumber(9);
  EXPECT_EQ(info_of(file).Page, 3);
  EXPECT_EQ(load(file, third), T_ERR_READ);
  file[11] = 0;
  EXPECT_EQ(read_directly(T_LoadPCDFile, file), T_ERR_BAD_DATA);
}

TEST_F(PhotoCd, EveryFailureOfFilesAndMemoryIsTold) {
  T_SetPCDResolution(4);
  Disk disk;
  disk.files["in"] = photocd_pack().file;
  const Leftovers before = leftovers();
  for (int64_t n = 0;; n += 1 + n / 16) {
    disk.operations = 0;
    disk.fail_at = n;
    Bitmap bitmap;
    const int32_t status = T_LoadPCDBitmap("in", bitmap.get());
    if (!disk.fault_hit()) break;
    EXPECT_EQ(status, disk.fault_status) << n;
    EXPECT_EQ(disk.open_count, 0);
  }
  EXPECT_EQ(leftovers(), before);
  disk.fail_at = -1;
  refuse_each([](BitmapHandle* bitmap) { return T_LoadPCDBitmap("in", bitmap); });
}

TEST_F(PhotoCd, RandomMutationsGiveADocumentedStatus) {
  Random random(57);
  for (int i = 0; i < 60; ++i) {
    Bytes file = part(photocd_pack().file, 0, photocd_pack().marks[100]);
    for (int n = 0; n < 200; ++n) {
      const size_t first = i % 2 == 0 ? 388 * 2048 : 0;
      file[first + random.below(file.size() - first)] = random.byte();
    }
    T_SetPCDResolution(i % 3 + 2);
    Bitmap bitmap;
    EXPECT_TRUE(is_documented(load(file, bitmap)));
  }
}

// Tables and rows of noise: nothing beyond what is promised is read or written.
TEST_F(PhotoCd, CodesOfNoiseStayInTheirRow) {
  Random random(58);
  Array<photocd::CodeTable> table;
  ASSERT_TRUE(table.allocate(1).ok());
  for (int i = 0; i < 3000; ++i) {
    Bytes codes = random.bytes(photocd::kLargestTable);
    for (size_t at = 1; at < codes.size(); at += 4) codes[at] %= i % 16 + 1;
    const uint32_t count = 1 + random.below(300);
    const Bytes bytes = random.bytes(2 * count + photocd::kCodeSlack);
    std::vector<int8_t> out[3] = {};
    for (auto& row : out) row.resize(count + 3);
    const auto row = [&](int n) {
      return photocd::CodedRow{bytes.data(), i % 8u, 7 * count, out[n].data(), 0};
    };
    photocd::CodedRow one = row(0), two = row(1), alone = row(2);
    two.skipped = 0;
    EXPECT_GT(table[0].parse(codes), 0u);
    table[0].decode(one, two, count);
    table[0].decode(alone, count);
    EXPECT_LE(two.found, count);
    ASSERT_EQ(one.found, alone.found);
    EXPECT_TRUE(std::equal(one.out, one.out + one.found, alone.out));
  }
}

}  // namespace
}  // namespace tavo::test
