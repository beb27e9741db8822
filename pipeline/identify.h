// Which format a file is in.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// T_FileInfo. kBadData: no probe accepts the file, which was read without a failure; an empty file,
// too.
Status identify(const char* name, FILEINFO& info);

}  // namespace tavo::pipeline
