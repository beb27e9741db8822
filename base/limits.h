// What callers allow (T_SetLimit), asked wherever a size or an amount of work is known.
#pragma once

#include <cstdint>

#include "base/settings.h"
#include "base/status.h"

namespace tavo::limits {

inline constexpr int32_t kKinds = T_LIMIT_WORK + 1;

// Notes for T_GetError that `asked` of the kind is too much: kLimit.
Status refuse(int32_t kind, uint64_t asked);

// Whether `asked` of the kind is allowed: kOk, or kLimit.
inline Status check(int32_t kind, uint64_t asked) {
  const uint64_t allowed = settings.limits[kind];
  return allowed == 0 || asked <= allowed ? Status(kOk) : refuse(kind, asked);
}

// Pixels, width and height of a picture. Asked before anything else is said about a size, so that
// whoever sets a limit hears of it first.
Status check_picture(int64_t width, int64_t height);

// For bytes of temporary files that are there, and for those decoded by one load: adds, and checks
// the sum.
Status add_temporary(uint64_t bytes);
void remove_temporary(uint64_t bytes);
inline Status add_work(uint64_t bytes) {
  settings.last_load.decoded += bytes;
  return check(T_LIMIT_WORK, settings.last_load.decoded);
}

}  // namespace tavo::limits
