// A device context as a plane of device pixels on which rows are put as they are.
#pragma once

#include <windows.h>

#include <cstdint>
#include <span>

#include "base/status.h"
#include "process/paint/effect_steps.h"
#include "tavo45.h"

namespace tavo::display {

// Rows of a device-independent bitmap, the top one first unless `is_bottom_up`.
struct CanvasRows {
  const uint8_t* bytes = nullptr;
  int32_t width = 0;  // pixels of a row
  int32_t left = 0;   // the first one that is drawn
  bool is_bottom_up = false;
};

// Corners in the context's units become device pixels. The units of metafiles that know no device
// are those of whatever they are played on, and stay. kDevice.
Status map_to_device(HDC dc, RECT& rect);

// While it lives the context's units are device pixels; afterwards all of its state is what it was.
class Canvas {
 public:
  explicit Canvas(HDC dc) : dc_(dc) {}
  ~Canvas();
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;

  HDC dc() const { return dc_; }

  // kDevice.
  Status start();

  // What of the plane can be seen; of a metafile everything.
  process::PixelRect visible() const;

  // What rows consist of from now on: colors of 16 bits or more; indices of these colors; indices
  // of the palette that is selected.
  void take_colors(int32_t bits) { describe(bits, 0, DIB_RGB_COLORS); }
  void take_indices(int32_t bits, std::span<const T_PaletteEntry> colors);
  void take_palette_indices(int32_t bits);

  // Rows to a rectangle of the same size, or of another that the device stretches them to. kDevice.
  Status draw(const CanvasRows& rows, const process::PixelRect& to, DWORD rop);
  Status stretch(const CanvasRows& rows, int32_t width, int32_t height,
                 const process::PixelRect& to, DWORD rop);

 private:
  struct Description {
    BITMAPINFOHEADER header;
    union {
      RGBQUAD colors[256];
      WORD indices[256];
    };
  };

  bool is_metafile() const { return type_ == OBJ_ENHMETADC || type_ == OBJ_METADC; }
  void describe(int32_t bits, uint32_t colors, UINT usage);
  const BITMAPINFO* describe_rows(const CanvasRows& rows, int32_t height);
  Status answer(int lines, const process::PixelRect& to) const;

  HDC dc_;
  DWORD type_ = 0;
  int saved_ = 0;
  Description info_ = {};
  UINT usage_ = DIB_RGB_COLORS;
};

}  // namespace tavo::display
