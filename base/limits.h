// What callers allow (T_SetLimit), asked wherever a size or an amount of work is known.
#pragma once

#include <cstdint>

#include "base/status.h"

namespace tavo::limits {

inline constexpr int32_t kKinds = T_LIMIT_WORK + 1;

// Whether `asked` of the kind is allowed: kOk, or kLimit, which is noted for T_GetError.
Status check(int32_t kind, uint64_t asked);

// Pixels, width and height of a picture. Asked before anything else is said about a size, so that
// whoever sets a limit hears of it first.
Status check_picture(int64_t width, int64_t height);

// For bytes of temporary files that are there, and for those decoded by one load: adds, and checks
// the sum.
Status add_temporary(uint64_t bytes);
void remove_temporary(uint64_t bytes);
Status add_work(uint64_t bytes);

}  // namespace tavo::limits
