#include "exports/arguments.h"

#include "io/input_file.h"
#include "tavo45.h"

namespace tavo::exports {

Status refused_load(const char* name) {
  io::InputFile file;
  const Status status = file.open(name);
  return status.ok() ? kBadArgument : status;
}

}  // namespace tavo::exports
