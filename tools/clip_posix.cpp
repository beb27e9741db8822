#include "clip.h"
#include "failure.h"

namespace tavo::tools {

int run_clip(const ClipOptions&) { throw Failure{"clip", "this command exists on Windows only"}; }

}  // namespace tavo::tools
