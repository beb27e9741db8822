// Names of files in UTF-8, and paths longer than the system's classic limit.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "core/bitmap.h"
#include "support.h"
#include "tavo45.h"

namespace tavo::test {
namespace {

namespace fs = std::filesystem;

std::string utf8(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

// Names in UTF-8 for the length of a test, and a folder for it.
class Names : public testing::Test {
 protected:
  void SetUp() override {
    T_SetNameEncoding(1);
    fs::create_directories(folder_);
    T_InitBitmap(bitmap_.get(), 9, 2, 8);
    ASSERT_EQ(T_AllocateBitmap(bitmap_.get(), 1), T_OK);
    T_ClearBitmap(bitmap_.get());
  }
  void TearDown() override {
    T_SetNameEncoding(0);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  int32_t save(const std::string& name) {
    return T_SaveBitmap(name.c_str(), bitmap_.get(), T_FORMAT_BMP, 8, 0);
  }
  static int32_t width_of(const std::string& name) {
    FILEINFO info = {};
    return T_FileInfo(name.c_str(), &info) == T_OK ? info.Width : -1;
  }

  const fs::path folder_ = fs::temp_directory_path() / u8"tavo-names-\u00e9\u03a9\u753b";
  Bitmap bitmap_;
};

TEST_F(Names, OfAnyScript) {
  for (const char8_t* name :
       {u8"gr\u00f6\u00dfe.bmp", u8"\u03a9 \u0416.bmp", u8"\u753b\U0001f5bc.bmp"}) {
    const fs::path path = folder_ / name;
    EXPECT_EQ(save(utf8(path)), T_OK);
    EXPECT_TRUE(fs::exists(path)) << "under another name";
    EXPECT_EQ(width_of(utf8(path)), 9);
  }
  EXPECT_EQ(save(utf8(folder_) + "/bad\xff.bmp"),
            fs::path::preferred_separator == '/' ? T_OK : T_ERR_CREATE);
}

TEST_F(Names, LongPaths) {
  std::string path = utf8(folder_);
  for (int i = 0; i < 12; ++i) {
    path += "/" + std::string(60, static_cast<char>('a' + i));
    // The prefix by which the standard library, too, can make it.
    const fs::path made(std::u8string(path.begin(), path.end()));
    const fs::path plain = fs::path(made).make_preferred();
    const bool is_windows = fs::path::preferred_separator == '\\';
    fs::create_directory(is_windows ? fs::path(u8"\\\\?\\" + plain.u8string()) : plain);
  }
  const fs::path before = fs::current_path();
  fs::current_path(folder_);
  const std::string name = "." + path.substr(path.find("/aaa")) + "/p.bmp";
  for (const int32_t encoding : {1, 0}) {
    T_SetNameEncoding(encoding);
    EXPECT_EQ(save(name), T_OK) << encoding;
    EXPECT_EQ(width_of(name), 9) << encoding;
  }
  fs::current_path(before);
}

TEST_F(Names, DiskBitmaps) {
  Bitmap disk;
  T_InitBitmap(disk.get(), 100, 100, 8);
  ASSERT_EQ(T_AllocateBitmap(disk.get(), 2), T_OK);
  const std::string path = static_cast<const char*>(disk->Data);
  const fs::path file(std::u8string(path.begin(), path.end()));
  EXPECT_TRUE(fs::exists(file));
  T_FreeBitmap(disk.get());
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(Names, EncodingsAreChecked) {
  EXPECT_EQ(T_SetNameEncoding(2), T_ERR_ARGUMENT);
  EXPECT_EQ(T_SetNameEncoding(-1), T_ERR_ARGUMENT);
}

}  // namespace
}  // namespace tavo::test
