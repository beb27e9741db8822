// Uncompressed rows, read in the largest pieces that the memory at hand allows.
#pragma once

#include <cstdint>

#include "base/byte_source.h"
#include "base/status.h"
#include "io/input_file.h"
#include "process/row_delivery.h"

namespace tavo::formats {

// Delivers `height` rows of `row_bytes` bytes each; rows that bitmaps hold as files do are read
// in batches. Where the file ends early: the whole rows that are there, then kReadError.
Status read_plain_rows(ByteSource& bytes, size_t row_bytes, int32_t height,
                       process::RowDelivery& rows);

// The same for rows that lie in the file from `position` on, the bottom one first: delivers the top
// one first, reading from the end of the rows on. Where the file ends early nothing is delivered,
// as the top row, which comes first, is what is missing.
Status read_plain_rows_upright(io::InputFile& file, uint64_t position, size_t row_bytes,
                               int32_t height, process::RowDelivery& rows);

}  // namespace tavo::formats
