#include "display/device_colors.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <span>

#include "color/palettes.h"
#include "display/bitmap_dc.h"
#include "display/canvas.h"
#include "display/status.h"
#include "platform/platform.h"
#include "reduce/reduce.h"

namespace tavo::display {

namespace {

// What is drawn on: only the bitmap knows, because a memory context reports the depth of the
// screen.
enum class Surface { kAnyColors, k24Bits, kTable, kMonochrome, kPalette };

Surface surface_of(HDC dc) {
  const DWORD type = GetObjectType(dc);
  const bool has_palette = (GetDeviceCaps(dc, RASTERCAPS) & RC_PALETTE) != 0;
  if (type == OBJ_MEMDC) {
    DIBSECTION section = {};
    const int size = GetObject(GetCurrentObject(dc, OBJ_BITMAP), sizeof(section), &section);
    const int bits = section.dsBm.bmBitsPixel * section.dsBm.bmPlanes;
    if (size == sizeof(section) && bits <= 8) return Surface::kTable;
    if (bits == 24) return Surface::k24Bits;
    if (bits == 1) return Surface::kMonochrome;
    return bits <= 8 && has_palette ? Surface::kPalette : Surface::kAnyColors;
  }
  const bool is_display = type == OBJ_DC && GetDeviceCaps(dc, TECHNOLOGY) == DT_RASDISPLAY;
  if (!is_display || !has_palette) return Surface::kAnyColors;
  // Asked last: some systems take longer to answer than to paint hundreds of rows.
  const int bits = GetDeviceCaps(dc, BITSPIXEL) * GetDeviceCaps(dc, PLANES);
  return bits <= 8 ? Surface::kPalette : Surface::kAnyColors;
}

}  // namespace

HPALETTE selected_palette(HDC dc) {
  const HGDIOBJ selected = GetCurrentObject(dc, OBJ_PAL);
  return selected == GetStockObject(DEFAULT_PALETTE) ? nullptr : static_cast<HPALETTE>(selected);
}

DeviceColors::~DeviceColors() {
  if (outer_ != nullptr) {
    SelectPalette(dc_, outer_, FALSE);
    RealizePalette(dc_);
  }
  if (made_ != nullptr) DeleteObject(made_);
}

void DeviceColors::read_section() {
  RGBQUAD colors[256] = {};
  table_.count = GetDIBColorTable(dc_, 0, 256, colors);
  table_.bits = table_.count <= 2 ? 1 : table_.count <= 16 ? 4 : 8;
  std::ranges::transform(colors, table_.entries, [](const RGBQUAD& color) {
    return T_PaletteEntry{color.rgbBlue, color.rgbGreen, color.rgbRed, 0};
  });
}

void DeviceColors::read_palette(HPALETTE palette) {
  table_.count = platform::palette_entries(reinterpret_cast<uintptr_t>(palette), 0, table_.entries);
  table_.bits = 8;
}

// Devices show other colors in the place of those for which they have no room: what a row of all of
// them comes out as is what can be had.
Status DeviceColors::read_shown_colors(HPALETTE palette) {
  const HBITMAP bitmap = CreateCompatibleBitmap(dc_, 256, 1);
  if (bitmap == nullptr) return kDevice;
  Status status = kDevice;
  {
    const BitmapDc memory(dc_, bitmap);
    if (memory.get() != nullptr) status = show_row(memory.get(), palette);
  }
  BITMAPINFO info = {};
  info.bmiHeader = {sizeof(info.bmiHeader), 256, 1, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  T_PaletteEntry shown[256];
  if (status.ok() && GetDIBits(dc_, bitmap, 0, 1, shown, &info, DIB_RGB_COLORS) != 1) {
    status = kDevice;
  }
  DeleteObject(bitmap);
  if (!status.ok()) return status;
  for (uint32_t i = 0; i < table_.count; ++i) {
    table_.entries[i] = {shown[i].Blue, shown[i].Green, shown[i].Red, 0};
  }
  return kOk;
}

Status DeviceColors::show_row(HDC dc, HPALETTE palette) const {
  Canvas canvas(dc);
  TRY(canvas.start());
  if (SelectPalette(dc, palette, FALSE) == nullptr || RealizePalette(dc) == GDI_ERROR) {
    return kDevice;
  }
  uint8_t indices[256];
  std::iota(std::begin(indices), std::end(indices), uint8_t{0});
  canvas.take_indices(8, {table_.entries, table_.count});
  return canvas.draw({indices, 256}, {0, 0, static_cast<int32_t>(table_.count), 1}, SRCCOPY);
}

// The painting palette of indexed pictures, of others that of the screen.
Status DeviceColors::select_palette(const BitmapHandle& picture) {
  const bool is_indexed = picture.BitsPerPixel <= 8;
  uintptr_t palette = is_indexed ? picture.GdiObjectA : picture.GdiObjectB;
  if (palette == 0) {
    BitmapHandle copy = picture;
    copy.GdiObjectA = copy.GdiObjectB = 0;
    TRY(is_indexed ? color::create_paint_palette(copy) : color::create_screen_palette(copy));
    palette = is_indexed ? copy.GdiObjectA : copy.GdiObjectB;
    made_ = reinterpret_cast<HPALETTE>(palette);
  }
  outer_ = SelectPalette(dc_, reinterpret_cast<HPALETTE>(palette), FALSE);
  if (outer_ == nullptr || RealizePalette(dc_) == GDI_ERROR) return kDevice;
  read_palette(reinterpret_cast<HPALETTE>(palette));
  return read_shown_colors(reinterpret_cast<HPALETTE>(palette));
}

Status DeviceColors::start(const BitmapHandle& picture, bool keeps_palette) {
  switch (surface_of(dc_)) {
    case Surface::kTable:
      read_section();
      return kOk;
    case Surface::k24Bits:
      color_bits_ = 24;
      return kOk;
    case Surface::kMonochrome:
      table_.count = 2;
      table_.bits = 1;
      table_.entries[1] = color::gray_entry(255);
      return kOk;
    case Surface::kPalette:
      if (!keeps_palette) return select_palette(picture);
      read_palette(selected_palette(dc_));
      return kOk;
    default:
      return kOk;
  }
}

}  // namespace tavo::display
