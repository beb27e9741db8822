// Painting beside the system's own calls, on memory contexts; a Windows program. Each line is the
// least time of several turns, taken one after the other, so that the load of the machine meets all
// alike.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

#include "platform/platform.h"
#include "tavo45.h"

namespace {

constexpr int32_t kWidth = 4096, kHeight = 3072, kSmallWidth = 1024, kSmallHeight = 768;
constexpr int kTurns = 15;

struct Target {
  Target(int32_t width, int32_t height, WORD bits) : dc(CreateCompatibleDC(nullptr)) {
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, -height, 1, bits, BI_RGB, 0, 0, 0, 0, 0};
    void* memory = nullptr;
    section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &memory, nullptr, 0);
    outer = SelectObject(dc, section);
  }
  ~Target() {
    SelectObject(dc, outer);
    DeleteObject(section);
    DeleteDC(dc);
  }
  HDC dc;
  HBITMAP section;
  HGDIOBJ outer;
};

struct Picture {
  Picture(int32_t width, int32_t height, int32_t bits) {
    T_InitBitmap(&record, width, height, bits);
    T_AllocateBitmap(&record, 1);
    T_AccessBitmap(&record);
    auto* const bytes = static_cast<uint8_t*>(record.Data);
    uint32_t state = 1;
    for (uint32_t i = 0; i < record.Size; ++i) {
      bytes[i] = static_cast<uint8_t>((state = state * 1664525 + 1013904223) >> 24);
    }
    info.bmiHeader = {
        sizeof(BITMAPINFOHEADER), width, height, 1, static_cast<WORD>(bits), BI_RGB, 0, 0, 0, 0, 0};
  }
  ~Picture() {
    T_ReleaseBitmap(&record);
    T_FreeBitmap(&record);
  }
  BitmapHandle record = T_EMPTY;
  BITMAPINFO info = {};
};

struct Rival {
  const char* name;
  std::function<void()> run;
};

// Threads of the process have their time; what Wine's server does for it is waited for.
double milliseconds() {
  LARGE_INTEGER now, rate;
  QueryPerformanceCounter(&now);
  QueryPerformanceFrequency(&rate);
  return 1000.0 * static_cast<double>(now.QuadPart) / static_cast<double>(rate.QuadPart);
}

void compare(const char* title, const std::vector<Rival>& rivals) {
  std::vector<double> least(rivals.size(), 1e9);
  for (int turn = 0; turn < kTurns; ++turn) {
    for (size_t i = 0; i < rivals.size(); ++i) {
      const double begin = milliseconds();
      rivals[i].run();
      GdiFlush();
      least[i] = std::min(least[i], milliseconds() - begin);
    }
  }
  std::printf("%s\n", title);
  for (size_t i = 0; i < rivals.size(); ++i)
    std::printf("  %8.2f ms  %s\n", least[i], rivals[i].name);
}

void stretch(Picture& picture, const Target& target, int mode) {
  SetStretchBltMode(target.dc, mode);
  StretchDIBits(target.dc, 0, 0, kSmallWidth, kSmallHeight, 0, 0, kWidth, kHeight,
                picture.record.Data, &picture.info, DIB_RGB_COLORS, SRCCOPY);
}

void paint(Picture& picture, const Target& target, bool fast) {
  const RECT place = {0, 0, kSmallWidth, kSmallHeight};
  T_EnableFastPaint(fast);
  T_PaintDevice(&picture.record, target.dc, nullptr, &place, nullptr, 0);
}

void compare_shrinking(WORD bits) {
  Picture picture(kWidth, kHeight, 24);
  const Target target(kSmallWidth, kSmallHeight, bits);
  char title[80];
  std::snprintf(title, sizeof title, "24 bits, 4096 x 3072 to 1024 x 768, section of %d bits",
                bits);
  compare(title, {{"T_PaintDevice, fast", [&] { paint(picture, target, true); }},
                  {"StretchDIBits, COLORONCOLOR", [&] { stretch(picture, target, COLORONCOLOR); }},
                  {"T_PaintDevice", [&] { paint(picture, target, false); }},
                  {"StretchDIBits, HALFTONE", [&] { stretch(picture, target, HALFTONE); }}});
}

void compare_same_size() {
  Picture picture(kSmallWidth, kSmallHeight, 32);
  const Target target(kSmallWidth, kSmallHeight, 32);
  compare("32 bits, 1024 x 768 to the same size, section of 32 bits",
          {{"T_PaintDevice",
            [&] { T_PaintDevice(&picture.record, target.dc, nullptr, nullptr, nullptr, 0); }},
           {"SetDIBitsToDevice", [&] {
              SetDIBitsToDevice(target.dc, 0, 0, kSmallWidth, kSmallHeight, 0, 0, 0, kSmallHeight,
                                picture.record.Data, &picture.info, DIB_RGB_COLORS);
            }}});
}

// The most bytes that the library has beside the picture while it paints.
void show_memory() {
  for (const int32_t bits : {8, 24, 32}) {
    Picture picture(16384, 64, bits);
    const Target target(16000, 32, 32);
    for (uint64_t limit = 1; limit <= 64; ++limit) {
      tavo::platform::limit_memory(picture.record.Size + limit * 256 * 1024);
      const RECT place = {0, 0, 16000, 32};
      T_EnableFastPaint(0);
      if (T_PaintDevice(&picture.record, target.dc, nullptr, &place, nullptr, 0) != T_OK) continue;
      std::printf("%d bits, 16,384 pixels wide: %llu KiB beside the picture\n", bits, limit * 256);
      break;
    }
    tavo::platform::limit_memory(UINT64_MAX);
  }
}

}  // namespace

int main() {
  compare_shrinking(24);
  compare_shrinking(32);
  compare_same_size();
  show_memory();
  return 0;
}
