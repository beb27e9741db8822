// Files of any format into files of any format.
#pragma once

#include <cstdint>

#include "base/status.h"

namespace tavo::pipeline {

// T_ConvertFile.
Status convert_file(const char* source, const char* destination, int32_t format, int32_t bits,
                    int32_t quality);

// T_StreamFile.
Status stream_file(const char* source, const char* destination, int32_t format, int32_t bits,
                   int32_t quality);

}  // namespace tavo::pipeline
