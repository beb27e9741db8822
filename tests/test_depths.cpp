// Two bits a pixel are a depth like any other: every storage, every operation, every reader.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "format_cases.h"

namespace tavo::test {
namespace {

// The same pixels and palette with a byte for each index.
void widen(BitmapHandle* from, Bitmap& to) {
  make_picture(to, from->Width, from->Height, 8, 1, from->ViewPerspective);
  std::memcpy(to->Info.Palette, from->Info.Palette, sizeof to->Info.Palette);
  const Bytes all = indices(from);
  T_AccessBitmap(to.get());
  for (int32_t y = 0; y < from->Height; ++y) {
    T_PutBitmapRow(to.get(), &all[y * from->Width], y, from->Width);
  }
  T_ReleaseBitmap(to.get());
}

// A 2-bit PCX picture.
Bytes two_bit_file(uint32_t width, uint32_t height) {
  const uint32_t line = (width + 15) / 16 * 4;
  Random random(width);
  Bytes data;
  for (uint32_t i = 0; i < line * height; ++i) data.insert(data.end(), {0xC1, random.byte()});
  return pcx_file(width, height, 2, 1, line, data, hex("FF0000 00FF00 0000FF FFFFFF"));
}

TEST(Depths, ResizedTwoBitPixelsAreCopiedWhole) {
  Random random(2);
  for (int round = 0; round < 200; ++round) {
    Bitmap two, eight, other;
    make_picture(two, 1 + random.below(80), 1 + random.below(20), 2, round % 2 == 0 ? 1 : 3);
    widen(two.get(), eight);
    const int32_t width = 1 + random.below(80), height = 1 + random.below(30);
    T_InitBitmap(other.get(), width, height, 2);
    T_AllocateBitmap(other.get(), round % 3 == 0 ? 1 : 3);
    ASSERT_EQ(T_ResizeBitmap(two.get(), other.get()), T_OK);
    ASSERT_EQ(T_SizeBitmap(two.get(), width, height), T_OK);
    ASSERT_EQ(T_SizeBitmap(eight.get(), width, height), T_OK);
    ASSERT_EQ(rgb(two.get()), rgb(eight.get())) << width << " x " << height;
    ASSERT_EQ(pixels(other.get()), pixels(two.get()));
  }
  T_ResizeBlock* block = nullptr;
  ASSERT_EQ(T_StartResize(37, 29, 80, 29, &block), T_OK);
  Bytes row(20);
  int32_t width = 0, rows = 0;
  EXPECT_EQ(T_Resize(row.data(), 0, 2, &width, &rows, block), T_ERR_ARGUMENT);
  T_StopResize(block);
}

// Reads "x" into an allocated bitmap of this depth and size, whose rows the sink's are then.
int32_t read_into(Bitmap& bitmap, FileReader read, int32_t width, int32_t height, int32_t bits) {
  T_InitBitmap(bitmap.get(), width, height, bits);
  T_AllocateBitmap(bitmap.get(), 1);
  Rows rows;
  const int32_t status = read("x", bitmap.get(), Rows::sink, bits == 2 ? 4 : bits, &rows);
  rows.store(bitmap);
  return status;
}

// Indices that a pass of this palette gives to the picture's rows as they are stored.
Bytes dithered(BitmapHandle* source, const T_PaletteEntry* palette, uint32_t colors) {
  Bytes all, in(source->BytesPerLine), out(source->Width);
  EXPECT_EQ(T_StartDithering(source, palette, colors), T_OK);
  T_AccessBitmap(source);
  for (int32_t y = 0; y < source->Height; ++y) {
    T_GetBitmapRow(source, in.data(), y, source->BytesPerLine);
    T_DitherLine(source, in.data(), out.data());
    for (int32_t x = 0; x < source->Width; ++x) all.push_back(out[x / 2] >> (x % 2 ? 0 : 4) & 15);
  }
  T_ReleaseBitmap(source);
  T_StopDithering(source);
  return all;
}

TEST(Depths, ReadersFillAllocatedTwoBitBitmaps) {
  Disk disk;
  const std::pair<int32_t, int32_t> sizes[] = {{37, 29}, {80, 29}, {20, 55}};
  for (const int32_t bits : {1, 4, 8, 24}) {
    disk.files["x"] = saved_sample(T_FORMAT_BMP, bits, 37, 29);
    for (const auto& [width, height] : sizes) {
      for (const uint32_t method : {T_DITHER_NONE, T_DITHER_FLOYD_STEINBERG, T_DITHER_BURKES}) {
        T_DefaultDithering(method);
        Bitmap whole, wanted, wide;
        ASSERT_EQ(T_LoadBMPBitmap("x", whole.get()), T_OK);
        ASSERT_EQ(T_SizeBitmap(whole.get(), width, height), T_OK);
        ASSERT_EQ(read_into(wanted, T_LoadBMPFile, width, height, 2), T_OK);
        if (bits == 1) {
          EXPECT_EQ(rgb(wanted.get()), rgb(whole.get()));
          continue;
        }
        EXPECT_EQ(wanted->Info.Palette[2].Green, 170) << "four even greys";
        widen(wanted.get(), wide);
        EXPECT_EQ(pixels(wide.get()), dithered(whole.get(), wanted->Info.Palette, 4)) << bits;
      }
    }
  }
  T_DefaultDithering(T_DITHER_ORDERED);
  disk.files["x"] = saved_sample(T_FORMAT_CMP_SAVE, 24, 37, 29);
  Bitmap same, own;
  T_InitBitmap(same.get(), 37, 29, 2);
  T_AllocateBitmap(same.get(), 1);
  EXPECT_EQ(T_DecompressBitmap("x", same.get(), 24), T_OK);
  EXPECT_EQ(same->BitsPerPixel, 2);
}

TEST(Depths, TwoBitFilesGoIntoBitmapsOfAnyDepthAndSize) {
  Disk disk;
  disk.files["x"] = two_bit_file(37, 29);
  for (const auto& [width, height] : {std::pair{37, 29}, {80, 29}, {20, 55}}) {
    Bitmap whole;
    ASSERT_EQ(T_LoadPCXBitmap("x", whole.get()), T_OK);
    ASSERT_EQ(T_SizeBitmap(whole.get(), width, height), T_OK);
    for (const int32_t bits : {2, 4, 8, 16, 24, 32}) {
      Bitmap wanted;
      ASSERT_EQ(read_into(wanted, T_LoadPCXFile, width, height, bits), T_OK);
      EXPECT_EQ(rgb(wanted.get()), rgb(whole.get())) << bits;
    }
    Bitmap one;
    EXPECT_EQ(read_into(one, T_LoadPCXFile, width, height, 1), T_OK);
  }
}

TEST(Depths, TwoBitFilesAreMappedToTheFixedPalettes) {
  const Bytes file = two_bit_file(37, 29);
  Bitmap own;
  ASSERT_EQ(load(file, own), T_OK);
  for (const int32_t bits : {0, 4, 8}) {
    Bitmap fixed;
    ASSERT_EQ(T_LoadMemory(file.data(), fixed.get(), bits, -1, T_LOAD_ALLOCATE | T_LOAD_FIXED,
                           nullptr, nullptr, file.size()),
              T_OK);
    // Red, green, blue and white are in the palettes of 4 and 8 bits.
    if (bits == 0) {
      EXPECT_EQ(fixed->Info.Palette[1].Red, 85);
    } else {
      EXPECT_EQ(rgb(fixed.get()), rgb(own.get())) << bits;
    }
  }
}

// What the library does to a bitmap, and whether the picture is still the same afterwards.
struct Operation {
  const char* name;
  int32_t (*run)(BitmapHandle* bitmap);
  bool keeps_colors;
};

int32_t saved_and_loaded(BitmapHandle* bitmap, int32_t format, bool direct) {
  if (direct) T_AccessBitmap(bitmap);
  const int32_t saved = T_SaveFile("y", bitmap, format, 24, 20, 0, direct, 0);
  T_ReleaseBitmap(bitmap);
  if (saved != T_OK) return saved;
  T_FreeBitmap(bitmap);
  return T_LoadBitmap("y", bitmap, 0, -1);
}

const Operation kOperations[] = {
    {"24 bits", [](BitmapHandle* b) { return T_ColorResolution(b, 24, 4, nullptr, 0); }, true},
    {"4 bits", [](BitmapHandle* b) { return T_ColorResolution(b, 4, 2, nullptr, 0); }, false},
    {"grey", [](BitmapHandle* b) { return T_GrayScaleBitmap(b); }, false},
    {"BMP", [](BitmapHandle* b) { return saved_and_loaded(b, T_FORMAT_BMP, false); }, true},
    {"direct TIFF", [](BitmapHandle* b) { return saved_and_loaded(b, T_FORMAT_TIFF, true); }, true},
    {"compressed", [](BitmapHandle* b) { return T_CompressBitmap(b, "y", 3, 20, 0); }, true},
    {"stamped",
     [](BitmapHandle* b) { return T_CompressBitmapWithStamp(b, "y", 0, 20, 9, 9, 8, 0); }, true},
};

TEST(Depths, OperationsTakeTwoAndSixteenBitsInEveryStorage) {
  Disk disk;
  const Leftovers before = leftovers();
  for (const int32_t bits : {2, 16}) {
    for (const Operation& each : kOperations) {
      for (const uint32_t request : {1u, 3u}) {
        SCOPED_TRACE(std::string(each.name) + (request == 1 ? ", memory" : ", disk"));
        Bitmap bitmap;
        make_picture(bitmap, 37, 29, bits, request);
        const Bytes want = rgb(bitmap.get());
        EXPECT_EQ(each.run(bitmap.get()), T_OK) << bits << " bits";
        EXPECT_TRUE(!each.keeps_colors || rgb(bitmap.get()) == want) << bits << " bits";
      }
      // Rows that come from elsewhere, and none at all.
      for (const int32_t kind : {3, 4, 6, 0}) {
        Bitmap bitmap;
        T_InitBitmap(bitmap.get(), 37, 29, bits);
        bitmap->ReleaseCallback = nullptr;
        bitmap->StorageKind = kind;
        EXPECT_TRUE(kind == 0 || T_AllocateBitmap(bitmap.get(), 8) == T_OK);
        EXPECT_LT(each.run(bitmap.get()), 0) << each.name << ", kind " << kind;
      }
    }
  }
  EXPECT_EQ(leftovers(), before);
}

}  // namespace
}  // namespace tavo::test
