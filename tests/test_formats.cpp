// What holds for every format, by the table of format_cases.h.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "core/notice.h"
#include "format_cases.h"
#include "pipeline/registry.h"
#include "platform/platform.h"

namespace tavo::test {
namespace {

class Formats : public ::testing::TestWithParam<FormatCase> {};

std::string name_of(const ::testing::TestParamInfo<FormatCase>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(All, Formats, ::testing::ValuesIn(format_cases()), name_of);

TEST_P(Formats, EverySampleLoadsAndIsDescribedAsItLoads) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    const FILEINFO info = info_of(sample.file);
    Bitmap bitmap;
    ASSERT_EQ(load(sample.file, bitmap), T_OK);
    EXPECT_EQ(info.Width, bitmap->Width);
    EXPECT_EQ(info.Height, bitmap->Height);
    EXPECT_EQ(info.BitsPerPixel, bitmap->BitsPerPixel);
    EXPECT_EQ(info.ViewPerspective, bitmap->ViewPerspective);
    if (bitmap->BitsPerPixel > 8) {
      EXPECT_EQ(info.Order, bitmap->Order);
    } else {
      EXPECT_EQ(info.Colors, bitmap->Colors);
    }
    EXPECT_EQ(info.FileSize, sample.file.size());
  }
}

// The order of pixels of 8 bits and less is told, too, though it means nothing for them.
TEST_P(Formats, ReadersDescribeTheirRowsAsIdentificationDoes) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    Disk disk;
    disk.files["in"] = sample.file;
    FILEINFO info;
    ASSERT_EQ(T_FileInfo("in", &info), T_OK);
    Bitmap own;
    Rows rows;
    const pipeline::FormatRow* format = pipeline::find_format(info.Format);
    ASSERT_EQ(format->read("in", own.get(), Rows::sink, 32, &rows).code(), T_OK);
    EXPECT_EQ(rows.record.Order, static_cast<uint32_t>(info.Order));
    EXPECT_EQ(rows.record.ViewPerspective, info.ViewPerspective);
    EXPECT_EQ(info.Orientation, 1u);
  }
}

// What T_GetRowsRead tells is there, and with T_LOAD_WHOLE_ROWS nothing else is. The rows of an
// interlaced picture are anywhere.
void expect_whole_rows_alone(const Bytes& file, bool fills_up, Bitmap& whole) {
  Bitmap bitmap;
  const int32_t status =
      T_LoadMemory(file.data(), bitmap.get(), 0, -1, T_LOAD_ALLOCATE | T_LOAD_WHOLE_ROWS, nullptr,
                   nullptr, static_cast<uint32_t>(file.size()));
  const int32_t told = T_GetRowsRead();
  if (status == T_OK && !fills_up) {
    EXPECT_EQ(told, whole->Height);
  }
  if ((bitmap->Flags & T_FLAG_ALLOCATED) == 0) {
    EXPECT_EQ(told, 0);
    return;
  }
  const Bytes rows = pixels(bitmap.get());
  const Bytes wanted = pixels(whole.get());
  if (rows.size() != wanted.size()) {  // cut before the picture: what is told is another one
    EXPECT_EQ(told, 0);
    return;
  }
  const size_t line = wanted.size() / static_cast<size_t>(whole->Height);
  int32_t there = 0;
  for (size_t at = 0; at < wanted.size(); at += line) {
    const Bytes row(rows.begin() + at, rows.begin() + at + line);
    const bool is_equal = std::equal(row.begin(), row.end(), wanted.begin() + at);
    EXPECT_TRUE(is_equal || row == Bytes(line, 0)) << "row " << at / line;
    there += is_equal ? 1 : 0;
  }
  EXPECT_GE(there, told);
}

// Of a cut file only what the picture does not need may be missing.
TEST_P(Formats, TruncationAnywhereIsToldAndLeavesNothing) {
  size_t cuts = 0;
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    Bitmap whole;
    Bitmap plain;
    ASSERT_EQ(load(sample.file, whole, 24, T_ORDER_RGB), T_OK);
    ASSERT_EQ(load(sample.file, plain), T_OK);
    if (!GetParam().fills_up) {  // whose samples may be short already
      EXPECT_EQ(T_GetRowsRead(), plain->Height);
    }
    const Leftovers before = leftovers();
    for (size_t length = 0; length < sample.file.size(); ++length) {
      const Bytes cut(sample.file.begin(), sample.file.begin() + length);
      Bitmap bitmap;
      const int32_t status = load(cut, bitmap, 24, T_ORDER_RGB);
      EXPECT_TRUE(is_documented(status)) << "cut at " << length;
      if (status == T_OK && !GetParam().fills_up) {
        EXPECT_EQ(pixels(bitmap.get()), pixels(whole.get())) << "cut at " << length;
      }
      SCOPED_TRACE(length);
      expect_whole_rows_alone(cut, GetParam().fills_up, plain);
    }
    EXPECT_EQ(leftovers(), before);
    cuts += sample.file.size();
  }
  RecordProperty("cuts", static_cast<int>(cuts));
}

// A few bytes are read a few times and make a few rows, whatever they claim.
TEST_P(Formats, RandomMutationsGiveADocumentedStatusWithLittleWork) {
  const std::vector<Sample>& samples = GetParam().samples;
  const Leftovers before = leftovers();
  Random random(45);
  uint64_t delivered = 0;  // some formats know one size of picture only, which is not small
  int i = 0;
  for (; i < 10000 && delivered < 1u << 30; ++i) {
    Bytes file = samples[i % samples.size()].file;
    for (uint32_t n = 1 + random.below(4); n > 0; --n) {
      const uint32_t at = random.below(3) == 0 ? random.below(file.size())
                                               : random.below(std::min<size_t>(64, file.size()));
      file[at] = static_cast<uint8_t>(random.below(3) == 0 ? 255 : random.next());
    }
    Disk disk;
    disk.files["in"] = file;
    Rows rows;
    Bitmap bitmap;
    SCOPED_TRACE(i);
    const int32_t status =
        T_LoadFile("in", bitmap.get(), i % 2 == 0 ? 0 : 24, -1, 0, Rows::sink, &rows);
    ASSERT_TRUE(is_documented(status)) << status;
    ASSERT_LT(disk.operations, 400);
    ASSERT_LT(disk.bytes_read, 16 * file.size());
    ASSERT_LT(rows.bytes.size(), 1u << 26);
    delivered += rows.bytes.size();
  }
  EXPECT_EQ(leftovers(), before);
  RecordProperty("mutations", i);
}

TEST_P(Formats, ShortReadsChangeNothing) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    Bitmap whole;
    ASSERT_EQ(load(sample.file, whole), T_OK);
    Disk disk;
    disk.files["in"] = sample.file;
    disk.longest_read = 1;
    Bitmap bitmap;
    ASSERT_EQ(T_LoadBitmap("in", bitmap.get(), 0, -1), T_OK);
    EXPECT_EQ(pixels(bitmap.get()), pixels(whole.get()));
    EXPECT_EQ(disk.open_count, 0);
  }
}

// A file that could not be looked at is not one of another format.
TEST_P(Formats, WhatKeepsFromIdentifyingIsTold) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    FILEINFO info;
    const FILEINFO want = info_of(sample.file);
    Disk disk;
    disk.files["in"] = sample.file;
    for (disk.fail_at = 0;; ++disk.fail_at) {
      disk.operations = 0;
      disk.fault_status = T_OK;
      EXPECT_EQ(T_FileInfo("in", &info), disk.fault_status) << "operation " << disk.fail_at;
      if (!disk.fault_hit()) break;
    }
    EXPECT_EQ(disk.open_count, 0);
    refuse_each([&](BitmapHandle*) {
      return T_FileInfoMemory(sample.file.data(), &info, sample.file.size());
    });
    EXPECT_EQ(std::memcmp(&info, &want, sizeof(info)), 0);
  }
}

TEST_P(Formats, AnyFailingFileOperationEndsTheLoadCleanly) {
  int faults = 0;
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    Bitmap whole;
    ASSERT_EQ(load(sample.file, whole), T_OK);
    const Leftovers before = leftovers();
    for (int64_t n = 0;; ++n) {
      Disk disk;
      disk.files["in"] = sample.file;
      disk.longest_read = 64;
      disk.fail_at = n;
      Bitmap bitmap;
      const int32_t status = T_LoadBitmap("in", bitmap.get(), 0, -1);
      EXPECT_EQ(disk.open_count, 0);
      if (status == T_OK) {  // reading ahead may fail behind the last row
        EXPECT_EQ(rgb(bitmap.get()), rgb(whole.get())) << "operation " << n;
      } else {
        EXPECT_EQ(status, disk.fault_status) << "operation " << n;
      }
      if (!disk.fault_hit()) break;
      ++faults;
    }
    EXPECT_EQ(leftovers(), before);
  }
  RecordProperty("faults", faults);
}

TEST_P(Formats, RefusedMemoryEndsTheLoadCleanly) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    refuse_each([&](BitmapHandle*) {
      Bitmap bitmap;
      return load(sample.file, bitmap, 24, T_ORDER_RGB);
    });
  }
}

TEST_P(Formats, TheCallbacksAnswerIsTheResult) {
  for (const Sample& sample : GetParam().samples) {
    for (const int32_t answer : {0, -77, 12345}) {
      Rows rows{.answer = answer};
      Bitmap bitmap;
      EXPECT_EQ(T_LoadMemory(sample.file.data(), bitmap.get(), 0, -1, 0, Rows::sink, &rows,
                             sample.file.size()),
                answer);
      EXPECT_EQ(rows.counts.size(), 1u);
    }
    Rows rows;
    Bitmap bitmap;
    EXPECT_EQ(T_LoadMemory(sample.file.data(), bitmap.get(), 0, -1, 0, Rows::sink, &rows,
                           sample.file.size()),
              T_OK);
    EXPECT_EQ(rows.count, bitmap->Height);
  }
}

TEST_P(Formats, EveryTrueColourDepthAndOrderShowsTheSamePicture) {
  for (const Sample& sample : GetParam().samples) {
    SCOPED_TRACE(sample.name);
    Bitmap own;
    ASSERT_EQ(load(sample.file, own), T_OK);
    const Bytes want = rgb(own.get());
    for (const int32_t bits : {24, 32}) {
      for (const int32_t order : {T_ORDER_RGB, T_ORDER_BGR}) {
        Bitmap bitmap;
        ASSERT_EQ(load(sample.file, bitmap, bits, order), T_OK);
        EXPECT_EQ(bitmap->Order, order);
        EXPECT_EQ(rgb(bitmap.get()), want) << bits << " bits, order " << order;
      }
    }
    Bitmap words;
    ASSERT_EQ(load(sample.file, words, 16, T_ORDER_RGB), T_OK);
    const Bytes narrow = rgb(words.get());
    for (size_t i = 0; i < want.size(); ++i) ASSERT_EQ(narrow[i] >> 3, want[i] >> 3) << i;
  }
}

TEST_P(Formats, WhatIsSavedLoadsBack) {
  const FormatCase& format = GetParam();
  if (format.save_format == 0 || format.lossless_from == kLossy)
    GTEST_SKIP() << "nothing to compare";
  for (const int32_t depth : format.save_depths) {
    if (depth < format.lossless_from) continue;
    for (const int32_t width : {1, 7, 8, 33, 200}) {
      for (const uint32_t view_perspective : {0u, 2u}) {
        for (const uint32_t request : {1u, 3u}) {
          Disk disk;
          Bitmap picture;
          make_picture(picture, width, 9, depth, request, view_perspective);
          ASSERT_EQ(T_SaveBitmap("out", picture.get(), format.save_format, depth, 0), T_OK)
              << depth << " bits";
          EXPECT_EQ(disk.open_count, 0);
          Bitmap loaded;
          ASSERT_EQ(T_LoadBitmap("out", loaded.get(), 0, -1), T_OK);
          EXPECT_EQ(rgb(loaded.get()), rgb(picture.get()))
              << depth << " bits, width " << width << ", perspective " << view_perspective;
        }
      }
    }
  }
}

// What every depth can show, saves at every depth show: dithered, reduced, widened or direct.
TEST_P(Formats, BlackAndWhiteStaysWhatItIs) {
  for (const int32_t depth : GetParam().save_depths) {
    for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
      Bitmap picture;
      make_picture(picture, 17, 3, bits);
      for (uint32_t i = 0; i < 256; ++i) {
        const auto level = static_cast<uint8_t>(i % 2 == 0 ? 0 : 255);
        picture->Info.Palette[i] = {level, level, level, 0};
      }
      T_AccessBitmap(picture.get());
      for (uint32_t i = 0; bits > 8 && i < picture->Size; ++i) {
        const uint32_t x = i % picture->BytesPerLine * 8 / bits;
        const bool is_white = (x + i / picture->BytesPerLine) % 3 == 0;
        static_cast<uint8_t*>(picture->Data)[i] = is_white ? (bits == 16 && i % 2 ? 127 : 255) : 0;
      }
      T_ReleaseBitmap(picture.get());
      for (const uint32_t direct : {0, 1}) {
        Disk disk;
        if (direct != 0) T_AccessBitmap(picture.get());
        ASSERT_EQ(T_SaveFile("out", picture.get(), GetParam().save_format, depth, 0, 0, direct, 0),
                  T_OK);
        Bitmap loaded;
        ASSERT_EQ(T_LoadBitmap("out", loaded.get(), 0, -1), T_OK);
        Bitmap shown;  // at the top left of a page, where files are pages
        ASSERT_EQ(T_CopyBitmapRect(shown.get(), loaded.get(), 0, 0, 17, 3), T_OK);
        EXPECT_EQ(rgb(shown.get()), rgb(picture.get())) << bits << " at " << depth << direct;
      }
    }
  }
}

TEST_P(Formats, AnyFailingFileOperationEndsTheSaveCleanly) {
  const FormatCase& format = GetParam();
  if (format.save_format == 0) GTEST_SKIP() << "no writer";
  int faults = 0;
  const Leftovers before = leftovers();
  for (const int32_t depth : format.save_depths) {
    for (const uint32_t torn_eighths : {0u, 4u}) {
      for (int64_t n = 0;; ++n) {
        Disk disk;
        disk.torn_eighths = torn_eighths;
        disk.fail_at = n;
        Bitmap picture;
        make_picture(picture, 20, 6, depth);
        const int32_t status = T_SaveBitmap("out", picture.get(), format.save_format, depth, 0);
        EXPECT_TRUE(is_documented(status)) << "operation " << n;
        EXPECT_EQ(disk.open_count, 0);
        EXPECT_EQ(status == T_OK, !disk.fault_hit()) << "operation " << n;
        if (!disk.fault_hit()) break;
        ++faults;
      }
    }
  }
  EXPECT_EQ(leftovers(), before);
  RecordProperty("faults", faults);
}

TEST_P(Formats, RefusedMemoryEndsTheSaveCleanly) {
  const FormatCase& format = GetParam();
  if (format.save_format == 0) GTEST_SKIP() << "no writer";
  Disk disk;
  for (const int32_t depth : format.save_depths) {
    for (const int32_t from_depth : {depth, depth == 24 ? 8 : 24}) {
      refuse_each(
          [&](BitmapHandle* b) { return T_SaveBitmap("out", b, format.save_format, depth, 0); },
          [&](Bitmap& picture) { make_picture(picture, 20, 6, from_depth); });
    }
  }
}

int32_t T_CALL read_jpeg(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits,
                         void* context) {
  return T_DecompressFile(name, bitmap, sink, bits, context, 4);
}

TEST(PicturesOfGigabytesInFewBytes, AreRefusedByReadersAndByIdentificationAlike) {
  Bytes jpeg = jpeg_case().samples.front().file;
  const Bytes frame = {0xFF, 0xC0, 0};
  const auto size = std::search(jpeg.begin(), jpeg.end(), frame.begin(), frame.end()) + 5;
  std::fill(size, size + 4, uint8_t{0xFF});
  Bytes cals = saved_sample(T_FORMAT_CALS, 1, 8, 8);
  std::memcpy(&cals[8 * 128], "rpelcnt: 99999,99999", 20);
  const struct {
    const char* why;
    FileReader read;
    Bytes file;
  } cases[] = {
      {"BMP row", T_LoadBMPFile, bmp_file(bmp_info(1 << 25, 1, 24, 0, 0), {}, {0, 0, 0, 0})},
      {"GIF", T_LoadGIFFile,
       hex("474946383961 F4019001 000000 2C 00000000 FFFFFFFF 00 08 010000 3B")},
      {"TGA runs", T_LoadTGAFile, hex("00000A 0000000000 00000000 FFFFFFFF 18 00 FF000000")},
      {"CALS", T_LoadCALSFile, cals},
      {"JPEG", read_jpeg, jpeg},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(read_directly(c.read, c.file), T_ERR_BAD_DATA) << c.why;
    FILEINFO info;
    EXPECT_EQ(T_FileInfoMemory(c.file.data(), &info, static_cast<uint32_t>(c.file.size())),
              T_ERR_BAD_DATA)
        << c.why;
  }
}

}  // namespace
}  // namespace tavo::test
