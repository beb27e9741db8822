// Printing: on memory contexts, into metafiles, and on a printer that fails.
#include <gtest/gtest.h>

#include "surface.h"

namespace tavo::test {
namespace {

RECT resized(int32_t width, int32_t height) { return {0, 0, width, height}; }

TEST(Print, ShowsWhatPaintingShowsWherePlaced) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 24, 32}) {
    Bitmap bitmap;
    make_picture(bitmap, 40, 30, bits, bits == 4 ? 3 : 1, bits % 3);
    bitmap->XResolution = GetDeviceCaps(Surface(1, 1, 32).dc(), LOGPIXELSX) * 2;
    bitmap->YResolution = GetDeviceCaps(Surface(1, 1, 32).dc(), LOGPIXELSY);
    const RECT area = {10, 4, 70, 64}, source = {4, 3, 34, 23};
    const struct {
      uint32_t placement;
      RECT shown;
    } cases[] = {{T_PRINT_STRETCH, area},
                 {T_PRINT_FIT, {10, 4, 55, 64}},  // 30 x 20 pixels are 3 : 4 on paper
                 {T_PRINT_FIT | T_PRINT_CENTER, {17, 4, 62, 64}},
                 {T_PRINT_ACTUAL, {10, 4, 25, 24}},
                 {T_PRINT_ACTUAL | T_PRINT_CENTER, {32, 24, 47, 44}}};
    for (const auto& c : cases) {
      Surface printed(90, 70, 32), want(90, 70, 32);
      ASSERT_EQ(T_PrintBitmapExt(bitmap.get(), printed.dc(), &source, &area, c.placement, 0,
                                 nullptr, nullptr),
                T_OK);
      // Enlarging is the system's.
      const RECT& to = c.shown;
      const int32_t width = std::min<int32_t>(30, to.right - to.left);
      const int32_t height = std::min<int32_t>(20, to.bottom - to.top);
      Surface sent(width, height, 32);
      const RECT all = resized(width, height);
      ASSERT_EQ(T_PaintDevice(bitmap.get(), sent.dc(), &source, &all, nullptr, 0), T_OK);
      SetStretchBltMode(want.dc(), COLORONCOLOR);
      StretchBlt(want.dc(), to.left, to.top, to.right - to.left, to.bottom - to.top, sent.dc(), 0,
                 0, width, height, SRCCOPY);
      EXPECT_EQ(printed.rgb(), want.rgb()) << bits << " bits, " << c.placement;
    }
  }
}

struct Recorded {
  std::vector<EMRSTRETCHDIBITS> images;
  HDC player = nullptr;

  static int CALLBACK take(HDC, HANDLETABLE* handles, const ENHMETARECORD* record, int count,
                           LPARAM self) {
    auto& recorded = *reinterpret_cast<Recorded*>(self);
    if (record->iType == EMR_STRETCHDIBITS) {
      recorded.images.push_back(*reinterpret_cast<const EMRSTRETCHDIBITS*>(record));
    }
    if (record->iType != EMR_HEADER && record->iType != EMR_EOF && recorded.player != nullptr) {
      PlayEnhMetaFileRecord(recorded.player, handles, record, count);
    }
    return 1;
  }
};

TEST(Print, SendsBandsOfAMebibyteThatAbut) {
  for (const int32_t bits : {1, 8, 24}) {
    Bitmap bitmap;
    make_picture(bitmap, 1000, 1500, bits);
    const RECT area = {3, 5, 1203, 1802};  // enlarged
    Surface want(1210, 1810, 32), played(1210, 1810, 32);
    ASSERT_EQ(T_PrintBitmapExt(bitmap.get(), want.dc(), nullptr, &area, 0, 0, nullptr, nullptr),
              T_OK);
    const HDC metafile = CreateEnhMetaFileA(nullptr, nullptr, nullptr, nullptr);
    ASSERT_EQ(T_PrintBitmap(bitmap.get(), metafile, &area), T_OK);
    const HENHMETAFILE file = CloseEnhMetaFile(metafile);
    Recorded recorded;
    recorded.player = played.dc();
    EnumEnhMetaFile(nullptr, file, Recorded::take, &recorded, nullptr);
    DeleteEnhMetaFile(file);
    const uint32_t line = bitmap->BytesPerLine;
    const uint32_t rows = std::min(1500u, 1024 * 1024 / line);
    ASSERT_EQ(recorded.images.size(), (1500 + rows - 1) / rows);
    int32_t top = 5;
    for (const EMRSTRETCHDIBITS& image : recorded.images) {
      EXPECT_LE(image.cbBitsSrc, 1024u * 1024);
      EXPECT_EQ(image.cbBitsSrc, line * image.cySrc);  // as deep as the picture
      EXPECT_EQ(image.yDest, top);
      top += image.cyDest;
    }
    EXPECT_EQ(top, 1802);
    EXPECT_EQ(played.rgb(), want.rgb());
  }
}

// The calls of a print, of which one fails.
std::string calls;
size_t failing = SIZE_MAX;
int answered(char call, int good, int bad) {
  calls += call;
  return calls.size() - 1 == failing ? bad : good;
}
int WINAPI start_doc(HDC, const DOCINFOA*) { return answered('S', 7, 0); }
int WINAPI start_page(HDC) { return answered('P', 1, 0); }
int WINAPI stretch(HDC, int, int, int, int, int, int, int, int height, const void*,
                   const BITMAPINFO*, UINT, DWORD) {
  return answered('B', height, 0);
}
int WINAPI end_page(HDC) { return answered('p', 1, 0); }
int WINAPI end_doc(HDC) { return answered('s', 1, -1); }
int WINAPI abort_doc(HDC) { return answered('A', 1, 0); }

#ifdef _WIN64
#define IMPORTED(name, bytes) "__imp_" #name
#else
#define IMPORTED(name, bytes) "__imp__" #name "@" #bytes
#endif
extern const void* imported_start_doc asm(IMPORTED(StartDocA, 8));
extern const void* imported_start_page asm(IMPORTED(StartPage, 4));
extern const void* imported_stretch asm(IMPORTED(StretchDIBits, 52));
extern const void* imported_end_page asm(IMPORTED(EndPage, 4));
extern const void* imported_end_doc asm(IMPORTED(EndDoc, 4));
extern const void* imported_abort_doc asm(IMPORTED(AbortDoc, 4));

// Puts another function in the place of one of the system's for a scope.
class Replaced {
 public:
  template <class Function>
  Replaced(const void*& entry, Function* function) : entry_(entry), outer_(entry) {
    put(reinterpret_cast<const void*>(function));
  }
  ~Replaced() { put(outer_); }

 private:
  void put(const void* function) {
    DWORD before = 0;
    VirtualProtect(&entry_, sizeof(entry_), PAGE_READWRITE, &before);
    entry_ = function;
  }
  const void*& entry_;
  const void* outer_;
};

int32_t T_CALL stop_at_the_end(int32_t percent) { return percent == 100 ? 55 : T_OK; }

TEST(Print, LeavesNoDocumentOpenWhateverFails) {
  const Replaced replaced[] = {{imported_start_doc, start_doc}, {imported_start_page, start_page},
                               {imported_stretch, stretch},     {imported_end_page, end_page},
                               {imported_end_doc, end_doc},     {imported_abort_doc, abort_doc}};
  Bitmap bitmap;
  make_picture(bitmap, 40, 30, 24);
  Surface surface(50, 40, 32);
  const RECT area = resized(50, 40);
  const auto print = [&](const char* document) {
    calls.clear();
    return T_PrintBitmapExt(bitmap.get(), surface.dc(), nullptr, &area, 0, 0, document, nullptr);
  };
  const char* const failures[] = {"S", "SPA", "SPBA", "SPBpA", "SPBpsA"};
  for (failing = 0; failing < 5; ++failing) {
    EXPECT_EQ(print("document"), T_ERR_DEVICE);
    EXPECT_EQ(calls, failures[failing]);
  }
  failing = SIZE_MAX;
  EXPECT_EQ(print("document"), T_OK);
  EXPECT_EQ(calls, "SPBps");
  EXPECT_EQ(print(nullptr), T_OK);
  EXPECT_EQ(calls, "B");
  T_SetStatusCallBack(stop_at_the_end);
  EXPECT_EQ(print("document"), 55);
  EXPECT_EQ(calls, "SPBA");
  failing = 3;  // what refuses to be aborted is ended
  EXPECT_EQ(print("document"), 55);
  EXPECT_EQ(calls, "SPBAs");
  T_SetStatusCallBack(nullptr);
  failing = SIZE_MAX;
  for (const uint32_t placement : {3u, 0x20u, 0x13u}) {
    calls.clear();
    EXPECT_EQ(
        T_PrintBitmapExt(bitmap.get(), surface.dc(), nullptr, &area, placement, 0, "d", nullptr),
        T_ERR_ARGUMENT);
  }
  for (const RECT& none : {RECT{50, 0, 0, 40}, RECT{-2000000000, 0, 2000000000, 40}}) {
    EXPECT_EQ(T_PrintBitmap(bitmap.get(), surface.dc(), &none), T_ERR_ARGUMENT);
  }
  EXPECT_EQ(T_PrintBitmap(nullptr, surface.dc(), nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_PrintBitmap(bitmap.get(), nullptr, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(calls, "");
}

}  // namespace
}  // namespace tavo::test
