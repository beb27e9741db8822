// Limits, the mask of formats, and what is told of failures.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <set>

#include "base/settings.h"
#include "exports/answer.h"
#include "format_cases.h"
#include "support.h"

namespace tavo::test {
namespace {

// A limit for its scope.
class Limit {
 public:
  Limit(int32_t kind, uint64_t value) : kind_(kind) { EXPECT_EQ(T_SetLimit(kind, value), T_OK); }
  ~Limit() { T_SetLimit(kind_, 0); }

 private:
  int32_t kind_;
};

std::string error_text() {
  char text[200];
  EXPECT_EQ(T_GetErrorText(text, sizeof text), T_OK);
  return text;
}

T_ERRORINFO last_error() {
  T_ERRORINFO error;
  EXPECT_EQ(T_GetError(&error), T_OK);
  return error;
}

int32_t load_status(const Bytes& file) {
  Bitmap bitmap;
  return load(file, bitmap);
}

class Limits : public ::testing::TestWithParam<FormatCase> {};

std::string name_of(const ::testing::TestParamInfo<FormatCase>& format) {
  return format.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, Limits, ::testing::ValuesIn(format_cases()), name_of);

TEST_P(Limits, OfSizesHoldForIdentificationAndLoads) {
  for (const Sample& sample : GetParam().samples) {
    const FILEINFO info = info_of(sample.file);
    const auto size = static_cast<uint32_t>(sample.file.size());
    const auto width = static_cast<uint64_t>(info.Width);
    const auto height = static_cast<uint64_t>(info.Height);
    const struct {
      int32_t kind;
      uint64_t asked;
      const char* name;
    } cases[] = {{T_LIMIT_PIXELS, width * height, "pixels"},
                 {T_LIMIT_SIDE, std::max(width, height), "side"}};
    for (const auto& c : cases) {
      if (c.asked == 1) continue;
      const Limit limit(c.kind, c.asked - 1);
      FILEINFO refused;
      EXPECT_EQ(T_FileInfoMemory(sample.file.data(), &refused, size), T_ERR_LIMIT) << sample.name;
      EXPECT_EQ(load_status(sample.file), T_ERR_LIMIT) << sample.name;
      const T_ERRORINFO error = last_error();
      EXPECT_EQ(error.Asked, c.asked) << sample.name;
      EXPECT_EQ(error.Allowed, c.asked - 1);
      EXPECT_STREQ(error.LimitName, c.name);
      EXPECT_NE(error_text().find(std::to_string(c.asked) + " pixels"), std::string::npos);
      T_SetLimit(c.kind, c.asked);
      EXPECT_EQ(load_status(sample.file), T_OK) << sample.name;
    }
  }
}

TEST_P(Limits, OfMemoryAndWorkEndLoadsCleanly) {
  const Leftovers before = leftovers();
  for (const Sample& sample : GetParam().samples) {
    {
      const Limit work(T_LIMIT_WORK, 1);
      const FILEINFO info = info_of(sample.file);
      const bool is_more = info.Width * info.BitsPerPixel > 8 || info.Height > 1;
      EXPECT_EQ(load_status(sample.file), is_more ? T_ERR_LIMIT : T_OK) << sample.name;
      if (is_more) {
        EXPECT_TRUE(error_text().ends_with("bytes of decoded pixels or more; 1 are allowed"));
      }
    }
    int32_t status = T_ERR_LIMIT;
    for (uint64_t allowed = 64; status != T_OK && allowed < uint64_t{1} << 32;
         allowed += allowed / 4) {
      const Limit memory(T_LIMIT_MEMORY, allowed);
      status = load_status(sample.file);
      if (status == T_OK) break;
      ASSERT_EQ(status, T_ERR_LIMIT) << sample.name << " at " << allowed;
      EXPECT_GT(last_error().Asked, allowed);
      EXPECT_NE(error_text().find(" bytes of memory; "), std::string::npos);
    }
    EXPECT_EQ(status, T_OK) << sample.name;
  }
  EXPECT_EQ(leftovers(), before);
}

TEST_P(Limits, FormatsThatAreOffAreNotRead) {
  for (const Sample& sample : GetParam().samples) {
    const int32_t format = info_of(sample.file).Format;
    ASSERT_EQ(T_EnableFormat(format, 0), T_OK);
    EXPECT_EQ(load_status(sample.file), T_ERR_BAD_DATA) << sample.name;
    EXPECT_NE(last_error().NotAllowed, 0);
    EXPECT_EQ(error_text(), "The file is in none of the formats that are allowed");
    T_EnableFormat(0, 0);
    T_EnableFormat(format, 1);
    EXPECT_EQ(load_status(sample.file), T_OK) << sample.name;
    T_EnableFormat(0, 1);
  }
}

TEST(LimitsOfStorage, HoldForBitmapsThatAreMadeAndEnlarged) {
  Bitmap bitmap;
  {
    const Limit memory(T_LIMIT_MEMORY, 2000000);
    T_InitBitmap(bitmap.get(), 1000, 1000, 24);
    EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_ERR_LIMIT);
    EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 3), T_OK);  // a file is not memory
    EXPECT_EQ(T_FreeBitmap(bitmap.get()), 0);
  }
  {
    const Limit temporary(T_LIMIT_TEMPORARY, 5000000);
    Bitmap other;
    T_InitBitmap(other.get(), 1000, 1000, 24);
    EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 3), T_OK);
    EXPECT_EQ(T_AllocateBitmap(other.get(), 3), T_ERR_LIMIT);
    EXPECT_EQ(error_text(), "The work needs 6000000 bytes of temporary files; 5000000 are allowed");
    T_FreeBitmap(bitmap.get());
    EXPECT_EQ(T_AllocateBitmap(other.get(), 3), T_OK);
  }
  make_picture(bitmap, 20, 20, 8);
  const Limit pixels_allowed(T_LIMIT_PIXELS, 1000);
  EXPECT_EQ(T_SizeBitmapFine(bitmap.get(), 40, 40, T_SIZE_BOX), T_ERR_LIMIT);
  EXPECT_EQ(bitmap->Width, 20);
  EXPECT_EQ(error_text(), "The picture has 1600 pixels; 1000 are allowed");
}

TEST(LimitsOfPages, HoldForPagesThatAreAskedAndCounted) {
  Disk disk;
  Bitmap page;
  make_picture(page, 9, 5, 1);
  for (const int32_t format : {T_FORMAT_TIFF_GROUP4, T_FORMAT_DCX}) {
    for (int32_t number = 1; number <= 3; ++number) {
      T_SetPageNumber(number);
      ASSERT_EQ(T_SaveFile("pages", page.get(), format, 1, 0, T_SAVE_APPEND, 0, 0), T_OK);
    }
    const Limit pages(T_LIMIT_PAGES, 2);
    FILEINFO info;
    Bitmap loaded;
    T_SetPageNumber(1);
    EXPECT_EQ(T_FileInfo("pages", &info), T_ERR_LIMIT) << format;
    EXPECT_EQ(error_text(), "Pages up to number 3 were asked; 2 are allowed");
    T_SetPageNumber(3);
    EXPECT_EQ(T_LoadBitmap("pages", loaded.get(), 0, -1), T_ERR_LIMIT) << format;
    T_SetPageNumber(1);
    disk.files.clear();
  }
}

TEST(ErrorTexts, OfEachStatusAndCauseAreTheirOwn) {
  const int32_t statuses[] = {
      T_ERR_NO_MEMORY,  T_ERR_NO_STORAGE, T_ERR_SEEK,     T_ERR_WRITE,      T_ERR_READ,
      T_ERR_NAME,       T_ERR_BAD_DATA,   T_ERR_OPEN,     T_ERR_SIZE,       T_ERR_SUBTYPE,
      T_ERR_ARGUMENT,   T_ERR_CREATE,     T_ERR_FORMAT,   T_ERR_QUALITY,    T_ERR_DEPTH,
      T_ERR_MULTIPLIER, T_ERR_NOTICE,     T_ERR_NO_STAMP, T_ERR_INCOMPLETE, T_ERR_NOT_COMPRESSIBLE,
      T_ERR_LIMIT,      T_ERR_TOO_LARGE};
  std::set<std::string> texts = {"Unknown status", ""};
  for (const int32_t status : statuses) {
    EXPECT_EQ(exports::answer(Status(status)), status);
    EXPECT_TRUE(texts.insert(error_text()).second) << status;
    EXPECT_EQ(error_text(), T_GetStatusText(status));
  }
#ifdef _WIN32
  constexpr int kErrors[] = {2, 5, 267, 32, 112, 19, 206, 4, 1117, 9999};
#else
  constexpr int kErrors[] = {ENOENT, EACCES,       EISDIR, EBUSY, ENOSPC,
                             EROFS,  ENAMETOOLONG, EMFILE, EIO,   9999};
#endif
  for (const int error : kErrors) {
    settings.note.system_error = error;
    exports::answer(kOpenError);
    EXPECT_TRUE(error_text().starts_with("The file cannot be opened: "));
    EXPECT_TRUE(texts.insert(error_text()).second) << error_text();
  }
}

TEST(ErrorTexts, OfRowsAreRememberedToo) {
  Bitmap bitmap;
  uint8_t row[4];
  make_picture(bitmap, 4, 4, 8);
  T_ReleaseBitmap(bitmap.get());
  EXPECT_EQ(T_SetLimit(0, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(T_GetBitmapRow(bitmap.get(), row, 0, 4), T_ERR_NO_MEMORY);
  EXPECT_EQ(last_error().Status, T_ERR_NO_MEMORY);
}

TEST(ErrorTexts, NameCausePlaceAndCallback) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::temp_directory_path();
  const std::string missing = (folder / "no such file").string();
  Bitmap bitmap;
  EXPECT_EQ(T_LoadBitmap(missing.c_str(), bitmap.get(), 0, -1), T_ERR_OPEN);
  EXPECT_EQ(error_text(), "The file cannot be opened: there is no such file or folder");
  EXPECT_NE(last_error().SystemError, 0);
  EXPECT_EQ(T_LoadBitmap(folder.string().c_str(), bitmap.get(), 0, -1), T_ERR_OPEN);
  const std::string why = error_text();
  EXPECT_TRUE(why.ends_with(": it is a folder") || why.ends_with(": permission is denied")) << why;

  Bytes file = saved_sample(T_FORMAT_PCX, 8, 20, 20);
  EXPECT_EQ(load_status(file), T_OK);
  EXPECT_EQ(error_text(), why) << "calls that succeed leave it";
  Bytes bmp = saved_sample(T_FORMAT_BMP, 24, 40, 40);
  bmp.resize(54 + 5 * 120 + 7);
  EXPECT_EQ(load_status(bmp), T_ERR_READ);
  EXPECT_EQ(error_text(), "Reading failed, or the file is shorter than its header says, in row 5");
  EXPECT_EQ(last_error().SystemError, 0);

  Rows rows;
  rows.answer = 77;
  EXPECT_EQ(T_LoadMemory(file.data(), bitmap.get(), 8, -1, 0, Rows::sink, &rows,
                         static_cast<uint32_t>(file.size())),
            77);
  EXPECT_EQ(error_text(), "A callback ended the work");
  EXPECT_EQ(T_SetLimit(0, 1), T_ERR_ARGUMENT);
  char cut[6];
  EXPECT_EQ(T_GetErrorText(cut, sizeof cut), T_OK);
  EXPECT_STREQ(cut, "An ar");
}

}  // namespace
}  // namespace tavo::test
