#include "display/ddb.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>

#include "color/palettes.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "display/status.h"
#include "platform/platform.h"

namespace tavo::display {

namespace {

// What GDI is asked with: BITMAPINFO with room for every table.
struct Description {
  BITMAPINFOHEADER header;
  RGBQUAD colors[256];
  BITMAPINFO* info() { return reinterpret_cast<BITMAPINFO*>(this); }
};

class MemoryDc {
 public:
  MemoryDc() : dc_(CreateCompatibleDC(nullptr)) {}
  ~MemoryDc() {
    if (dc_ != nullptr) DeleteDC(dc_);
  }
  MemoryDc(const MemoryDc&) = delete;
  MemoryDc& operator=(const MemoryDc&) = delete;
  HDC get() const { return dc_; }

 private:
  HDC dc_;
};

// Of a bitmap that has planes of their own (EGA had), as of one that has not.
int32_t depth_of(const BITMAP& object) {
  const int32_t bits = object.bmPlanes * object.bmBitsPixel;
  return bits == 1 || bits == 4 || bits == 8 ? bits : 24;
}

// The rows, and in the description the table that GDI finds for them.
Status read_rows(HBITMAP ddb, Description& description, BitmapHandle& bitmap) {
  const MemoryDc dc;
  if (dc.get() == nullptr) return kDevice;
  color::RowBlocks rows(bitmap);
  TRY(rows.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0; y < height;) {
    const uint32_t count = std::min(rows.rows(), height - y);
    const int got =
        GetDIBits(dc.get(), ddb, y, count, rows.place(y), description.info(), DIB_RGB_COLORS);
    if (got != static_cast<int>(count)) return kDevice;
    TRY(rows.store(y, count));
    y += count;
  }
  return kOk;
}

// The colours that the indices of 8-bit device bitmaps stand for, where something else than the
// bitmap knows them.
uint32_t read_device_colors(HPALETTE palette, T_PaletteEntry (&colors)[256]) {
  if (palette != nullptr) {
    return platform::palette_entries(reinterpret_cast<uintptr_t>(palette), 0, colors);
  }
  const HDC screen = GetDC(nullptr);
  PALETTEENTRY entries[256];
  const UINT count = GetSystemPaletteEntries(screen, 0, 256, entries);
  ReleaseDC(nullptr, screen);
  for (UINT i = 0; i < count; ++i) {
    colors[i] = {entries[i].peBlue, entries[i].peGreen, entries[i].peRed, 0};
  }
  return count;
}

void set_palette(const Description& description, bool is_section, HPALETTE palette,
                 BitmapHandle& bitmap) {
  T_PaletteEntry(&colors)[256] = bitmap.Info.Palette;
  for (size_t i = 0; i < 256; ++i) {
    const RGBQUAD& found = description.colors[i];
    colors[i] = {found.rgbBlue, found.rgbGreen, found.rgbRed, 0};
  }
  if (!is_section && bitmap.BitsPerPixel == 1) std::ranges::copy(color::builtin_palette(1), colors);
  if (!is_section && bitmap.BitsPerPixel == 8) (void)read_device_colors(palette, colors);
  const bool is_gray = bitmap.BitsPerPixel == 8 && color::is_gray_ramp(colors);
  core::set_flag(bitmap, T_FLAG_GRAY, is_gray);
}

}  // namespace

Status convert_from_ddb(HBITMAP ddb, HPALETTE palette, BitmapHandle& bitmap) {
  if (GetObjectType(ddb) != OBJ_BITMAP) return kBadArgument;
  DIBSECTION section = {};
  const int size = GetObjectA(ddb, sizeof section, &section);
  if (size == 0) return kBadArgument;
  const BITMAP& object = section.dsBm;
  TRY(core::init_bitmap(bitmap, object.bmWidth, object.bmHeight, depth_of(object)));
  TRY(core::allocate_quietly(bitmap));

  Description description = {};
  description.header.biSize = sizeof description.header;
  description.header.biWidth = bitmap.Width;
  description.header.biHeight = bitmap.Height;
  description.header.biPlanes = 1;
  description.header.biBitCount = static_cast<WORD>(bitmap.BitsPerPixel);
  const Status status = read_rows(ddb, description, bitmap);
  if (!status.ok()) {
    core::free_bitmap(bitmap);
    return status;
  }
  if (bitmap.BitsPerPixel <= 8) set_palette(description, size == sizeof section, palette, bitmap);
  return kOk;
}

}  // namespace tavo::display
