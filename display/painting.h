// A picture on a device context: where it goes, and its rows on their way there.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "color/paint_palette.h"
#include "display/canvas.h"
#include "display/device_colors.h"
#include "process/paint/effect_steps.h"
#include "process/paint/painted_rows.h"
#include "process/paint/picture_rows.h"
#include "tavo45.h"

namespace tavo::display {

// As callers give it.
struct PaintTarget {
  const RECT* source = nullptr;       // null: the whole picture
  const RECT* destination = nullptr;  // null: the source's size at (0, 0)
  const RECT* clip = nullptr;         // null: none
  uint32_t rop = 0;                   // 0: SRCCOPY
};

// Whether a rectangle is a part of the picture; null is the whole.
Status read_source(const BitmapHandle& picture, const RECT* source, process::PixelRect& part);

class Painting {
 public:
  Painting(BitmapHandle& picture, HDC dc)
      : picture_(picture), canvas_(dc), colors_(dc), rows_(picture), painted_(rows_) {}

  // The picture has been checked. kBadArgument, kNoMemory, kDevice.
  Status start(const PaintTarget& target);
  // Before that: only rows that have just come.
  void take_band(const process::RowBand& band) { band_ = band; }

  // What is drawn of the destination, whose size is known; perhaps nothing.
  const process::PixelRect& wanted() const { return wanted_; }
  int32_t width() const { return view_.across.results; }
  int32_t height() const { return view_.down.results; }

  // Draws all that is wanted.
  Status paint();

  // Or keeps it, and draws parts of it.
  Status keep();
  Status paint_part(const process::PixelRect& part);

 private:
  Status place(const PaintTarget& target);
  Status start_rows();
  bool is_straight() const;
  Status paint_straight(const process::PixelRect& part);
  Status paint_rows(int32_t top, int32_t bottom);
  Status draw(const CanvasRows& rows, const process::PixelRect& part);
  int32_t end_of_rows(int32_t top) const;

  BitmapHandle& picture_;
  process::RowBand band_;
  Canvas canvas_;
  DeviceColors colors_;
  process::ScaledView view_;
  process::PixelRect wanted_;
  int32_t x_ = 0;  // of the destination's top left pixel
  int32_t y_ = 0;
  DWORD rop_ = SRCCOPY;
  bool is_by_palette_ = false;
  process::PictureRows rows_;
  process::PaintedRows painted_;
  Buffer buffer_;
};

}  // namespace tavo::display
