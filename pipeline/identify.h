// Which format a file is in.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// What a load needs of T_FileInfo: of pages that only the whole file tells, PageCount counts those
// up to the one described. kBadData: no probe accepts the file, which was read without a failure;
// an empty file, too.
Status identify(const char* name, FILEINFO& info);

// T_FileInfo.
Status describe_file(const char* name, FILEINFO& info);

}  // namespace tavo::pipeline
