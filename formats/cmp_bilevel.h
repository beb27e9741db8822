// The 1-bit compressed format: the library's own container for bilevel pictures, coded by
// ITU-T T.6 (Group 4). The layout is documented in tavo45.h, section "Compressed pictures: 1 bit".
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"
#include "tavo45.h"

namespace tavo::bilevel {

inline constexpr size_t kHeaderSize = 32;

// What parse_header accepted: width and height are 1 to INT32_MAX.
struct Header {
  int32_t width = 0;
  int32_t height = 0;
  int32_t x_resolution = 0;  // dots per inch, whatever the file says
  int32_t y_resolution = 0;
  bool is_inverted = false;  // the coded bits are the complements of the pixels
  std::array<T_PaletteEntry, 2> palette = {};
};

// kBadData for other bytes than such a header's, and for a picture that no file of this size holds;
// kLimit for one beyond what the caller has set.
Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::bilevel
