// The result of everything in the library that can fail.
#pragma once

#include <cstdint>

#include "tavo45.h"

namespace tavo {

// One of the status codes of tavo45.h, or any number that a caller's callback answered with.
// Only T_OK (1) lets work go on; every other value travels up unchanged.
class [[nodiscard]] Status {
 public:
  constexpr explicit Status(int32_t code) : code_(code) {}
  constexpr bool ok() const { return code_ == T_OK; }
  constexpr int32_t code() const { return code_; }
  constexpr bool operator==(const Status&) const = default;

 private:
  int32_t code_;
};

inline constexpr Status kOk{T_OK};
inline constexpr Status kNoMemory{T_ERR_NO_MEMORY};
inline constexpr Status kNoStorage{T_ERR_NO_STORAGE};
inline constexpr Status kSeekError{T_ERR_SEEK};
inline constexpr Status kWriteError{T_ERR_WRITE};
inline constexpr Status kReadError{T_ERR_READ};
inline constexpr Status kNoName{T_ERR_NAME};
inline constexpr Status kBadData{T_ERR_BAD_DATA};
inline constexpr Status kOpenError{T_ERR_OPEN};
inline constexpr Status kBadSize{T_ERR_SIZE};
inline constexpr Status kSubtype{T_ERR_SUBTYPE};
inline constexpr Status kBadArgument{T_ERR_ARGUMENT};
inline constexpr Status kCreateError{T_ERR_CREATE};
inline constexpr Status kNoFormat{T_ERR_FORMAT};
inline constexpr Status kBadQuality{T_ERR_QUALITY};
inline constexpr Status kBadDepth{T_ERR_DEPTH};
inline constexpr Status kZeroMultiplier{T_ERR_MULTIPLIER};
inline constexpr Status kNotCompressible{T_ERR_NOT_COMPRESSIBLE};
inline constexpr Status kIncomplete{T_ERR_INCOMPLETE};
inline constexpr Status kNoStamp{T_ERR_NO_STAMP};
inline constexpr Status kNoticeDamaged{T_ERR_NOTICE};
inline constexpr Status kLimit{T_ERR_LIMIT};
inline constexpr Status kTooLarge{T_ERR_TOO_LARGE};

// Returns from the enclosing function (which returns Status) when `expression` is not kOk.
#define TRY(expression)                                                                      \
  do {                                                                                       \
    if (const ::tavo::Status try_status = (expression); !try_status.ok()) return try_status; \
  } while (false)

}  // namespace tavo
