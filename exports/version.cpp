// What the library says about itself.
#include "tavo45.h"

namespace {

// The build file knows the version.
constexpr uint32_t kVersion = TAVO_MAJOR << 16 | TAVO_MINOR << 8 | TAVO_PATCH;

}  // namespace

uint32_t T_CALL T_GetVersion(void) { return kVersion; }
