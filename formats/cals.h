// CALS Type I raster: sixteen text records of 128 bytes, then one Group 4 picture.
// Facts: MIL-PRF-28002C (Raster Graphics Representation in Binary Format), MIL-STD-1840C.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "io/format.h"

namespace tavo::cals {

// What parse_header accepted: width and height are 1 and more.
struct Header {
  int32_t width = 0;
  int32_t height = 0;
  int32_t raster_type = 1;
  int32_t pel_path = 0;  // degrees
  int32_t line_progression = 270;
};

// Reads the first eleven records from where the file stands. kReadError for a short or empty
// record, kBadData for an unknown key among the first nine and for a picture that is empty or that
// no file of this size holds.
Status parse_header(io::InputFile& file, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::cals
