// Null pointers where something must be pointed at.
#include <gtest/gtest.h>

#include "base/settings.h"
#include "support.h"

namespace tavo::test {
namespace {

int32_t T_CALL take_nothing(BitmapHandle*, const void*, int32_t, void*) { return T_OK; }

TEST(Arguments, NullPointersAreRefused) {
  BitmapHandle record = {};
  ASSERT_EQ(T_InitBitmap(&record, 4, 4, 8), T_OK);
  uint8_t row[4] = {};
  Disk disk;
  disk.files["file"] = {1, 2, 3};
  const char* const name = "file";
  int32_t number = 0;

  const int32_t answers[] = {
      T_InitBitmap(nullptr, 4, 4, 8),
      T_AllocateBitmap(nullptr, 1),
      T_ReleaseBitmap(nullptr),
      T_FreeBitmap(nullptr),
      T_GetBitmapRow(nullptr, row, 0, 4),
      T_PutBitmapRow(&record, nullptr, 0, 4),
      T_GetBitmapRowCol(&record, nullptr, 0, 0, 4),
      T_PutBitmapRowCol(nullptr, row, 0, 0, 4),
      T_ClearBitmap(nullptr),
      T_CopyBitmap(&record, nullptr),
      T_CopyBitmapRect(nullptr, &record, 0, 0, 1, 1),
      T_CopyBitmapData(&record, nullptr),
      T_CopyBitmapHandle(nullptr, &record),
      T_LoadFile(name, nullptr, 8, 0, 0, take_nothing, nullptr),
      T_LoadBitmap(name, nullptr, 8, 0),
      T_SaveFile(name, nullptr, T_FORMAT_BMP, 8, 0, 0, 0, 0),
      T_SaveBMPBitmap(name, nullptr, 8),
      T_FileInfo(name, nullptr),
      T_LoadBMPFile(name, nullptr, take_nothing, 8, nullptr),
      T_LoadTIFFile(name, &record, nullptr, 8, nullptr),
      T_LoadGIFBitmap(name, nullptr),
      T_DecompressFile(name, nullptr, take_nothing, 8, nullptr, 4),
      T_DecompressBitmap(name, nullptr, 8),
      T_GetCompressFileStamp(name, nullptr),
      T_CompressBitmap(nullptr, name, 1, 25, 0),
      T_StartDithering(nullptr, nullptr, 2),
      T_OptimizeBitmap(&record, nullptr, 0, 16),
      T_ColorResolution(nullptr, 8, T_PALETTE_FIXED, nullptr, 0),
      T_GrayScaleBitmap(nullptr),
      T_SizeBitmap(nullptr, 2, 2),
      T_ResizeBitmap(&record, nullptr),
      T_StartResize(4, 4, 2, 2, nullptr),
      T_Resize(row, 0, 8, &number, &number, nullptr),
  };
  for (const int32_t& answer : answers) {
    EXPECT_EQ(answer, T_ERR_ARGUMENT) << "call " << &answer - answers;
  }
  EXPECT_EQ(T_AccessBitmap(nullptr), 0u);
  // What is wrong with the name comes first.
  EXPECT_EQ(T_LoadFile(nullptr, nullptr, 8, 0, 0, nullptr, nullptr), T_ERR_NAME);
  EXPECT_EQ(T_LoadPCXFile("missing", nullptr, nullptr, 8, nullptr), T_ERR_OPEN);
  EXPECT_EQ(T_FileInfoMemory(nullptr, nullptr, 0), T_ERR_ARGUMENT);
}

TEST(Arguments, ValuesOutOfRangeAreRefused) {
  Bitmap picture, other, empty;
  make_picture(picture, 4, 4, 24);
  T_InitBitmap(empty.get(), 4, 4, 24);
  BitmapHandle two = {}, eighth = *picture.get();
  T_InitBitmap(&two, 5, 5, 2);
  eighth.DitherMethod = 8;
  const T_PaletteEntry palette[256] = {};
  uint8_t row[32] = {};
  T_ResizeBlock* block = nullptr;
  const struct {
    int32_t status, want;
  } calls[] = {
      {T_StartDithering(&two, palette, 16), T_ERR_ARGUMENT},
      {T_StartDithering(&eighth, palette, 16), T_ERR_ARGUMENT},
      {T_StartDithering(picture.get(), palette, 0), T_ERR_ARGUMENT},
      {T_StartDithering(picture.get(), palette, 257), T_ERR_ARGUMENT},
      {T_StartDithering(picture.get(), palette, 0x80000000u), T_ERR_ARGUMENT},
      {T_DitherLine(picture.get(), row, row + 24), T_ERR_ARGUMENT},
      {T_StopDithering(picture.get()), T_OK},
      {T_OptimizeBitmap(picture.get(), other.get(), 0, 257), T_ERR_FORMAT},
      {T_OptimizeBitmap(picture.get(), other.get(), 0, 0), T_ERR_ARGUMENT},
      {T_OptimizeBitmap(picture.get(), picture.get(), 0, 16), T_ERR_ARGUMENT},
      {T_OptimizeBitmap(empty.get(), other.get(), 0, 16), T_ERR_ARGUMENT},
      {T_ColorResolution(empty.get(), 8, 1, nullptr, 0), T_ERR_NO_STORAGE},
      {T_GrayScaleBitmap(empty.get()), T_ERR_NO_STORAGE},
      {T_StartResize(1, 1, 0, 1, &block), T_ERR_ARGUMENT},
      {T_StartResize(1, 1, 1, -1, &block), T_ERR_ARGUMENT},
      {T_StartResize(0, 1, 1, 1, &block), T_ERR_ARGUMENT},
      {T_SizeBitmap(picture.get(), 0, 5), T_ERR_ARGUMENT},
      {T_SizeBitmap(picture.get(), 4, 4), T_OK},
      {T_SetCallbackLine(0), T_ERR_ARGUMENT},
      {T_SetCallbackLine(32), 32},
      {T_SavePCXBitmap(nullptr, picture.get(), 24), T_ERR_NAME},
  };
  for (const auto& c : calls) EXPECT_EQ(c.status, c.want) << "call " << &c - calls;
  EXPECT_EQ(picture->DitherState, nullptr);
}

TEST(Arguments, PageNumbersAreClamped) {
  for (const auto& [page, want] : {std::pair{0, 1}, {-5, 1}, {1023, 1023}, {1024, 1023}}) {
    EXPECT_EQ(T_SetPageNumber(page), T_OK);
    EXPECT_EQ(settings.page_number, want);
  }
  T_SetPageNumber(1);
}

}  // namespace
}  // namespace tavo::test
