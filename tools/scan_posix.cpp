#include "failure.h"
#include "scan.h"
#include "tavo45.h"

namespace tavo::tools {

int run_scan(const ScanOptions&) {
  throw Failure{"scan", "this command exists on Windows only", T_ERR_UNAVAILABLE};
}

}  // namespace tavo::tools
