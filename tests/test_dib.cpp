// Device-independent bitmaps in memory: to them, from them, in place.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "core/bitmap.h"
#include "format_cases.h"
#include "platform/platform.h"
#include "tavo45.h"

namespace tavo::test {
namespace {

Bytes to_dib(BitmapHandle* bitmap) {
  void* dib = nullptr;
  uint32_t size = 0;
  EXPECT_EQ(T_ConvertToDIB(bitmap, &dib, &size), T_OK);
  const auto handle = reinterpret_cast<uintptr_t>(dib);
  const auto* at = static_cast<const uint8_t*>(platform::lock_block(handle));
  Bytes bytes(at, at + size);
  platform::unlock_block(handle);
  EXPECT_EQ(T_FreeDIB(dib), T_OK);
  return bytes;
}

int32_t from_dib(const Bytes& dib, Bitmap& bitmap) {
  return T_ConvertFromDIB(dib.data(), static_cast<uint32_t>(dib.size()), bitmap.get());
}

// Red, green, blue of a DIB with a 40-byte header whose rows go upward; its padding is zero.
Bytes colors_of(const Bytes& dib) {
  const auto width = static_cast<int32_t>(load_le32(&dib[4]));
  const auto height = static_cast<int32_t>(load_le32(&dib[8]));
  const int32_t bits = load_le16(&dib[14]);
  T_PaletteEntry palette[256] = {};
  const size_t entries = bits > 8 ? 0 : load_le32(&dib[32]) != 0 ? load_le32(&dib[32]) : 1u << bits;
  std::memcpy(palette, &dib[40], entries * 4);
  const size_t line = (size_t(width) * bits + 31) / 32 * 4;
  EXPECT_EQ(dib.size(), 40 + entries * 4 + line * height);
  EXPECT_EQ(load_le32(&dib[20]), line * height);
  Bytes all;
  for (int32_t y = height - 1; y >= 0; --y) {
    const uint8_t* row = &dib[40 + entries * 4 + line * y];
    for (int32_t bit = width * bits; bit < int32_t(line) * 8; ++bit) {
      EXPECT_EQ(row[bit / 8] >> (7 - bit % 8) & 1, 0) << "padding";
    }
    const Bytes triples = row_rgb(row, width, bits, T_ORDER_BGR, palette);
    all.insert(all.end(), triples.begin(), triples.end());
  }
  return all;
}

// Every depth, storage, order and perspective: `check` gets a bitmap that is not accessed.
void with_each(const std::function<void(Bitmap&)>& check) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    for (const uint32_t kind : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, kind " << kind);
      Bitmap bitmap;
      make_picture(bitmap, 37, 5, bits, kind % 2 == 0 ? 1 : 3, kind & 2);
      if (kind >= 4) bitmap->Order ^= 1;
      if (kind >= 4 && bits <= 8) bitmap->Colors = 2;
      bitmap->XResolution = 204;
      bitmap->YResolution = 98;
      check(bitmap);
    }
  }
}

TEST(Dib, PicturesOfEveryKindGoThereAndBack) {
  with_each([](Bitmap& bitmap) {
    const int32_t bits = bitmap->BitsPerPixel;
    // Entries that are not in use are not told.
    std::fill(bitmap->Info.Palette + std::min(bitmap->Colors, 256u), bitmap->Info.Palette + 256,
              T_PaletteEntry{});
    const Bytes before = rgb(bitmap.get());
    const BitmapHandle record = *bitmap.get();
    const Bytes dib = to_dib(bitmap.get());
    EXPECT_EQ(bitmap->Flags, record.Flags);
    EXPECT_EQ(colors_of(dib), before);
    EXPECT_EQ(load_le16(&dib[14]), bits == 2 ? 4 : bits);
    EXPECT_EQ(load_le32(&dib[24]), 8031u);  // 204 dpi
    EXPECT_EQ(load_le32(&dib[28]), 3858u);
    Bitmap back;
    ASSERT_EQ(from_dib(dib, back), T_OK);
    EXPECT_EQ(back->BitsPerPixel, bits == 2 ? 4 : bits);
    EXPECT_EQ(rgb(back.get()), before);
    EXPECT_EQ(back->XResolution, 204);
    EXPECT_EQ(back->YResolution, 98);
    EXPECT_EQ(back->Colors, bits <= 8 ? bitmap->Colors : 0);
    EXPECT_FALSE(core::has_flag(*back.get(), T_FLAG_LOCKED));
  });
}

TEST(Dib, InPlaceTheRecordAndItsDataAreOne) {
  with_each([](Bitmap& bitmap) {
    const int32_t bits = bitmap->BitsPerPixel;
    const Bytes before = rgb(bitmap.get());
    const uintptr_t handle = bitmap->Handle;
    ASSERT_EQ(T_ChangeToDIB(bitmap.get()), T_OK);
    EXPECT_EQ(bitmap->Handle == handle, bits != 2);
    EXPECT_EQ(bitmap->ViewPerspective, 2u);
    EXPECT_EQ(bitmap->Order, static_cast<uint32_t>(T_ORDER_BGR));
    EXPECT_EQ(rgb(bitmap.get()), before);
    Bytes dib(reinterpret_cast<uint8_t*>(&bitmap->Info),
              reinterpret_cast<uint8_t*>(&bitmap->Info) + 40);
    const bool has_all = bits > 8 || bitmap->Colors == 1u << bitmap->BitsPerPixel;
    EXPECT_EQ(load_le32(&dib[32]), has_all ? 0 : bitmap->Colors);
    const Bytes same = to_dib(bitmap.get());
    EXPECT_EQ(Bytes(same.begin(), same.begin() + 40), dib);
    const BitmapHandle record = *bitmap.get();
    ASSERT_EQ(T_ChangeToDIB(bitmap.get()), T_OK);
    EXPECT_EQ(std::memcmp(&record, bitmap.get(), offsetof(BitmapHandle, RowOffset)), 0);
    EXPECT_EQ(rgb(bitmap.get()), before);
  });
}

// A header of `size` bytes for a picture of 2 x 1 pixels.
Bytes header_of(uint32_t size, uint32_t bits, uint32_t coding = 0, const Bytes& masks = {}) {
  if (size == 12) return join({le32(12), le16(2), le16(1), le16(1), le16(bits)});
  Bytes header = join({bmp_info(2, 1, bits, coding, 0), masks});
  header[0] = static_cast<uint8_t>(size);
  if (size > 40) header.resize(std::max<size_t>(size, header.size()));
  if (size < 40) header.resize(size);
  return header;
}
Bytes masks(uint32_t red, uint32_t green, uint32_t blue) {
  return join({le32(red), le32(green), le32(blue)});
}

TEST(Dib, EveryHeaderIsUnderstood) {
  const Bytes black_red = {0, 0, 0, 0, 0, 0, 255, 0};
  const Bytes red_blue = {255, 0, 0, 0, 0, 255};
  const Bytes rgb565 = masks(0xF800, 0x07E0, 0x001F), rgb555 = masks(0x7C00, 0x03E0, 0x001F);
  const Bytes usual = masks(0xFF0000, 0xFF00, 0xFF), turned = masks(0xFF, 0xFF00, 0xFF0000);
  const struct {
    const char* why;
    Bytes dib;
    int32_t bits;
    Bytes want;  // red, green, blue
    uint32_t colors = 0;
  } cases[] = {
      {"12",
       join({header_of(12, 1), {0, 0, 0, 0, 0, 255}, {0x40, 0, 0, 0}}),
       1,
       {0, 0, 0, 255, 0, 0},
       2},
      {"16", join({header_of(16, 1), black_red, {0x80, 0, 0, 0}}), 1, {255, 0, 0, 0, 0, 0}, 2},
      {"40, 2 bits",
       join({header_of(40, 2), black_red, Bytes(8), {0x10, 0, 0, 0}}),
       2,
       {0, 0, 0, 255, 0, 0},
       4},
      {"52", join({header_of(52, 16, 3, rgb565), {0, 0xF8, 0x1F, 0}}), 24, red_blue},
      {"56", join({header_of(56, 32, 3, usual), {0, 0, 255, 9, 255, 0, 0, 7}}), 32, red_blue},
      {"64", join({header_of(64, 24), {0, 0, 255, 255, 0, 0, 0, 0}}), 24, red_blue},
      {"108", join({header_of(108, 32, 3, turned), {255, 0, 0, 9, 0, 0, 255, 7}}), 24, red_blue},
      {"124", join({header_of(124, 24), {0, 0, 255, 255, 0, 0, 0, 0}}), 24, red_blue},
      {"masks behind", join({header_of(40, 16, 3), rgb555, {0, 0x7C, 0x1F, 0}}), 16, red_blue},
      {"10-10-10",
       join({header_of(40, 32, 3), masks(0x3FF00000, 0xFFC00, 0x3FF), le32(0x3FF00000),
             le32(0x3FF)}),
       24, red_blue},
      {"one bit each", join({header_of(40, 16, 3), masks(4, 2, 1), {4, 0, 1, 0}}), 24, red_blue},
      {"advice", join({bmp_info(2, 1, 24, 0, 2), black_red, {0, 0, 255, 255, 0, 0, 0, 0}}), 24,
       red_blue, 2},
      {"300 colours",
       join({bmp_info(2, 1, 8, 0, 300), black_red, Bytes(298 * 4), {1, 0, 0, 0}}),
       8,
       {255, 0, 0, 0, 0, 0},
       256},
      {"RLE8",
       join({bmp_info(2, 1, 8, 1, 2), black_red, {9, 1, 0, 1}}),
       8,
       {255, 0, 0, 255, 0, 0},
       2},
      {"RLE8 cut",
       join({bmp_info(2, 1, 8, 1, 2), black_red, {1, 1, 9}}),
       8,
       {255, 0, 0, 0, 0, 0},
       2},
      {"RLE4 of nothing", join({bmp_info(2, 1, 4, 2, 2), black_red}), 4, Bytes(6), 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.why);
    Bitmap bitmap;
    ASSERT_EQ(from_dib(c.dib, bitmap), T_OK);
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits);
    EXPECT_EQ(rgb(bitmap.get()), c.want);
    EXPECT_EQ(bitmap->Colors, c.colors);
    EXPECT_EQ(bitmap->Order, static_cast<uint32_t>(T_ORDER_BGR));
  }
}

TEST(Dib, WhatIsWrongIsTold) {
  const auto info = [](int32_t width, int32_t height, uint32_t bits, uint32_t coding = 0,
                       uint32_t used = 0) {
    return join({bmp_info(width, height, bits, coding, used), Bytes(4096)});
  };
  const auto masked = [](const Bytes& three, uint32_t bits = 32) {
    return join({bmp_info(2, 1, bits, 3, 0), three, Bytes(64)});
  };
  Bytes planes = info(2, 1, 24);
  planes[12] = 2;
  const struct {
    const char* why;
    Bytes dib;
    int32_t want;
  } cases[] = {
      {"no bytes", {40}, T_ERR_READ},
      {"a header of 41 bytes", join({le32(41), Bytes(4096)}), T_ERR_BAD_DATA},
      {"width 0", info(0, 1, 24), T_ERR_BAD_DATA},
      {"width -1", info(-1, 1, 24), T_ERR_BAD_DATA},
      {"two planes", planes, T_ERR_BAD_DATA},
      {"height 0", info(2, 0, 24), T_ERR_SIZE},
      {"lowest height", info(2, INT32_MIN, 24), T_ERR_SIZE},
      {"4 GiB", info(65536, 65536, 8), T_ERR_SIZE},
      {"4 GiB of runs", info(65536, 65536, 8, 1), T_ERR_SIZE},
      {"row beyond 32 bits", info(INT32_MAX, 1, 32), T_ERR_SIZE},
      {"3 bits", info(2, 1, 3), T_ERR_SUBTYPE},
      {"64 bits", info(2, 1, 64), T_ERR_SUBTYPE},
      {"RLE8 of 4 bits", info(2, 1, 4, 1), T_ERR_SUBTYPE},
      {"RLE4 of 8 bits", info(2, 1, 8, 2), T_ERR_SUBTYPE},
      {"fields of 24 bits", info(2, 1, 24, 3), T_ERR_SUBTYPE},
      {"JPEG", info(2, 1, 24, 4), T_ERR_SUBTYPE},
      {"PNG", info(2, 1, 24, 5), T_ERR_SUBTYPE},
      {"Huffman", join({header_of(64, 1, 3), Bytes(64)}), T_ERR_SUBTYPE},
      {"RLE24", join({header_of(64, 24, 4), Bytes(64)}), T_ERR_SUBTYPE},
      {"no masks", masked(masks(0, 0, 0)), T_ERR_BAD_DATA},
      {"masks overlap", masked(masks(0xFF00, 0xFF00, 0xFF)), T_ERR_BAD_DATA},
      {"masks with gaps", masked(masks(0xFF0000, 0xF0F00, 0xFF)), T_ERR_BAD_DATA},
      {"masks beyond", masked(masks(0xFF0000, 0xFF00, 0xFF), 16), T_ERR_BAD_DATA},
      {"no table", join({bmp_info(2, 1, 8, 0, 0), Bytes(1023)}), T_ERR_READ},
      {"a table of 16 GiB", info(2, 1, 8, 0, UINT32_MAX), T_ERR_READ},
      {"bits cut", join({bmp_info(2, 2, 24, 0, 0), Bytes(15)}), T_ERR_READ},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    EXPECT_EQ(from_dib(c.dib, bitmap), c.want) << c.why;
    EXPECT_FALSE(core::has_flag(*bitmap.get(), T_FLAG_ALLOCATED)) << c.why;
  }
}

// Cut at every length, in memory that ends there, and with every byte of what describes it changed.
TEST(Dib, NothingInABlockIsTrusted) {
  Random random(45);
  for (const Bytes& good :
       {join({header_of(12, 4), Bytes(48), {0x12, 0, 0, 0}}),
        join({header_of(124, 32, 3, masks(0xFF, 0xFF00, 0xFF0000)), Bytes(8)}),
        join(
            {bmp_info(6, 3, 8, 1, 3), Bytes(12), {2, 1, 0, 4, 1, 2, 2, 1, 0, 2, 1, 1, 3, 2, 0, 1}}),
        join({bmp_info(3, -2, 16, 3, 0), masks(0xF800, 0x7E0, 0x1F), random.bytes(16)})}) {
    for (size_t size = 1; size <= good.size(); ++size) {
      Bitmap bitmap;
      const Bytes cut(good.begin(), good.begin() + static_cast<ptrdiff_t>(size));
      const int32_t status = from_dib(cut, bitmap);
      const bool may_load = size == good.size() || good[16] == 1;  // runs may end anywhere
      EXPECT_TRUE((may_load && status == T_OK) || (size < good.size() && status == T_ERR_READ))
          << status;
    }
    T_SetLimit(T_LIMIT_PIXELS, 100000);
    for (size_t i = 0; i < std::min<size_t>(good.size(), 60) * 8; ++i) {
      Bytes changed = good;
      changed[i / 8] = i % 8 == 0 ? 0xFF : random.byte();
      Bitmap bitmap;
      const int32_t status = from_dib(changed, bitmap);
      EXPECT_TRUE(is_documented(status));
      if (status == T_OK) rgb(bitmap.get());
    }
    T_SetLimit(T_LIMIT_PIXELS, 0);
  }
}

TEST(Dib, ArgumentsAndMemory) {
  Bitmap bitmap;
  make_picture(bitmap, 40, 9, 2);
  void* dib = &bitmap;
  EXPECT_EQ(T_ConvertToDIB(nullptr, &dib, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(dib, nullptr);
  EXPECT_EQ(T_ConvertToDIB(bitmap.get(), nullptr, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_ConvertFromDIB(nullptr, 40, bitmap.get()), T_ERR_ARGUMENT);
  EXPECT_EQ(T_ConvertFromDIB(&dib, 40, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_ChangeToDIB(nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_FreeDIB(nullptr), T_OK);
  Bitmap none;
  T_InitBitmap(none.get(), 4, 4, 8);
  EXPECT_EQ(T_ConvertToDIB(none.get(), &dib, nullptr), T_ERR_NO_STORAGE);
  EXPECT_EQ(T_ChangeToDIB(none.get()), T_ERR_NO_STORAGE);

  const Bytes good = to_dib(bitmap.get());
  const auto prepare = [](Bitmap& b) { make_picture(b, 40, 9, 2); };
  refuse_each(
      [](BitmapHandle* b) {
        void* made = nullptr;
        const int32_t status = T_ConvertToDIB(b, &made, nullptr);
        EXPECT_EQ(made != nullptr, status == T_OK);
        T_FreeDIB(made);
        return status;
      },
      prepare);
  refuse_each([](BitmapHandle* b) { return T_ChangeToDIB(b); }, prepare);
  refuse_each([&](BitmapHandle* b) {
    return T_ConvertFromDIB(good.data(), static_cast<uint32_t>(good.size()), b);
  });
}

}  // namespace
}  // namespace tavo::test
