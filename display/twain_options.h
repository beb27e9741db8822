// What callers ask of scanners.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::twain {

// kBadArgument for what T_TwainOptions does not allow.
Status check(const T_TwainOptions& options);

}  // namespace tavo::twain
