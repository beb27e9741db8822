// The embedded notice and the check that it is whole.
#pragma once

#include "base/status.h"

namespace tavo::core {

// kOk, or kNoticeDamaged when the notice in the module is not what was built in.
Status check_notice();

// For tests: makes the check fail until called with false.
void break_notice(bool broken);

}  // namespace tavo::core
