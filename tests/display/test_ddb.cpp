// Device bitmaps, DIB sections, and what GDI makes of DIBs.
#include <gtest/gtest.h>

#include <cstring>

#include "core/bitmap.h"
#include "platform/platform.h"
#include "tavo45.h"
#include "tests/support.h"
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace tavo::test {
namespace {

DWORD gdi_objects() { return GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS); }

struct Info {
  BITMAPINFOHEADER header;
  RGBQUAD colors[256];
  BITMAPINFO* info() { return reinterpret_cast<BITMAPINFO*>(this); }
};

Info info_of(int32_t width, int32_t height, int32_t bits) {
  Info info = {};
  info.header = {sizeof info.header, width, height, 1, static_cast<WORD>(bits), 0, 0, 0, 0, 0, 0};
  for (int i = 0; i < 256; ++i) {
    info.colors[i] = {BYTE(i * 7), BYTE(255 - i), BYTE(i * 91), 0};
  }
  return info;
}

// A 32-bit section, top row first, that DIBs are drawn into.
class Screen {
 public:
  Screen(int32_t width, int32_t height) : width_(width), height_(height) {
    Info info = info_of(width, -height, 32);
    void* bits = nullptr;
    section_ = CreateDIBSection(nullptr, info.info(), DIB_RGB_COLORS, &bits, nullptr, 0);
    at_ = static_cast<uint8_t*>(bits);
    outer_ = SelectObject(dc_, section_);
  }
  ~Screen() {
    SelectObject(dc_, outer_);
    DeleteObject(section_);
    DeleteDC(dc_);
  }
  Bytes draw(const void* bits, const void* info) {
    EXPECT_EQ(SetDIBitsToDevice(dc_, 0, 0, width_, height_, 0, 0, 0, height_, bits,
                                static_cast<const BITMAPINFO*>(info), DIB_RGB_COLORS),
              height_);
    GdiFlush();
    Bytes all;
    for (int32_t i = 0; i < width_ * height_; ++i) {
      all.insert(all.end(), {at_[4 * i + 2], at_[4 * i + 1], at_[4 * i]});
    }
    return all;
  }

 private:
  int32_t width_, height_;
  HDC dc_ = CreateCompatibleDC(nullptr);
  HBITMAP section_ = nullptr;
  HGDIOBJ outer_ = nullptr;
  uint8_t* at_ = nullptr;
};

TEST(Ddb, GdiDrawsDibsAsThePictureIs) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    for (const uint32_t kind : {0u, 1u, 2u, 3u}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, kind " << kind);
      Bitmap bitmap;
      make_picture(bitmap, 37, 5, bits, 1, kind & 2);
      if (bits > 8) bitmap->Order = kind & 1;
      const Bytes want = rgb(bitmap.get());
      Screen screen(37, 5);
      void* dib = nullptr;
      ASSERT_EQ(T_ConvertToDIB(bitmap.get(), &dib, nullptr), T_OK);
      const auto* at = static_cast<const uint8_t*>(GlobalLock(dib));
      const auto& header = *reinterpret_cast<const BITMAPINFOHEADER*>(at);
      const size_t colors = bits > 8 ? 0 : header.biClrUsed != 0 ? header.biClrUsed : 1u << bits;
      EXPECT_EQ(GlobalSize(dib), 40 + colors * 4 + header.biSizeImage);
      EXPECT_EQ(screen.draw(at + 40 + colors * 4, at), want);
      GlobalUnlock(dib);
      Bitmap back;
      EXPECT_EQ(T_ConvertFromDIB(dib, 0, back.get()), T_OK);
      EXPECT_EQ(rgb(back.get()), want);
      EXPECT_EQ(T_FreeDIB(dib), T_OK);
      ASSERT_EQ(T_ChangeToDIB(bitmap.get()), T_OK);
      T_AccessBitmap(bitmap.get());
      EXPECT_EQ(screen.draw(bitmap->Data, &bitmap->Info), want);
    }
  }
}

TEST(Ddb, SectionsComeWithTheirOwnColorsSelectedOrNot) {
  Random random(45);
  for (const int32_t bits : {1, 4, 8, 16, 24, 32}) {
    for (const bool is_selected : {false, true}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, selected " << is_selected);
      const DWORD before = gdi_objects();
      Info info = info_of(9, 3, bits);
      void* at = nullptr;
      HBITMAP section = CreateDIBSection(nullptr, info.info(), DIB_RGB_COLORS, &at, nullptr, 0);
      const Bytes noise = random.bytes((9u * bits + 31) / 32 * 4 * 3);
      std::memcpy(at, noise.data(), noise.size());
      HDC dc = CreateCompatibleDC(nullptr);
      HGDIOBJ outer = is_selected ? SelectObject(dc, section) : nullptr;
      Bitmap bitmap;
      ASSERT_EQ(T_ConvertFromDDB(section, nullptr, bitmap.get()), T_OK);
      EXPECT_EQ(bitmap->BitsPerPixel, bits <= 8 ? bits : 24);
      EXPECT_EQ(bitmap->ViewPerspective, 2u);
      EXPECT_FALSE(core::has_flag(*bitmap.get(), T_FLAG_LOCKED));
      if (is_selected) {
        EXPECT_EQ(GetCurrentObject(dc, OBJ_BITMAP), section);
      } else {
        outer = SelectObject(dc, section);
      }
      const Bytes got = rgb(bitmap.get());
      for (int32_t i = 0; i < 27; ++i) {
        EXPECT_EQ(GetPixel(dc, i % 9, i / 9), RGB(got[3 * i], got[3 * i + 1], got[3 * i + 2]));
      }
      SelectObject(dc, outer);
      DeleteDC(dc);
      DeleteObject(section);
      EXPECT_EQ(gdi_objects(), before);
    }
  }
}

TEST(Ddb, DeviceBitmapsOfTheScreenAndOfFewBits) {
  HDC screen = GetDC(nullptr);
  HBITMAP ddb = CreateCompatibleBitmap(screen, 5, 2);
  HDC dc = CreateCompatibleDC(screen);
  ReleaseDC(nullptr, screen);
  HGDIOBJ outer = SelectObject(dc, ddb);
  PatBlt(dc, 0, 0, 5, 2, WHITENESS);
  SetPixel(dc, 1, 0, RGB(200, 100, 50));
  Bitmap bitmap;
  ASSERT_EQ(T_ConvertFromDDB(ddb, nullptr, bitmap.get()), T_OK);
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  EXPECT_EQ(part(rgb(bitmap.get()), 0, 9), (Bytes{255, 255, 255, 200, 100, 50, 255, 255, 255}));
  SelectObject(dc, outer);
  DeleteDC(dc);
  DeleteObject(ddb);

  const uint8_t one[] = {0xA0, 0, 0x40, 0};
  ddb = CreateBitmap(3, 2, 1, 1, one);
  Bitmap black_white;
  ASSERT_EQ(T_ConvertFromDDB(ddb, nullptr, black_white.get()), T_OK);
  EXPECT_EQ(black_white->BitsPerPixel, 1);
  EXPECT_EQ(rgb(black_white.get()),
            (Bytes{255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0, 255, 255, 255, 0, 0, 0}));
  DeleteObject(ddb);

  const uint8_t eight[] = {3, 250, 7, 0};
  ddb = CreateBitmap(3, 1, 1, 8, eight);
  T_PaletteEntry colors[256];
  for (int i = 0; i < 256; ++i) colors[i] = {BYTE(i), BYTE(255 - i), BYTE(i * 3), 0};
  const auto palette = reinterpret_cast<HPALETTE>(platform::create_palette(colors));
  Bitmap indexed;
  ASSERT_EQ(T_ConvertFromDDB(ddb, palette, indexed.get()), T_OK);
  EXPECT_EQ(indexed->BitsPerPixel, 8);
  EXPECT_EQ(indices(indexed.get()), (Bytes{3, 250, 7}));
  EXPECT_EQ(rgb(indexed.get()), (Bytes{9, 252, 3, 238, 5, 250, 21, 248, 7}));
  DeleteObject(ddb);

  Bitmap none;
  EXPECT_EQ(T_ConvertFromDDB(reinterpret_cast<HBITMAP>(palette), nullptr, none.get()),
            T_ERR_ARGUMENT);
  EXPECT_EQ(T_ConvertFromDDB(nullptr, nullptr, none.get()), T_ERR_ARGUMENT);
  EXPECT_EQ(T_ConvertFromDDB(ddb, nullptr, none.get()), T_ERR_ARGUMENT);
  DeleteObject(palette);
}

}  // namespace
}  // namespace tavo::test
