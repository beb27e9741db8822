// The table of colors of a device that shows no others.
#pragma once

#include <cstdint>

#include "tavo45.h"

namespace tavo::process {

struct DeviceTable {
  T_PaletteEntry entries[256] = {};
  uint32_t count = 0;  // 0: the device shows any color
  int32_t bits = 0;    // of its indices: 1, 4 or 8
};

}  // namespace tavo::process
