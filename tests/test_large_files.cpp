// Files beyond 2 GiB, which are sparse where the file system can.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>

#include "format_cases.h"
#include "platform/platform.h"

namespace tavo::test {

namespace {

class LargeFile {
 public:
  LargeFile() { EXPECT_TRUE(platform::make_temporary_name(path_)); }
  ~LargeFile() { std::remove(path_); }
  LargeFile(const LargeFile&) = delete;
  LargeFile& operator=(const LargeFile&) = delete;

  void put(uint64_t at, const Bytes& bytes) {
    std::fstream file(path_, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(at));
    file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    EXPECT_TRUE(file.flush());
  }
  const char* path() const { return path_; }

 private:
  char path_[platform::kMaxPath];
};

int32_t T_CALL short_seek(int32_t file, int32_t offset, int32_t origin) {
  return static_cast<int32_t>(platform::seek_large_file(file, offset, origin));
}

TEST(LargeFiles, PositionsBeyond2GiBAreReached) {
  const Bytes row = {10, 20, 30, 40};
  LargeFile tiff, bmp;
  constexpr uint32_t kStrip = 0x90000000, kDirectory = 0xBFFFFFF0;
  Bytes directory = le16(8);
  for (const auto& [tag, value] : {std::pair{256u, 4u},
                                   {257, 1},
                                   {258, 8},
                                   {259, 1},
                                   {262, 1},
                                   {273, kStrip},
                                   {278, 1},
                                   {279, 4}}) {
    directory = join({directory, le16(tag), le16(4), le32(1), le32(value)});
  }
  tiff.put(0, join({text("II*"), {0}, le32(kDirectory)}));
  tiff.put(kStrip, row);
  tiff.put(kDirectory, join({directory, le32(0)}));

  Bytes small = bmp_file(bmp_info(4, 1, 8, 0, 0), Bytes(1024, 7), row);
  constexpr uint32_t kPixels = 0x80000010;
  const Bytes position = le32(kPixels);
  std::copy(position.begin(), position.end(), small.begin() + 10);
  bmp.put(0, part(small, 0, small.size() - 4));
  bmp.put(kPixels, row);

  for (const LargeFile* file : {&tiff, &bmp}) {
    FILEINFO info;
    EXPECT_EQ(T_FileInfo(file->path(), &info), T_OK);
    EXPECT_EQ(info.FileSize, file == &tiff ? kDirectory + 102 : kPixels + 4);
    Bitmap bitmap, refused;
    ASSERT_EQ(T_LoadBitmap(file->path(), bitmap.get(), 0, -1), T_OK);
    EXPECT_EQ(pixels(bitmap.get()), row);
    T_RedirectIO(nullptr, nullptr, nullptr, short_seek, nullptr);
    EXPECT_EQ(T_LoadBitmap(file->path(), refused.get(), 0, -1), T_ERR_TOO_LARGE);
    T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
  }
}

}  // namespace

}  // namespace tavo::test
