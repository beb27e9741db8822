// Painting, judged by what is on the device afterwards.
#include <gtest/gtest.h>

#include "surface.h"
#include "tests/paint_model.h"

namespace tavo::test {
namespace {

using process::Axis;

// The settings as they are at first, at the end of a scope again.
struct Settings {
  ~Settings() {
    T_EnableFastPaint(0), T_EnableIndexedPaint(0), T_EnableDitheredPaint(1);
    T_EnableOrderedDither(0), T_EnableScaleToGray(0), T_SetStatusCallBack(nullptr);
  }
};

Bytes part_of(const Bytes& rgb, int32_t width, const RECT& area) {
  Bytes all;
  for (int32_t y = area.top; y < area.bottom; ++y) {
    const Bytes line = part(rgb, (y * width + area.left) * 3, (area.right - area.left) * 3);
    all.insert(all.end(), line.begin(), line.end());
  }
  return all;
}

TEST(PaintDevice, EveryDepthMirroredAndClipped) {
  const Settings at_the_end;
  constexpr RECT kSource = {3, 2, 33, 26}, kClip = {9, 7, 30, 21};
  constexpr RECT kPlaces[] = {{5, 4, 35, 28}, {30, 4, 10, 20}, {5, 31, 18, 4}, {39, 30, 0, 0}};
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    for (int32_t round = 0; round < 32; ++round) {
      const RECT& place = kPlaces[round / 8];
      const bool fast = round % 2 != 0, has_clip = round / 2 % 2 != 0;
      T_EnableFastPaint(fast);
      T_EnableScaleToGray(has_clip);
      Bitmap bitmap;
      make_picture(bitmap, 37, 29, bits, round % 3 == 0 ? 3 : 1, round % 5);
      if (bits > 8) bitmap->Order = round % 2;
      const bool averages = !fast && (bits != 1 || has_clip);
      const auto axis = [&](int32_t first, int32_t end, int32_t from, int32_t to) {
        const int32_t results = std::abs(to - from);
        return Axis{first, end - first, results, to < from, averages && results < end - first};
      };
      const Axis across = axis(kSource.left, kSource.right, place.left, place.right);
      const Axis down = axis(kSource.top, kSource.bottom, place.top, place.bottom);
      Surface surface(40, 32, round / 4 % 2 == 0 ? 32 : 24);
      const RECT all = {0, 0, 40, 32};
      const Bytes before = surface.rgb();
      const uint32_t flags = bitmap->Flags;
      const Bytes whole = rgb(bitmap.get());
      ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), &kSource, &place,
                              has_clip ? &kClip : nullptr, 0),
                T_OK);
      EXPECT_EQ(bitmap->Flags, flags);
      SCOPED_TRACE(testing::Message() << bits << " bits, " << round);
      RECT placed = {std::min(place.left, place.right), std::min(place.top, place.bottom),
                     std::max(place.left, place.right), std::max(place.top, place.bottom)};
      RECT drawn = placed;
      if (has_clip) IntersectRect(&drawn, &placed, &kClip);
      std::vector<double> want(before.begin(), before.end());
      const std::vector<double> picture = shown(whole, bitmap->Width, across, down);
      for (int32_t y = drawn.top; y < drawn.bottom; ++y) {
        std::copy_n(
            picture.begin() + ((y - placed.top) * across.results + drawn.left - placed.left) * 3,
            (drawn.right - drawn.left) * 3, want.begin() + (y * 40 + drawn.left) * 3);
      }
      expect_shown(want, surface.rgb(all));
    }
  }
}

TEST(PaintDevice, FollowsMappingModesAndOperations) {
  Bitmap bitmap;
  make_picture(bitmap, 16, 12, 24);
  Surface surface(64, 48, 32), other(64, 48, 32);
  SetMapMode(surface.dc(), MM_ANISOTROPIC);
  SetWindowExtEx(surface.dc(), 10, 10, nullptr);
  SetViewportExtEx(surface.dc(), 20, -15, nullptr);
  SetViewportOrgEx(surface.dc(), 4, 44, nullptr);
  const RECT logical = {2, 20, 18, 4};  // y goes up: from device row 14 to 38
  const RECT device = {8, 14, 40, 38};
  ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), nullptr, &logical, nullptr, 0), T_OK);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), other.dc(), nullptr, &device, nullptr, SRCCOPY), T_OK);
  EXPECT_EQ(surface.rgb(), other.rgb());
  EXPECT_EQ(GetMapMode(surface.dc()), MM_ANISOTROPIC);

  const Bytes once = other.rgb(device);
  Surface inverted(64, 48, 32);
  const Bytes before = inverted.rgb();
  ASSERT_EQ(T_PaintDevice(bitmap.get(), inverted.dc(), nullptr, &device, nullptr, SRCINVERT), T_OK);
  Bytes want = part_of(before, 64, device);
  for (size_t i = 0; i < want.size(); ++i) want[i] ^= once[i];
  EXPECT_EQ(inverted.rgb(device), want);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), inverted.dc(), nullptr, &device, nullptr, SRCINVERT), T_OK);
  EXPECT_EQ(inverted.rgb(), before);
  // A region of the context's own counts, too, and stays.
  const HRGN region = CreateEllipticRgn(10, 15, 38, 37), after = CreateRectRgn(0, 0, 0, 0);
  SelectClipRgn(inverted.dc(), region);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), inverted.dc(), nullptr, &device, nullptr, 0), T_OK);
  EXPECT_EQ(GetClipRgn(inverted.dc(), after), 1);
  EXPECT_TRUE(EqualRgn(region, after));
  for (int32_t y = 0; y < 48; ++y) {
    for (int32_t x = 0; x < 64; ++x) {
      const size_t at = (y * 64 + x) * 3;
      const Bytes& from = PtInRegion(region, x, y) ? other.rgb() : before;
      ASSERT_EQ(part(inverted.rgb({x, y, x + 1, y + 1}), 0), part(from, at, 3)) << x << ' ' << y;
    }
  }
  DeleteObject(region), DeleteObject(after);
}

// Metafiles that know no device keep the pixels and where they are.
TEST(PaintDevice, GoesIntoOldMetafiles) {
  Bitmap bitmap;
  make_picture(bitmap, 20, 10, 8);
  constexpr RECT kPlace = {27, 4, 7, 19};
  Surface played(40, 30, 32), want(40, 30, 32);
  const HDC recording = CreateMetaFileA(nullptr);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), recording, nullptr, &kPlace, nullptr, 0), T_OK);
  const HMETAFILE metafile = CloseMetaFile(recording);
  EXPECT_TRUE(PlayMetaFile(played.dc(), metafile));
  DeleteMetaFile(metafile);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), want.dc(), nullptr, &kPlace, nullptr, 0), T_OK);
  EXPECT_EQ(played.rgb(), want.rgb());
}

// What T_DitherLine makes of rows of the same pixels.
Bytes dithered(BitmapHandle* bitmap, const std::vector<T_PaletteEntry>& table, uint32_t method) {
  BitmapHandle record = *bitmap;
  record.DitherState = nullptr;
  record.DitherMethod = method;
  Bytes all;
  EXPECT_EQ(T_StartDithering(&record, table.data(), table.size()), T_OK);
  for (int32_t y = 0; y < bitmap->Height; ++y) {
    Bytes row(bitmap->BytesPerLine), out(bitmap->Width + 8);
    T_AccessBitmap(bitmap);
    T_GetBitmapRow(bitmap, row.data(), bitmap->ViewPerspective >= 2 ? bitmap->Height - 1 - y : y,
                   bitmap->BytesPerLine);
    T_ReleaseBitmap(bitmap);
    EXPECT_EQ(T_DitherLine(&record, row.data(), out.data()), T_OK);
    const int32_t bits = table.size() <= 2 ? 1 : table.size() <= 16 ? 4 : 8;
    const Bytes line = row_rgb(out.data(), bitmap->Width, bits, T_ORDER_BGR, table.data());
    all.insert(all.end(), line.begin(), line.end());
  }
  T_StopDithering(&record);
  return all;
}

TEST(PaintDevice, DithersToTheTableOfADevice) {
  const Settings at_the_end;
  constexpr RECT kPlace = {3, 2, 40, 31}, kClip = {10, 9, 25, 20};
  for (const int32_t surface_bits : {1, 4, 8}) {
    for (const int32_t bits : {1, 4, 8, 16, 24, 32}) {
      for (const uint32_t method : {0, 1, 6, 7}) {
        Surface surface(48, 36, surface_bits);
        Bitmap bitmap;
        make_picture(bitmap, 37, 29, bits);
        bitmap->DitherMethod = method;
        T_EnableOrderedDither(bits == 32);
        const uint32_t used = bits == 32 ? T_DITHER_ORDERED : method;
        const Bytes want = dithered(bitmap.get(), surface.table(), used);
        const Bytes before = surface.rgb();
        SCOPED_TRACE(testing::Message() << bits << " on " << surface_bits << ", " << method);
        ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), nullptr, &kPlace, &kClip, 0), T_OK);
        ASSERT_EQ(surface.rgb(kClip), part_of(want, 37, {7, 7, 22, 18}));
        ASSERT_EQ(surface.rgb({0, 0, 48, 9}), part_of(before, 48, {0, 0, 48, 9}));
        ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), nullptr, &kPlace, nullptr, 0), T_OK);
        ASSERT_EQ(surface.rgb(kPlace), want);
      }
    }
  }
}

TEST(PaintDevice, ShowsTheTablesColorsExactlyAndTheNearestOtherwise) {
  const Settings at_the_end;
  T_EnableDitheredPaint(0);
  for (const int32_t bits : {1, 4, 8}) {
    Bitmap bitmap;
    make_picture(bitmap, 40, 30, bits);
    std::vector<T_PaletteEntry> table(bitmap->Info.Palette, bitmap->Info.Palette + (1 << bits));
    std::ranges::reverse(table);
    Surface exact(20, 15, bits, table), nearest(40, 30, bits);
    const RECT place = {0, 0, 20, 15};
    T_EnableDitheredPaint(1);  // does not matter where all colors are there
    ASSERT_EQ(T_PaintDevice(bitmap.get(), exact.dc(), nullptr, &place, nullptr, 0), T_OK);
    const Axis across = {0, 40, 20}, down = {0, 30, 15};
    expect_shown(shown(rgb(bitmap.get()), 40, across, down), exact.rgb());
    T_EnableDitheredPaint(0);
    ASSERT_EQ(T_PaintDevice(bitmap.get(), nearest.dc(), nullptr, nullptr, nullptr, 0), T_OK);
    T_AccessBitmap(bitmap.get());
    Bytes row(bitmap->BytesPerLine);
    T_GetBitmapRow(bitmap.get(), row.data(), 29, bitmap->BytesPerLine);
    T_ReleaseBitmap(bitmap.get());
    ASSERT_EQ(T_ConvertBuffer(row.data(), 40, bits, bits, 1, 1, bitmap->Info.Palette,
                              nearest.table().data()),
              T_OK);
    EXPECT_EQ(nearest.rgb({0, 0, 40, 1}), row_rgb(row.data(), 40, bits, 1, nearest.table().data()));
  }
}

TEST(PaintDevice, IndexedPaintingTakesTheSelectedPalette) {
  const Settings at_the_end;
  for (const int32_t bits : {1, 2, 4, 8}) {
    Bitmap bitmap, other;
    make_picture(bitmap, 20, 10, bits);
    make_picture(other, 20, 10, bits);
    other->Colors = 256;
    for (T_PaletteEntry& color : other->Info.Palette) color.Blue = 255 - color.Blue;
    ASSERT_EQ(T_CreatePaintPalette(other.get()), T_OK);
    Surface surface(20, 10, 32);
    const auto palette = reinterpret_cast<HPALETTE>(other->GdiObjectA);
    const auto expect_shows = [&](BitmapHandle* colors, bool on) {
      T_EnableIndexedPaint(on);
      ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), nullptr, nullptr, nullptr, 0), T_OK);
      EXPECT_EQ(surface.rgb(), rgb(colors)) << bits << ' ' << on;
    };
    expect_shows(bitmap.get(), true);  // the stock palette is none of the caller's
    const HPALETTE outer = SelectPalette(surface.dc(), palette, FALSE);
    expect_shows(other.get(), true);
    EXPECT_EQ(GetCurrentObject(surface.dc(), OBJ_PAL), palette);
    expect_shows(bitmap.get(), false);
    SelectPalette(surface.dc(), outer, FALSE);
  }
}

// Rows in the order in which they come, in bands of changing height.
void paint_bands(BitmapHandle* bitmap, const std::vector<int32_t>& order, HDC dc,
                 const RECT& place) {
  T_AccessBitmap(bitmap);
  const auto* const stored = static_cast<const uint8_t*>(bitmap->Data);
  const size_t line = bitmap->BytesPerLine;
  for (int32_t first = 0, count = 1; first < bitmap->Height;
       first += count, count = count % 7 + 1) {
    count = std::min(count, bitmap->Height - first);
    Bytes band;
    for (int32_t i = 0; i < count; ++i) {
      const uint8_t* const row = stored + line * order[first + i];
      band.insert(band.end(), row, row + line);
    }
    ASSERT_EQ(T_PaintBuffer(bitmap, band.data(), first, count, dc, nullptr, &place, nullptr, 0),
              T_OK);
  }
  T_ReleaseBitmap(bitmap);
}

TEST(PaintBuffer, BandsMakeTheWholePicture) {
  const Settings at_the_end;
  T_EnableFastPaint(1), T_EnableOrderedDither(1);
  std::vector<int32_t> in_turn(45), interlaced;
  for (int32_t i = 0; i < 45; ++i) in_turn[i] = i;
  for (const auto& [start, step] : {std::pair{0, 8}, {4, 8}, {2, 4}, {1, 2}}) {
    for (int32_t y = start; y < 45; y += step) interlaced.push_back(y);
  }
  for (const RECT& place : {RECT{2, 3, 33, 48}, RECT{30, 60, 3, 1}, RECT{0, 20, 40, 1}}) {
    for (const int32_t bits : {4, 8, 24}) {
      for (const uint32_t perspective : {0, 2}) {
        for (const bool passes : {false, true}) {
          Bitmap bitmap;
          make_picture(bitmap, 31, 45, bits, 1, perspective);
          Surface whole(44, 64, bits == 24 ? 8 : 32), bands(44, 64, bits == 24 ? 8 : 32);
          ASSERT_EQ(T_PaintDevice(bitmap.get(), whole.dc(), nullptr, &place, nullptr, 0), T_OK);
          if (passes) bitmap->Flags |= T_FLAG_INTERLACED;
          paint_bands(bitmap.get(), passes ? interlaced : in_turn, bands.dc(), place);
          EXPECT_EQ(bands.rgb(), whole.rgb()) << bits << ' ' << perspective << ' ' << passes;
        }
      }
    }
  }
}

// Where means straddle the edge of a band they are those of its rows: nothing is left unpainted.
TEST(PaintBuffer, MeansAreThoseOfTheBand) {
  Bitmap bitmap;
  make_picture(bitmap, 32, 40, 24, 1, 0);
  Surface surface(16, 10, 32), whole(16, 10, 32);
  const RECT place = {0, 0, 16, 10};
  std::vector<int32_t> order(40);
  for (int32_t i = 0; i < 40; ++i) order[i] = i;
  ASSERT_EQ(T_PaintDevice(bitmap.get(), whole.dc(), nullptr, &place, nullptr, 0), T_OK);
  T_AccessBitmap(bitmap.get());
  const auto* const rows = static_cast<const uint8_t*>(bitmap->Data);
  for (const auto& [first, count] : {std::pair{0, 12}, {12, 11}, {23, 17}}) {
    ASSERT_EQ(T_PaintBuffer(bitmap.get(), rows + first * bitmap->BytesPerLine, first, count,
                            surface.dc(), nullptr, &place, nullptr, 0),
              T_OK);
  }
  const Bytes picture = rgb(bitmap.get());
  for (int32_t y = 0; y < 10; ++y) {
    if (y == 5) continue;  // of rows 20 to 23 the last came with the third band
    EXPECT_EQ(part(surface.rgb(), y * 48, 48), part(whole.rgb(), y * 48, 48)) << y;
  }
  const Axis across = {0, 32, 16, false, true}, straddling = {20, 3, 1, false, true};
  expect_shown(shown(picture, 32, across, straddling), part(surface.rgb(), 5 * 48, 48));
}

std::vector<int32_t> told;
int32_t T_CALL note(int32_t percent) {
  told.push_back(percent);
  return told.size() == 4 ? 77 : T_OK;
}

TEST(PaintEffect, EndsAsThePictureAndTellsEveryStep) {
  const Settings at_the_end;
  constexpr RECT kPlace = {44, 2, 3, 33}, kClip = {7, 5, 40, 30};
  for (const int32_t surface_bits : {8, 32}) {
    Bitmap bitmap;
    make_picture(bitmap, 60, 50, 24);
    Surface want(48, 36, surface_bits), steps(48, 36, surface_bits);
    const uint32_t rop = surface_bits == 8 ? SRCCOPY : SRCINVERT;
    ASSERT_EQ(T_PaintDevice(bitmap.get(), want.dc(), nullptr, &kPlace, &kClip, rop), T_OK);
    for (int32_t effect = T_EFFECT_NONE; effect <= T_EFFECT_SPIRAL; ++effect) {
      steps.fill(0xA5);
      ASSERT_EQ(
          T_PaintEffect(bitmap.get(), steps.dc(), nullptr, &kPlace, &kClip, rop, effect, 5, 0),
          T_OK);
      EXPECT_EQ(steps.rgb(), want.rgb()) << effect;
    }
  }
  Bitmap bitmap;
  make_picture(bitmap, 50, 40, 32, 1, 2);
  Surface surface(50, 40, 32);
  const Bytes before = surface.rgb();
  told.clear();
  T_SetStatusCallBack(note);
  EXPECT_EQ(T_PaintEffect(bitmap.get(), surface.dc(), nullptr, nullptr, nullptr, 0,
                          T_EFFECT_WIPE_RIGHT, 10, 1),
            77);
  EXPECT_EQ(told, (std::vector<int32_t>{0, 20, 40, 60}));
  T_SetStatusCallBack(nullptr);
  constexpr RECT kEndless = {-1000000000, -9, 1000000000, 2000000000};
  Surface corner(8, 8, 32), whole(8, 8, 32);
  ASSERT_EQ(T_PaintDevice(bitmap.get(), whole.dc(), nullptr, &kEndless, nullptr, 0), T_OK);
  ASSERT_EQ(T_PaintEffect(bitmap.get(), corner.dc(), nullptr, &kEndless, nullptr, 0,
                          T_EFFECT_SPIRAL, 1, 0),
            T_OK);
  EXPECT_EQ(corner.rgb(), whole.rgb());
  const RECT drawn = {0, 0, 30, 40}, rest = {30, 0, 50, 40};
  EXPECT_EQ(surface.rgb(drawn), part_of(rgb(bitmap.get()), 50, drawn));
  EXPECT_EQ(surface.rgb(rest), part_of(before, 50, rest));
}

TEST(PaintDevice, RefusesWhatMakesNoSense) {
  Bitmap bitmap, empty;
  make_picture(bitmap, 8, 8, 24);
  ASSERT_EQ(T_InitBitmap(empty.get(), 8, 8, 24), T_OK);
  Surface surface(8, 8, 32);
  const auto paint = [&](BitmapHandle* picture, HDC dc, const RECT* source, const RECT* to) {
    return T_PaintDevice(picture, dc, source, to, nullptr, 0);
  };
  const RECT outside = {0, 0, 9, 8}, none = {4, 4, 4, 8}, left = {-1, 0, 4, 4}, flat = {2, 2, 2, 6};
  EXPECT_EQ(paint(nullptr, surface.dc(), nullptr, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(paint(bitmap.get(), nullptr, nullptr, nullptr), T_ERR_ARGUMENT);
  for (const RECT& source : {outside, none, left}) {
    EXPECT_EQ(paint(bitmap.get(), surface.dc(), &source, nullptr), T_ERR_ARGUMENT);
  }
  EXPECT_EQ(paint(empty.get(), surface.dc(), nullptr, nullptr), T_ERR_NO_STORAGE);
  const HDC gone = CreateCompatibleDC(nullptr);
  DeleteDC(gone);
  EXPECT_EQ(paint(bitmap.get(), gone, nullptr, nullptr), T_ERR_DEVICE);
  const auto effect = [&](int32_t number, int32_t block, int32_t delay) {
    return T_PaintEffect(bitmap.get(), surface.dc(), nullptr, nullptr, nullptr, 0, number, block,
                         delay);
  };
  EXPECT_EQ(effect(15, 1, 0), T_ERR_ARGUMENT);
  EXPECT_EQ(effect(-1, 1, 0), T_ERR_ARGUMENT);
  EXPECT_EQ(effect(1, 0, 0), T_ERR_ARGUMENT);
  EXPECT_EQ(effect(1, 1, -1), T_ERR_ARGUMENT);
  const auto band = [&](const void* rows, int32_t first, int32_t count) {
    return T_PaintBuffer(bitmap.get(), rows, first, count, surface.dc(), nullptr, nullptr, nullptr,
                         0);
  };
  const Bytes rows(8 * 24);
  EXPECT_EQ(band(nullptr, 0, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(band(rows.data(), -1, 1), T_ERR_ARGUMENT);
  EXPECT_EQ(band(rows.data(), 7, 2), T_ERR_ARGUMENT);
  EXPECT_EQ(band(rows.data(), 0, -1), T_ERR_ARGUMENT);
  EXPECT_EQ(band(rows.data(), 8, 0), T_OK);
  const Bytes before = surface.rgb();
  EXPECT_EQ(paint(bitmap.get(), surface.dc(), nullptr, &flat), T_OK);
  EXPECT_EQ(surface.rgb(), before);
}

TEST(ConvertToDdb, IsPaintedAsOnItsDevice) {
  for (const int32_t bits : {1, 8, 24, 32}) {
    for (const bool is_monochrome : {false, true}) {
      Bitmap bitmap;
      make_picture(bitmap, 30, 20, bits);
      Surface want(30, 20, is_monochrome ? 1 : 32, {{0, 0, 0, 0}, {255, 255, 255, 0}});
      ASSERT_EQ(T_PaintDevice(bitmap.get(), want.dc(), nullptr, nullptr, nullptr, 0), T_OK);
      const HDC fresh = CreateCompatibleDC(nullptr);
      HBITMAP made = nullptr;
      ASSERT_EQ(T_ConvertToDDB(bitmap.get(), is_monochrome ? fresh : nullptr, &made), T_OK);
      BITMAP description = {};
      GetObject(made, sizeof(description), &description);
      EXPECT_EQ(description.bmBitsPixel == 1, is_monochrome);
      SelectObject(fresh, made);
      Surface got(30, 20, 32);
      BitBlt(got.dc(), 0, 0, 30, 20, fresh, 0, 0, SRCCOPY);
      EXPECT_EQ(got.rgb(), want.rgb()) << bits << ' ' << is_monochrome;
      DeleteDC(fresh);
      DeleteObject(made);
    }
  }
  HBITMAP made = reinterpret_cast<HBITMAP>(1);
  EXPECT_EQ(T_ConvertToDDB(nullptr, nullptr, &made), T_ERR_ARGUMENT);
  Bitmap empty;
  ASSERT_EQ(T_InitBitmap(empty.get(), 8, 8, 24), T_OK);
  EXPECT_EQ(T_ConvertToDDB(empty.get(), nullptr, &made), T_ERR_NO_STORAGE);
  EXPECT_EQ(made, nullptr);
}

// A process may have so many objects of the system's. With few left, what leaks is found out.
TEST(PaintDevice, LeavesNothingBehind) {
  Bitmap bitmap;
  make_picture(bitmap, 4, 4, 8);
  Surface surface(4, 4, 8);
  const Leftovers before = leftovers();
  const int level = SaveDC(surface.dc());
  std::vector<HRGN> others;
  while (others.size() < 70000) {
    const HRGN one = CreateRectRgn(0, 0, 1, 1);
    if (one == nullptr) break;
    others.push_back(one);
  }
  const auto remove = [&](size_t left) {
    for (; others.size() > left; others.pop_back()) DeleteObject(others.back());
  };
  ASSERT_LT(others.size(), 70000u);
  remove(others.size() - 64);
  for (int32_t i = 0; i < 100; ++i) {
    ASSERT_EQ(T_PaintDevice(bitmap.get(), surface.dc(), nullptr, nullptr, nullptr, 0), T_OK) << i;
    HBITMAP made = nullptr;
    ASSERT_EQ(T_ConvertToDDB(bitmap.get(), surface.dc(), &made), T_OK) << i;
    DeleteObject(made);
  }
  remove(0);
  EXPECT_EQ(SaveDC(surface.dc()), level + 1);
  EXPECT_EQ(leftovers(), before);
  refuse_each(
      [&](BitmapHandle* picture) {
        const RECT place = {0, 0, 3, 3};
        return T_PaintDevice(picture, surface.dc(), nullptr, &place, nullptr, 0);
      },
      [](Bitmap& picture) { make_picture(picture, 9, 9, 24); });
}

}  // namespace
}  // namespace tavo::test
