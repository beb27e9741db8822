// Streamed rows into a file of any format.
#pragma once

#include "base/status.h"
#include "tavo45.h"

namespace tavo::pipeline {

// FileFormatWrite, and with `direct` FileNoConvertWrite.
Status format_write(const BitmapHandle& source, const void* rows, int32_t count,
                    T_FormatWriteContext& context, bool direct);

}  // namespace tavo::pipeline
