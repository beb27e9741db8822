// How JPEG and CMP files are coded.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::jpeg {

// T_GetJPEGInfo; `info` is touched only when all went well.
Status read_info(const char* name, T_JPEGINFO& info);

}  // namespace tavo::jpeg
