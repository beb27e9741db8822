// PCX: files of 1, 2, 4 and 8 bits in one plane, 1 bit in two to four planes, 8 bits in three or
// four; pages of DCX files.
// Facts: ZSoft Corporation, "Technical Reference Manual: PCX", revision 5.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"

namespace tavo::pcx {

inline constexpr size_t kHeaderSize = 128;

// What parse_header accepted: sizes are 1 to 65536, bits and planes go together, a line holds the
// picture's width.
struct Header {
  uint8_t version = 0;
  uint8_t plane_bits = 0;
  uint8_t planes = 0;
  int32_t width = 0;
  int32_t height = 0;
  uint16_t x_resolution = 0;
  uint16_t y_resolution = 0;
  uint16_t line_bytes = 0;  // of each plane
  // The header's 16 colours; those of 8 bits stand at the end of the page.
  std::array<uint8_t, 48> palette = {};

  bool is_true_color() const { return planes >= 3 && plane_bits == 8; }
  uint32_t colors() const { return is_true_color() ? 0 : 1u << (plane_bits * planes); }
};

// kBadData for anything but the header of a picture that can be read and that a page of
// `page_bytes` can hold.
Status parse_header(std::span<const uint8_t, kHeaderSize> bytes, uint32_t page_bytes,
                    Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
Status write(io::WriterUse use);

}  // namespace tavo::pcx
