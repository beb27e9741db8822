// Groups of few dark pixels in pictures of 1 bit.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// Makes every group of at most `amount` pixels of that index, which touch at sides or corners, the
// other index.
Status remove_specks(BitmapHandle& bitmap, uint32_t index, uint32_t amount);

}  // namespace tavo::process
