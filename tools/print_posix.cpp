#include "failure.h"
#include "print.h"
#include "tavo45.h"

namespace tavo::tools {

int run_print(const PrintOptions&) {
  throw Failure{"print", "this command exists on Windows only", T_ERR_DEVICE};
}

}  // namespace tavo::tools
