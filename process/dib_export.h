// Bitmaps as device-independent bitmaps: in a block of their own, or where they are.
#pragma once

#include "base/shared_block.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::dib {

// What the exports of the same names document.
Status convert_to_dib(BitmapHandle& bitmap, SharedBlock& dib);
Status change_to_dib(BitmapHandle& bitmap);

}  // namespace tavo::dib
