// Bitmaps from device-independent bitmaps in memory.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::dib {

// What T_ConvertFromDIB documents: the record is initialised, and has no storage after a failure.
Status convert_from_dib(std::span<const uint8_t> dib, BitmapHandle& bitmap);

// From a block of global memory, which stays its owner's. kBadArgument where there is none, and
// where the system does not tell how long it is.
Status convert_from_global(uintptr_t block, BitmapHandle& bitmap);

}  // namespace tavo::dib
