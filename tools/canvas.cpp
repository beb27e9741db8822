#include "canvas.h"

#include <algorithm>
#include <utility>

#include "failure.h"
#include "font.h"

namespace tavo::tools {
namespace {

constexpr char kWhere[] = "sheet";
constexpr int32_t kBytes = 3;  // of a pixel
constexpr uint8_t kWhite = 255;
constexpr uint8_t kGray = 192;
constexpr uint8_t kBlack = 0;

uint32_t stored_row(const BitmapHandle& record, int32_t y) {
  return static_cast<uint32_t>(record.ViewPerspective >= 2 ? record.Height - 1 - y : y);
}

}  // namespace

Canvas::Canvas(Extent extent, int dots_per_inch) {
  BitmapHandle& page = picture_.record();
  check(T_InitBitmap(&page, extent.width, extent.height, 8 * kBytes), kWhere);
  page.XResolution = page.YResolution = dots_per_inch;
  check(T_AllocateBitmap(&page, 1), kWhere);
  T_AccessBitmap(&page);
  fill(kWhite, extent, 0, 0);
}

void Canvas::put(const std::vector<uint8_t>& pixels, int32_t x, int32_t y) {
  BitmapHandle& page = picture_.record();
  const auto bytes = static_cast<uint32_t>(pixels.size());
  check_moved(
      bytes,
      T_PutBitmapRowCol(&page, pixels.data(), stored_row(page, y), static_cast<uint32_t>(x), bytes),
      kWhere);
}

void Canvas::fill(uint8_t level, Extent extent, int32_t x, int32_t y) {
  const std::vector<uint8_t> row(static_cast<size_t>(extent.width) * kBytes, level);
  for (int32_t i = 0; i < extent.height; ++i) put(row, x, y + i);
}

void Canvas::paint(BitmapHandle& picture, int32_t x, int32_t y) {
  check(T_ColorResolution(&picture, 8 * kBytes, T_PALETTE_NONE, nullptr, 0), kWhere);
  T_AccessBitmap(&picture);
  std::vector<uint8_t> row(static_cast<size_t>(picture.Width) * kBytes);
  const auto bytes = static_cast<uint32_t>(row.size());
  for (int32_t i = 0; i < picture.Height; ++i) {
    check_moved(bytes, T_GetBitmapRow(&picture, row.data(), stored_row(picture, i), bytes), kWhere);
    if (picture.Order != picture_.record().Order)
      for (size_t at = 0; at < row.size(); at += kBytes) std::swap(row[at], row[at + 2]);
    put(row, x, y + i);
  }
}

void Canvas::frame(Extent extent, int32_t x, int32_t y) {
  fill(kGray, {extent.width, 1}, x, y);
  fill(kGray, {extent.width, 1}, x, y + extent.height - 1);
  fill(kGray, {1, extent.height}, x, y);
  fill(kGray, {1, extent.height}, x + extent.width - 1, y);
}

void Canvas::write(const std::u32string& letters, int32_t x, int32_t y, int32_t scale) {
  for (const char32_t letter : letters) {
    const auto glyph = glyph_of(letter);
    for (int32_t row = 0; row < kGlyphHeight; ++row)
      for (int32_t column = 0; column < kGlyphWidth - 1; ++column)
        if ((glyph[static_cast<size_t>(row)] >> (kGlyphWidth - 2 - column) & 1) != 0)
          fill(kBlack, {scale, scale}, x + column * scale, y + row * scale);
    x += kGlyphWidth * scale;
  }
}

}  // namespace tavo::tools
