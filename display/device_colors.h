// The colors that a device can show.
#pragma once

#include <windows.h>

#include "base/status.h"
#include "process/paint/device_table.h"
#include "tavo45.h"

namespace tavo::display {

// While it lives, a device that takes its colors from a palette has that of a picture.
class DeviceColors {
 public:
  explicit DeviceColors(HDC dc) : dc_(dc) {}
  ~DeviceColors();
  DeviceColors(const DeviceColors&) = delete;
  DeviceColors& operator=(const DeviceColors&) = delete;

  // `keeps_palette`: it is the caller's that counts. kNoMemory, kDevice.
  Status start(const BitmapHandle& picture, bool keeps_palette);

  // Its count is 0 when the device shows any color.
  const process::DeviceTable& table() const { return table_; }
  // What rows of other devices cost least in: 24 bits where the device has them, too.
  int32_t color_bits() const { return color_bits_; }
  bool has_table() const { return table_.count != 0; }

 private:
  void read_section();
  Status select_palette(const BitmapHandle& picture);
  void read_palette(HPALETTE palette);
  Status read_shown_colors(HPALETTE palette);
  Status show_row(HDC dc, HPALETTE palette) const;

  HDC dc_;
  HPALETTE made_ = nullptr;
  HPALETTE outer_ = nullptr;
  int32_t color_bits_ = 32;
  process::DeviceTable table_;
};

// The palette that a program has selected; null while it is the stock one.
HPALETTE selected_palette(HDC dc);

}  // namespace tavo::display
