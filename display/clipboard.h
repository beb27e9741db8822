// Pictures on the clipboard.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::display {

// What the exports of the same names document.
Status copy_to_clipboard(BitmapHandle& bitmap, T_Window owner);
Status copy_from_clipboard(BitmapHandle& bitmap, T_Window owner);

}  // namespace tavo::display
