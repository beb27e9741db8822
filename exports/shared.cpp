#include "exports/shared.h"

namespace tavo::exports {

Shared shared;

}  // namespace tavo::exports
