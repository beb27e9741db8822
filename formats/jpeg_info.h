// How JPEG and CMP files are coded.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::jpeg {

// T_GetJPEGInfo.
Status read_info(const char* name, T_JPEGINFO& info);

}  // namespace tavo::jpeg
