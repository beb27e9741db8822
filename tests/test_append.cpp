// Pages added to files that hold some: what is refused, and that nothing which fails costs a page.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include "base/settings.h"
#include "format_cases.h"
#include "platform/platform.h"

namespace tavo::test {
namespace {

constexpr uint32_t kDcxMagic = 0x3ADE68B1;

int32_t append(const char* name, int32_t format, BitmapHandle* bitmap) {
  return T_SaveFile(name, bitmap, format, bitmap->BitsPerPixel, 0, T_SAVE_APPEND, 0, 0);
}

// The colours of page `page` in Disk's file "a"; nothing when it does not load.
Bytes page_rgb(int32_t page) {
  T_SetPageNumber(page);
  Bitmap bitmap;
  const int32_t status = T_LoadBitmap("a", bitmap.get(), 0, -1);
  T_SetPageNumber(1);
  return status == T_OK ? rgb(bitmap.get()) : Bytes();
}

int32_t page_count() {
  FILEINFO info;
  return T_FileInfo("a", &info) == T_OK ? info.PageCount : 0;
}

Bytes saved(int32_t format, BitmapHandle* bitmap) {
  Disk disk;
  EXPECT_EQ(append("a", format, bitmap), T_OK);
  return disk.files["a"];
}

// Larger than the pieces that are moved; with `noise` every byte of the data could be the head of
// a run.
Bytes large_pcx(int32_t bits, bool noise) {
  Bitmap picture;
  make_picture(picture, 230, 200, bits);
  Random random(7);
  Bytes row(picture->BytesPerLine);
  T_AccessBitmap(picture.get());
  for (uint32_t y = 0; noise && y < 200; ++y) {
    for (uint8_t& byte : row) byte = static_cast<uint8_t>(0xC0 | random.next());
    T_PutBitmapRow(picture.get(), row.data(), y, picture->BytesPerLine);
  }
  T_ReleaseBitmap(picture.get());
  return saved(T_FORMAT_PCX, picture.get());
}

Bytes pages_of(int32_t format, int32_t width, std::initializer_list<int32_t> depths) {
  Disk disk;
  for (const int32_t bits : depths) {
    Bitmap picture;
    make_picture(picture, width, 60, bits);
    EXPECT_EQ(append("a", format, picture.get()), T_OK);
  }
  return disk.files["a"];
}

// Ends inside a run, as files do that were cut.
Bytes cut_pcx() {
  Bytes file = large_pcx(24, false);
  size_t head = file.size() / 2;
  while (file[head - 1] >= 0xC0 || file[head] < 0xC2) ++head;
  file.resize(head + 1);
  return file;
}

enum class Move { kNone, kOnePicture, kPages };

struct PagesFile {
  const char* what;
  int32_t format;
  Bytes file;
  Move move = Move::kNone;
};

std::vector<PagesFile> pages_files() {
  const Bytes one = large_pcx(8, false), two = large_pcx(8, true);
  const Bytes dense = join({le32(kDcxMagic), le32(16), le32(16 + one.size()), le32(0), one, two});
  return {
      {"TIFF", T_FORMAT_TIFF_LZW, pages_of(T_FORMAT_TIFF_LZW, 50, {8, 24, 1})},
      {"TIFF, big-endian", T_FORMAT_TIFF,
       tiff_file(tiff_tags(4, 1, 8, 1, 1, 1, 4), {1, 2, 3, 4}, true)},
      {"DCX", T_FORMAT_PCX, pages_of(T_FORMAT_PCX, 400, {24, 8, 8})},
      {"PCX of 8 bits", T_FORMAT_PCX, one, Move::kOnePicture},
      {"PCX of runs", T_FORMAT_PCX, two, Move::kOnePicture},
      {"PCX of 24 bits", T_FORMAT_PCX, large_pcx(24, false), Move::kOnePicture},
      {"PCX, cut", T_FORMAT_PCX, cut_pcx(), Move::kOnePicture},
      {"DCX without room", T_FORMAT_PCX, dense, Move::kPages},
  };
}

// A picture that is moved can be read after whatever operation is the last; but while a write that
// is cut short must be taken back, or pages are moved, further operations have to work.
bool is_promised(Move move, uint32_t torn_eighths, bool stays_broken) {
  return !stays_broken || move == Move::kNone || (move == Move::kOnePicture && torn_eighths == 0);
}

// Fails the n-th file operation of an append for n = 0, 1, 2, ..., alone or with all after it, and
// writes after a part of their bytes: never success, and the pages before stay.
TEST(Append, WhateverFailsCostsNoPage) {
  for (const PagesFile& c : pages_files()) {
    Disk disk;
    disk.files["a"] = c.file;
    std::vector<Bytes> want;
    const int32_t count = page_count();
    for (int32_t page = 1; page <= count; ++page) want.push_back(page_rgb(page));
    Bitmap added;
    make_picture(added, 40, 30, 8);
    Bytes whole;
    for (const bool stays_broken : {false, true}) {
      for (const uint32_t torn_eighths : {0u, 4u, 8u}) {
        if (!is_promised(c.move, torn_eighths, stays_broken)) continue;
        bool was_hit = true;
        for (int64_t n = 0; was_hit; ++n) {
          SCOPED_TRACE(testing::Message() << c.what << ", operation " << n << ", " << torn_eighths
                                          << "/8" << (stays_broken ? " on" : ""));
          disk.files["a"] = c.file;
          disk.operations = 0;
          disk.stays_broken = stays_broken;
          disk.torn_eighths = torn_eighths;
          disk.fail_at = n;
          const int32_t status = append("a", c.format, added.get());
          was_hit = disk.fault_hit();
          disk.fail_at = -1;
          EXPECT_EQ(disk.open_count, 0);
          EXPECT_EQ(status == T_OK, !was_hit);
          EXPECT_GE(page_count(), count);
          for (int32_t page = 1; page <= count; ++page) {
            ASSERT_TRUE(page_rgb(page) == want[page - 1]) << "page " << page;
          }
        }
        EXPECT_EQ(page_count(), count + 1) << c.what;
        EXPECT_EQ(page_rgb(count + 1), rgb(added.get())) << c.what;
        whole = disk.files["a"];
      }
    }
    if (c.move != Move::kOnePicture) continue;
    EXPECT_TRUE(std::equal(c.file.begin(), c.file.end(), whole.begin() + 4100)) << c.what;
    EXPECT_EQ(whole.size(), 4100 + c.file.size() + saved(T_FORMAT_PCX, added.get()).size());
  }
}

// What is there decides: only what was read and is no file of pages is written anew.
TEST(Append, AFileIsReplacedOnlyWhenItIsOfAnotherFormat) {
  const Bytes bmp = pages_of(T_FORMAT_BMP, 9, {24});
  const Bytes text = {'n', 'o', ' ', 'p', 'i', 'c', 't', 'u', 'r', 'e'};
  for (const int32_t format : {T_FORMAT_PCX, T_FORMAT_TIFF_LZW}) {
    Bitmap added;
    make_picture(added, 40, 30, 8);
    const Bytes alone = saved(format, added.get());
    const Bytes pages = pages_of(format, 30, {8, 24, 8});
    Bytes damaged = pages;  // the first page's header or directory
    std::fill_n(damaged.begin() + (format == T_FORMAT_PCX ? 4100 : 8), 16, 0xEE);
    Bytes unknown = alone;
    unknown[0] = 0xEE;
    const struct {
      const char* what;
      const Bytes* before;  // null: no file
      int32_t want;
      bool is_replaced;
    } cases[] = {{"nothing there", nullptr, T_OK, true},
                 {"an empty file", &text, T_OK, true},
                 {"a BMP file", &bmp, T_OK, true},
                 {"text", &text, T_ERR_BAD_DATA, false},
                 {"a damaged first byte", &unknown, T_ERR_BAD_DATA, false},
                 {"a damaged first page", &damaged, T_OK, false},
                 {"one page", &alone, T_OK, false}};
    for (const auto& c : cases) {
      SCOPED_TRACE(testing::Message() << c.what << ", format " << format);
      Disk disk;
      const bool is_empty = c.before == &text && c.is_replaced;
      const Bytes before = c.before == nullptr || is_empty ? Bytes() : *c.before;
      if (c.before != nullptr) disk.files["a"] = before;
      EXPECT_EQ(append("a", format, added.get()), c.want);
      if (c.is_replaced) {
        EXPECT_EQ(disk.files["a"], alone);
      } else if (c.want != T_OK) {
        EXPECT_EQ(disk.files["a"], before);
      } else if (c.before == &damaged && format == T_FORMAT_PCX) {
        EXPECT_EQ(page_rgb(1), Bytes());
        EXPECT_EQ(page_rgb(4), rgb(added.get()));
        EXPECT_TRUE(
            std::equal(before.begin() + 4100, before.end(), disk.files["a"].begin() + 4100));
      }
    }
  }
}

// Another program adds its page between the look at the file and the writing.
TEST(Append, PagesOfOthersAreSeenOnceTheFileIsTaken) {
  for (const int32_t format : {T_FORMAT_PCX, T_FORMAT_TIFF_LZW}) {
    const Bytes one = pages_of(format, 30, {8}), two = pages_of(format, 30, {8, 24});
    Bitmap added;
    make_picture(added, 40, 30, 8);
    Disk disk;
    disk.before_writing = [&] { disk.files["a"] = two; };
    disk.files["a"] = one;
    ASSERT_EQ(append("a", format, added.get()), T_OK);
    EXPECT_EQ(page_count(), 3);
    EXPECT_EQ(page_rgb(3), rgb(added.get()));
    disk.files.clear();
    EXPECT_EQ(append("a", format, added.get()), T_ERR_CREATE);
    EXPECT_EQ(disk.files["a"], two);
  }
}

// The platform's own files: who opens one exclusively has it alone.
TEST(Append, AFileThatAnotherKeepsStaysAsItIs) {
  char name[platform::kMaxPath];
  ASSERT_TRUE(platform::make_temporary_name(name));
  constexpr int32_t kExclusive = 128, kDenyWrite = 256, kReadWrite = 0x8002;
  for (const int32_t format : {T_FORMAT_PCX, T_FORMAT_TIFF_LZW}) {
    Bitmap picture;
    make_picture(picture, 40, 30, 8);
    std::remove(name);
    ASSERT_EQ(append(name, format, picture.get()), T_OK);
    ASSERT_EQ(append(name, format, picture.get()), T_OK);
    FILEINFO info;
    const struct {
      int32_t access;
      int32_t mode;
      int32_t reads;
      int32_t appends;
    } cases[] = {{0x8000, kExclusive, T_ERR_OPEN, T_ERR_OPEN},
                 {kReadWrite, kExclusive, T_ERR_OPEN, T_ERR_OPEN},
                 {0x8000, kDenyWrite, T_OK, T_ERR_CREATE},
                 {0x8000, 0, T_OK, T_ERR_CREATE}};
    for (const auto& c : cases) {
      const int32_t kept = settings.files.Open(name, c.access, c.mode);
      ASSERT_GE(kept, 0);
      EXPECT_EQ(T_FileInfo(name, &info), c.reads) << c.mode;
      EXPECT_EQ(append(name, format, picture.get()), c.appends) << c.mode;
      EXPECT_EQ(T_SaveBitmap(name, picture.get(), format, 8, 0), T_ERR_CREATE) << c.mode;
      settings.files.Close(kept);
      ASSERT_EQ(T_FileInfo(name, &info), T_OK);
      EXPECT_EQ(info.PageCount, 2) << c.mode;
    }
  }
  std::remove(name);
}

}  // namespace
}  // namespace tavo::test
