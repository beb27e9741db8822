// What calls that work with the display and with devices return besides.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo {

inline constexpr Status kDevice{T_ERR_DEVICE};
inline constexpr Status kBusy{T_ERR_BUSY};
inline constexpr Status kNoPicture{T_ERR_NO_PICTURE};
inline constexpr Status kUnavailable{T_ERR_UNAVAILABLE};
inline constexpr Status kNoSource{T_ERR_NO_SOURCE};
inline constexpr Status kSource{T_ERR_SOURCE};
inline constexpr Status kCancelled{T_ERR_CANCELLED};

}  // namespace tavo
