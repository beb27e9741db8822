#include "base/settings.h"

namespace tavo {

constinit Settings settings;

}  // namespace tavo
