// Which format a file is in.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// T_FileInfo.
Status identify(const char* name, FILEINFO& info);

}  // namespace tavo::pipeline
