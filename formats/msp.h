// Microsoft Paint pictures of Windows 1 and 2: black and white, plain (version 1) or with each row
// run-length coded behind a map of their lengths (version 2, which is written).
// Facts: Microsoft, "Microsoft Paint File Format", Windows 2.03 Software Development Kit.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"

namespace tavo::msp {

inline constexpr size_t kHeaderSize = 32;

// What parse_header accepted: width and height are 1 to 65535.
struct Header {
  bool is_coded = false;  // version 2
  uint16_t width = 0;
  uint16_t height = 0;
};

// `head`: the first kHeaderSize bytes of the file, or as many as there are. kBadData for another
// format and an empty picture, kReadError when the file ends early, as far as that can be told,
// kLimit for a picture beyond what the caller has set.
Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::msp
