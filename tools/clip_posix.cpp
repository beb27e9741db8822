#include "clip.h"
#include "failure.h"
#include "tavo45.h"

namespace tavo::tools {

int run_clip(const ClipOptions&) {
  throw Failure{"clip", "this command exists on Windows only", T_ERR_DEVICE};
}

}  // namespace tavo::tools
