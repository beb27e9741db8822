// Bitmap records, storage, rows, copies, the file table.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/settings.h"
#include "core/notice.h"
#include "io/file_table.h"
#include "platform/platform.h"
#include "support.h"

namespace tavo::test {
namespace {

TEST(Bitmaps, InitDescribesEveryDepth) {
  const struct {
    int32_t width, bits;
    uint32_t line, colors, order;
  } cases[] = {{1, 1, 4, 2, 0},   {33, 1, 8, 2, 0},  {5, 2, 4, 4, 0},  {17, 2, 8, 4, 0},
               {9, 4, 8, 16, 0},  {5, 8, 8, 256, 0}, {3, 16, 8, 0, 1}, {3, 24, 12, 0, 1},
               {3, 32, 12, 1, 1}, {1, 24, 4, 0, 1},  {0, 8, 0, 256, 0}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    std::memset(bitmap->ReservedB, 0xFF, sizeof(bitmap->ReservedB));
    std::memset(bitmap->ReservedE, 0xFF, sizeof(bitmap->ReservedE));
    bitmap->Flags = 0xFFFF8641u;
    ASSERT_EQ(T_InitBitmap(bitmap.get(), c.width, 7, c.bits), T_OK);
    EXPECT_EQ(bitmap->BytesPerLine, c.line) << c.width << " x " << c.bits;
    EXPECT_EQ(bitmap->Size, c.line * 7);
    EXPECT_EQ(bitmap->Colors, c.colors) << c.bits;
    EXPECT_EQ(bitmap->Order, c.order);
    EXPECT_EQ(bitmap->Flags, 0xFFFF0000u);
    EXPECT_EQ(bitmap->ViewPerspective, 2u);
    EXPECT_EQ(bitmap->DitherMethod, 7u);
    for (const uint32_t word : bitmap->ReservedB) EXPECT_EQ(word, 0u);
    for (const uint32_t word : bitmap->ReservedE) EXPECT_EQ(word, 0u);
    EXPECT_EQ(bitmap->XResolution, 150);
    EXPECT_EQ(bitmap->Info.Header.biBitCount, c.bits);
    bitmap->Flags = 0;
  }
}

TEST(Bitmaps, GeometryWithoutSizeCannotBeAllocated) {
  const struct {
    int32_t width, height, bits;
  } cases[] = {{0, 5, 8},         {5, 0, 8},          {-5, 5, 8},
               {5, -5, 8},        {5, 5, 3},          {5, 5, 12},
               {65536, 65536, 8}, {INT32_MAX, 1, 32}, {INT32_MAX, INT32_MAX, 1}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    EXPECT_EQ(T_InitBitmap(bitmap.get(), c.width, c.height, c.bits), T_OK);
    EXPECT_EQ(bitmap->Size, 0u);
    EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_ERR_SIZE);
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits == 3 || c.bits == 12 ? 32 : c.bits);
  }
}

TEST(Bitmaps, DefaultsComeFromTheSettings) {
  const T_TIFFOption option = {300, -4, {11, 22}, {}};
  ASSERT_EQ(T_SetTIFFOption(&option), T_OK);
  EXPECT_EQ(T_DefaultDithering(8), T_ERR_ARGUMENT);
  ASSERT_EQ(T_DefaultDithering(2), T_OK);
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 4, 4, 8);
  EXPECT_EQ(bitmap->XResolution, 300);
  EXPECT_EQ(bitmap->YResolution, 150);
  EXPECT_EQ(bitmap->WriterDefaults[1], 22u);
  EXPECT_EQ(bitmap->DitherMethod, 2u);
  const T_TIFFOption none = {};
  T_SetTIFFOption(&none);
  T_DefaultDithering(7);
}

TEST(Bitmaps, ADamagedNoticeStopsInitAndIdentification) {
  core::break_notice(true);
  Bitmap bitmap;
  bitmap->Width = 77;
  FILEINFO info;
  EXPECT_EQ(T_InitBitmap(bitmap.get(), 4, 4, 8), T_ERR_NOTICE);
  EXPECT_EQ(bitmap->Width, 77);
  EXPECT_EQ(T_FileInfo("x", &info), T_ERR_NOTICE);
  core::break_notice(false);
  EXPECT_EQ(T_InitBitmap(bitmap.get(), 4, 4, 8), T_OK);
}

TEST(Bitmaps, AccessAndReleaseDoNotNest) {
  Bitmap memory;
  make_picture(memory, 5, 5, 24);
  const uintptr_t address = T_AccessBitmap(memory.get());
  EXPECT_EQ(address, reinterpret_cast<uintptr_t>(memory->Data));
  EXPECT_EQ(T_AccessBitmap(memory.get()), memory->Flags);
  T_ReleaseBitmap(memory.get());
  EXPECT_EQ(memory->Flags & T_FLAG_LOCKED, 0u);
  EXPECT_EQ(memory->Data, nullptr);
  uint8_t byte = 0;
  EXPECT_EQ(T_GetBitmapRow(memory.get(), &byte, 0, 1), T_ERR_NO_MEMORY);

  Bitmap disk;
  make_picture(disk, 5, 5, 24, 3);
  EXPECT_NE(disk->Flags & T_FLAG_DISK, 0u);
  EXPECT_EQ(T_AccessBitmap(disk.get()), disk->Flags);
}

TEST(Bitmaps, StorageGoesToDiskWhenMemoryIsRefusedAndLeavesNothingWhenThatFailsToo) {
  const Leftovers before = leftovers();
  for (int64_t n = 0; n < 4; ++n) {
    Bitmap bitmap;
    T_InitBitmap(bitmap.get(), 100, 100, 8);
    platform::refuse_allocation(0, n % 2 == 1);
    const int32_t status = T_AllocateBitmap(bitmap.get(), n < 2 ? 1 : 3);
    platform::refuse_allocation(-1, false);
    if (n == 0) {
      EXPECT_EQ(status, T_OK);
      EXPECT_NE(bitmap->Flags & T_FLAG_DISK, 0u);
      EXPECT_TRUE(std::filesystem::exists(static_cast<const char*>(bitmap->Data)));
    } else {
      EXPECT_EQ(status, T_ERR_NO_MEMORY);
      EXPECT_EQ(bitmap->Flags & 0xFFFF, 0u);
    }
  }
  EXPECT_EQ(leftovers(), before);

  // The clearing of a new file can be stopped by the status callback.
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 100, 100, 8);
  T_SetStatusCallBack([](int32_t) -> int32_t T_CALL { return 0; });
  EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 3), T_ERR_NO_MEMORY);
  T_SetStatusCallBack(nullptr);
  EXPECT_EQ(leftovers(), before);
}

TEST(Bitmaps, UserManagedStorageIsReleasedThroughTheCallback) {
  static uintptr_t released = 0;
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 10, 10, 8);
  EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 8), T_ERR_NO_MEMORY);
  EXPECT_EQ(bitmap->Flags & 0xFFFF, T_FLAG_USER | T_FLAG_NO_STORAGE);
  bitmap->Flags = 0;
  bitmap->StorageKind = 4;
  EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 8), T_OK);
  EXPECT_EQ(bitmap->Flags & 0xFFFF, T_FLAG_USER | T_FLAG_NO_STORAGE | T_FLAG_DISK);
  bitmap->Handle = 4711;
  bitmap->ReleaseData = 2;
  bitmap->ReleaseCallback = [](uintptr_t handle, uintptr_t data)
                                T_CALL { released += handle + data; };
  T_FreeBitmap(bitmap.get());
  T_FreeBitmap(bitmap.get());
  EXPECT_EQ(released, 4713u);
  EXPECT_EQ(bitmap->Flags & (T_FLAG_USER | T_FLAG_DISK), 0u);
  // A bitmap of the library's own, although a request for none was refused before.
  ASSERT_EQ(T_InitBitmap(bitmap.get(), 10, 10, 8), T_OK);
  EXPECT_EQ(T_AllocateBitmap(bitmap.get(), 8), T_ERR_NO_MEMORY);
  for (const uint32_t request : {1u, 3u}) {
    ASSERT_EQ(T_AllocateBitmap(bitmap.get(), request), T_OK);
    EXPECT_EQ(pixels(bitmap.get()).size(), 100u);
    T_FreeBitmap(bitmap.get());
  }
  EXPECT_EQ(released, 4713u);
}

// Handle is the caller's: here it looks like the handle of a disk bitmap's file.
TEST(Bitmaps, WithoutStorageTheCallersFileIsNeverTouched) {
  const Leftovers before = leftovers();
  {
    Bitmap disk;
    make_picture(disk, 10, 10, 8, 3);
    const Bytes content = pixels(disk.get());
    for (const bool is_set_before : {true, false}) {
      Bitmap bitmap, other;
      T_InitBitmap(bitmap.get(), 10, 10, 8);
      T_InitBitmap(other.get(), 10, 10, 8);
      bitmap->StorageKind = 6;
      bitmap->ReleaseCallback = nullptr;
      if (is_set_before) bitmap->Handle = disk->Handle;
      ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 8), T_OK);
      if (!is_set_before) bitmap->Handle = disk->Handle;
      for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(bitmap->Handle, disk->Handle);
        Bytes row(12);
        EXPECT_EQ(T_ClearBitmap(bitmap.get()), T_ERR_NO_STORAGE);
        EXPECT_EQ(T_GetBitmapRow(bitmap.get(), row.data(), 0, 12), T_ERR_NO_MEMORY);
        EXPECT_EQ(T_PutBitmapRow(bitmap.get(), row.data(), 0, 12), T_ERR_NO_MEMORY);
        EXPECT_EQ(T_CopyBitmap(other.get(), bitmap.get()), T_ERR_NO_MEMORY);
        EXPECT_EQ(T_CopyBitmapData(bitmap.get(), disk.get()), T_ERR_NO_MEMORY);
        T_FreeBitmap(bitmap.get());
      }
    }
    EXPECT_EQ(pixels(disk.get()), content);
  }
  EXPECT_EQ(leftovers(), before);
}

TEST(Bitmaps, OthersReadTheFileOfADiskBitmapWhileItIsInUse) {
  const Leftovers before = leftovers();
  Bitmap bitmap;
  make_picture(bitmap, 12, 5, 8, 3);
  const std::string path = static_cast<const char*>(bitmap->Data);
  std::ifstream file(path, std::ios::binary);
  Bytes read(60);
  file.read(reinterpret_cast<char*>(read.data()), 60);
  EXPECT_EQ(file.gcount(), 60);
  EXPECT_EQ(read, pixels(bitmap.get()));
  file.close();
  T_FreeBitmap(bitmap.get());
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(leftovers(), before);
}

// The lowest free number is that of standard input.
TEST(Bitmaps, DiskBitmapsWorkWithoutStandardInput) {
  const Leftovers before = leftovers();
  const int kept = ::dup(0);
  ::close(0);
  {
    Bitmap bitmap;
    make_picture(bitmap, 12, 5, 8, 3);
    EXPECT_NE(bitmap->Handle, 0u);
  }
  ::dup2(kept, 0);
  ::close(kept);
  EXPECT_EQ(leftovers(), before);
}

class Rows : public ::testing::TestWithParam<uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Storage, Rows, ::testing::Values(1u, 3u));

TEST_P(Rows, ComeBackInAnyOrder) {
  Bitmap bitmap;
  make_picture(bitmap, 50, 20, 8, GetParam());
  T_AccessBitmap(bitmap.get());
  Bytes all;
  for (uint32_t y = 0; y < 20; ++y) {
    Bytes row(52);
    ASSERT_EQ(T_GetBitmapRow(bitmap.get(), row.data(), y, 52), 52);
    all.insert(all.end(), row.begin(), row.end());
  }
  Random random(1);
  for (int i = 0; i < 200; ++i) {
    const uint32_t y = i < 20 ? 19 - i : random.below(20);
    const uint32_t column = random.below(50);
    Bytes part(52 - column);
    ASSERT_EQ(T_GetBitmapRowCol(bitmap.get(), part.data(), y, column, part.size()), part.size());
    EXPECT_TRUE(std::equal(part.begin(), part.end(), all.begin() + y * 52 + column));
  }
}

TEST_P(Rows, ColumnsCountPixelsExceptAtTwoBits) {
  const struct {
    int32_t bits;
    uint32_t column, byte;
  } cases[] = {{1, 17, 2}, {2, 8, 8}, {4, 9, 4}, {8, 5, 5}, {16, 5, 10}, {24, 5, 15}, {32, 5, 20}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    make_picture(bitmap, 40, 3, c.bits, GetParam());
    T_AccessBitmap(bitmap.get());
    const Bytes mark = {0xDE, 0xAD};
    ASSERT_EQ(T_PutBitmapRowCol(bitmap.get(), mark.data(), 1, c.column, 2), 2);
    Bytes row(bitmap->BytesPerLine);
    T_GetBitmapRow(bitmap.get(), row.data(), 1, row.size());
    EXPECT_EQ(row[c.byte], 0xDE) << c.bits;
    EXPECT_EQ(row[c.byte + 1], 0xAD) << c.bits;
  }
}

TEST_P(Rows, ClearZeroesEverythingAndTellsProgress) {
  static std::vector<int32_t> told;
  told.clear();
  Bitmap bitmap;
  make_picture(bitmap, 30, 30, 24, GetParam());
  T_SetStatusCallBack([](int32_t percent) -> int32_t T_CALL {
    told.push_back(percent);
    return T_OK;
  });
  EXPECT_EQ(T_ClearBitmap(bitmap.get()), T_OK);
  EXPECT_EQ(told.front(), 0);
  EXPECT_EQ(told.back(), 100);
  T_SetStatusCallBack([](int32_t) -> int32_t T_CALL { return -3; });
  EXPECT_EQ(T_ClearBitmap(bitmap.get()), -3);
  T_SetStatusCallBack(nullptr);
  const Bytes zeros(30 * 90);
  EXPECT_EQ(pixels(bitmap.get()), zeros);
  T_FreeBitmap(bitmap.get());
  EXPECT_EQ(T_ClearBitmap(bitmap.get()), T_ERR_NO_STORAGE);
  uint8_t byte = 0;
  EXPECT_EQ(T_GetBitmapRow(bitmap.get(), &byte, 0, 1), T_ERR_NO_MEMORY);
}

TEST_P(Rows, CopiesAreEqualAndIndependent) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    Bitmap source;
    make_picture(source, 37, 11, bits, GetParam(), 0);
    source->XResolution = 300;
    source->Flags |= T_FLAG_GRAY | 0x4000u;
    source->GdiObjectA = platform::create_palette({source->Info.Palette, 16});
    Bitmap copy;
    ASSERT_EQ(T_CopyBitmap(copy.get(), source.get()), T_OK);
    EXPECT_EQ(pixels(copy.get()), pixels(source.get())) << bits;
    EXPECT_EQ(copy->ViewPerspective, 0u);
    EXPECT_EQ(copy->XResolution, 150);
    EXPECT_EQ(copy->Flags & 0x7F80u, T_FLAG_GRAY | 0x4000u);
    EXPECT_EQ(source->Flags & T_FLAG_LOCKED, 0u);
    EXPECT_NE(copy->GdiObjectA, source->GdiObjectA);
    T_PaletteEntry entries[16];
    ASSERT_EQ(platform::palette_entries(copy->GdiObjectA, 0, entries), 16u);
    EXPECT_EQ(entries[7].Red, 7);
    T_ClearBitmap(copy.get());
    EXPECT_NE(pixels(copy.get()), pixels(source.get()));
    EXPECT_EQ(T_CopyBitmapData(copy.get(), source.get()), T_OK);
    EXPECT_EQ(pixels(copy.get()), pixels(source.get()));
  }
}

TEST_P(Rows, RectanglesAreCutFromThePictureNotTheStorage) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    for (const uint32_t view_perspective : {0u, 2u}) {
      Bitmap source;
      make_picture(source, 61, 20, bits, GetParam(), view_perspective);
      const Bytes whole = rgb(source.get());
      Random random(bits);
      for (int i = 0; i < 30; ++i) {
        const uint32_t x = random.below(61), y = random.below(20);
        const uint32_t width = 1 + random.below(61 - x), height = 1 + random.below(20 - y);
        Bitmap part;
        ASSERT_EQ(T_CopyBitmapRect(part.get(), source.get(), x, y, width, height), T_OK);
        Bytes want;
        for (uint32_t row = y; row < y + height; ++row) {
          const auto from = whole.begin() + (row * 61 + x) * 3;
          want.insert(want.end(), from, from + width * 3);
        }
        ASSERT_EQ(rgb(part.get()), want) << bits << " bits at " << x << ", " << y;
      }
    }
  }
}

TEST(Bitmaps, RectanglesHaveTheHeadersWordsAndLieInside) {
  Bitmap source;
  make_picture(source, 10, 10, 8);
  source->Info.Header = {40, 10, 10, 1, 8, 5, 120, 7, 8, 9, 11};
  Bitmap part;
  EXPECT_EQ(T_CopyBitmapRect(part.get(), source.get(), 3, 4, 7, 6), T_OK);
  const T_BitmapInfoHeader header = {40, 7, 6, 1, 8, 5, 48, 7, 8, 9, 11};
  EXPECT_EQ(std::memcmp(&part->Info.Header, &header, sizeof(header)), 0);
  T_FreeBitmap(part.get());
  EXPECT_EQ(T_CopyBitmapRect(part.get(), source.get(), 4, 4, 7, 6), T_ERR_ARGUMENT);
  EXPECT_EQ(T_CopyBitmapRect(part.get(), source.get(), 3, 5, 7, 6), T_ERR_ARGUMENT);
  EXPECT_EQ(T_CopyBitmapRect(part.get(), source.get(), 0xFFFFFFFF, 0, 2, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(T_CopyBitmapRect(part.get(), source.get(), 3, 5, 0, 1), T_ERR_SIZE);
}

// 32-bit offsets: the last row of 3 GiB lies where signed numbers end. The file is sparse.
TEST(Bitmaps, ADiskBitmapOfThreeGigabytesWorksOrIsRefused) {
  const Leftovers before = leftovers();
  {
    Bitmap bitmap;
    T_InitBitmap(bitmap.get(), 32768, 32768, 24);
    const uint32_t line = bitmap->BytesPerLine;
    const int32_t status = T_AllocateBitmap(bitmap.get(), 3);
    ASSERT_TRUE(status == T_OK || status == T_ERR_NO_MEMORY);
    if (status == T_OK) {
      const Bytes row(line, 0x42);
      Bytes back(line);
      ASSERT_EQ(T_PutBitmapRow(bitmap.get(), row.data(), 32767, line), line);
      ASSERT_EQ(T_GetBitmapRow(bitmap.get(), back.data(), 32766, line), line);
      EXPECT_EQ(back, Bytes(line, 0));
      ASSERT_EQ(T_GetBitmapRow(bitmap.get(), back.data(), 32767, line), line);
      EXPECT_EQ(back, row);
    }
  }
  EXPECT_EQ(leftovers(), before);
}

TEST(FileTable, MemoryFilesReadSeekAndEndAsDocumented) {
  Bytes data(120);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i);
  const FileIOTable outer = settings.files;
  {
    const io::MemoryFileScope memory(data.data(), 120);
    const FileIOTable& files = settings.files;
    Bytes buffer(200);
    EXPECT_EQ(files.Open("anything", 0, 0), 5);
    EXPECT_EQ(files.Seek(5, 90, 0), 90);
    EXPECT_EQ(files.Read(5, buffer.data(), 100), 30u);
    EXPECT_EQ(buffer[0], 90);
    EXPECT_EQ(files.Read(5, buffer.data(), 100), 0u);
    EXPECT_EQ(files.Seek(5, 10, 2), 120);
    EXPECT_EQ(files.Seek(5, -10, 2), 110);
    EXPECT_EQ(files.Seek(5, -5, 1), 105);
    EXPECT_EQ(files.Seek(5, 500, 0), 500);
    EXPECT_EQ(files.Read(5, buffer.data(), 100), 0u);
    EXPECT_EQ(files.Write(5, buffer.data(), 17), 17u);
    EXPECT_EQ(files.Close(5), 1);
    EXPECT_EQ(files.Read(5, buffer.data(), 1), 1u);
    EXPECT_EQ(buffer[0], 0);
  }
  EXPECT_EQ(std::memcmp(&outer, &settings.files, sizeof(outer)), 0);
}

TEST(FileTable, SubFilesLieInsideTheFileAndStack) {
  Disk disk;
  disk.files["outer"] = Bytes(100);
  for (size_t i = 0; i < 100; ++i) disk.files["outer"][i] = static_cast<uint8_t>(i);
  const int32_t handle = settings.files.Open("outer", 0, 0);
  {
    const io::SubFileScope sub(handle, 20, 30);
    const FileIOTable& files = settings.files;
    uint8_t byte = 0;
    EXPECT_EQ(files.Open("ignored", 0, 0), handle);
    EXPECT_EQ(files.Read(handle, &byte, 1), 1u);
    EXPECT_EQ(byte, 20);
    EXPECT_EQ(files.Seek(handle, 5, 0), 5);
    EXPECT_EQ(files.Seek(handle, 1, 1), 6);
    EXPECT_EQ(files.Seek(handle, -1, 2), 29);
    files.Read(handle, &byte, 1);
    EXPECT_EQ(byte, 49);
    EXPECT_EQ(files.Close(handle), 1);
    EXPECT_EQ(disk.open_count, 1);
  }
  settings.files.Close(handle);
  EXPECT_EQ(disk.open_count, 0);
}

TEST(FileTable, NullArgumentsRestoreTheDefaults) {
  const FileIOTable before = settings.files;
  {
    Disk disk;
    EXPECT_NE(std::memcmp(&before, &settings.files, sizeof(before)), 0);
    T_RedirectIO(nullptr, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(std::memcmp(&before, &settings.files, sizeof(before)), 0);
  }
}

}  // namespace
}  // namespace tavo::test
