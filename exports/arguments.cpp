#include "exports/arguments.h"

#include "io/input_file.h"
#include "tavo45.h"

namespace tavo::exports {

int32_t refused_load(const char* name) {
  io::InputFile file;
  const Status status = file.open(name);
  return status.ok() ? T_ERR_ARGUMENT : status.code();
}

}  // namespace tavo::exports
