// Device-independent bitmap files: Windows (information headers of 40 to 124 bytes) and OS/2
// (12, 16 and 64 bytes), 1 to 32 bits, run-length coded, bit fields.
// Facts: Microsoft, "Bitmap Storage" and BITMAPFILEHEADER; see process/dib_header.h for the rest.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"
#include "process/dib_header.h"

namespace tavo::bmp {

inline constexpr size_t kFileHeaderSize = 14;

// What parse_header accepted: a sound DIB header, whose table ends where the pixels begin.
struct Header {
  dib::Header dib;
  uint32_t data_offset = 0;

  uint32_t table_offset() const {
    return static_cast<uint32_t>(kFileHeaderSize) + dib.table_offset;
  }
};

// Reads the headers from the start of a file. kBadData (no BMP file, too short, or nonsense; a
// picture that no file of this size holds), and the statuses of dib::parse_header.
Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// Plain rows come top row first, however they are stored; other files as read() delivers them.
Status read_upright(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context);
Status write(io::WriterUse use);

}  // namespace tavo::bmp
