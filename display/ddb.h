// Pictures from device bitmaps and DIB sections.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::display {

// What T_ConvertFromDDB documents.
Status convert_from_ddb(T_DeviceBitmap ddb, T_PaletteObject palette, BitmapHandle& bitmap);

}  // namespace tavo::display
