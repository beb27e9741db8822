// Checks that every export makes alike.
#pragma once

#include "base/status.h"

namespace tavo::exports {

// True when one of the addresses that a call cannot do without is null.
template <class... Pointers>
bool missing(const Pointers&... pointers) {
  return ((pointers == nullptr) || ...);
}

// The status of a load without a record or sink: what is wrong with the file's name comes first.
Status refused_load(const char* name);

}  // namespace tavo::exports
