// What every export ends with.
#pragma once

#include <cstdint>

#include "base/status.h"

namespace tavo::exports {

// The number that the caller gets; of a failure also makes what T_GetError tells. A refusal of
// memory by the caller's own limit is T_ERR_LIMIT from here on.
int32_t answer(Status status);

// The same of calls that tell how many bytes they moved, or a status below 0.
int32_t answer_count(int32_t count);

}  // namespace tavo::exports
