// A memory context over a DIB section, for tests to paint on and to look at.
#pragma once

#include <windows.h>

#include <algorithm>
#include <vector>

#include "tavo45.h"
#include "tests/support.h"

namespace tavo::test {

class Surface {
 public:
  // Of at most 8 bits: with these colors, or any that are all different.
  Surface(int32_t width, int32_t height, int32_t bits,
          const std::vector<T_PaletteEntry>& table = {})
      : table_(table), dc_(CreateCompatibleDC(nullptr)) {
    Random random(bits);
    while (bits <= 8 && table_.size() < size_t{1} << bits) {
      table_.push_back({random.byte(), random.byte(), static_cast<uint8_t>(table_.size()), 0});
    }
    info_.Header = {sizeof(T_BitmapInfoHeader),
                    width,
                    -height,
                    1,
                    static_cast<uint16_t>(bits),
                    0,
                    0,
                    0,
                    0,
                    static_cast<uint32_t>(table_.size()),
                    0};
    std::ranges::copy(table_, info_.Palette);
    section_ = CreateDIBSection(dc_, reinterpret_cast<BITMAPINFO*>(&info_), DIB_RGB_COLORS, &bits_,
                                nullptr, 0);
    outer_ = SelectObject(dc_, section_);
    fill(0xA5);
  }
  ~Surface() {
    SelectObject(dc_, outer_);
    DeleteObject(section_);
    DeleteDC(dc_);
  }
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  HDC dc() const { return dc_; }
  HBITMAP section() const { return section_; }
  int32_t width() const { return info_.Header.biWidth; }
  int32_t height() const { return -info_.Header.biHeight; }
  const std::vector<T_PaletteEntry>& table() const { return table_; }
  size_t stride() const { return (size_t(width()) * info_.Header.biBitCount + 31) / 32 * 4; }

  void fill(uint8_t byte) { std::fill_n(static_cast<uint8_t*>(bits_), stride() * height(), byte); }

  const uint8_t* row(int32_t y) const {
    GdiFlush();
    return static_cast<const uint8_t*>(bits_) + stride() * y;
  }

  // Red, green, blue triples of an area.
  Bytes rgb(const RECT& area) const {
    Bytes all;
    for (int32_t y = area.top; y < area.bottom; ++y) {
      const Bytes line =
          row_rgb(row(y), width(), info_.Header.biBitCount, T_ORDER_BGR, table_.data());
      all.insert(all.end(), line.begin() + area.left * 3, line.begin() + area.right * 3);
    }
    return all;
  }
  Bytes rgb() const { return rgb({0, 0, width(), height()}); }

 private:
  std::vector<T_PaletteEntry> table_;
  T_BitmapInfo info_ = {};
  HDC dc_;
  HBITMAP section_;
  HGDIOBJ outer_;
  void* bits_ = nullptr;
};

}  // namespace tavo::test
