// Pictures from scanners.
#pragma once

#include <cstdint>

#include "base/function_ref.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::twain {

// Gets every picture, numbered from 1: a record without storage where the source writes files. What
// is still in the record afterwards is freed.
using Deliver = FunctionRef<Status(BitmapHandle& picture, int32_t page)>;

// What the exports of like names document. `condition`: TWAIN's code of the failure that ended the
// work, 0 when there was none.
Status select(T_Window window, uint16_t& condition);
Status acquire(T_Window window, const T_TwainOptions& options, Deliver deliver,
               uint16_t& condition);
Status acquire_one(T_Window window, BitmapHandle& bitmap, uint16_t& condition);

}  // namespace tavo::twain
