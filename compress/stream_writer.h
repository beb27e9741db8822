// The bytes around the entropy-coded data: JPEG markers (ISO/IEC 10918-1 annex B, JFIF 1.02), CMP
// header and trailer (cmp_layout.h). They are fully determined by the description.
#pragma once

#include <cstdint>
#include <span>

#include "base/byte_sink.h"
#include "base/status.h"
#include "compress/coding_parameters.h"

namespace tavo::compress {

// A small picture that travels with the large one.
struct Stamp {
  uint32_t width = 0;                // 4 to 255
  uint32_t height = 0;               // 1 to 255
  uint32_t bits = 0;                 // 8 or 24
  std::span<const uint8_t> palette;  // 8 bits: 768 bytes of red, green, blue
  std::span<const uint8_t> pixels;   // rows, top first, unpadded; 24 bits: blue, green, red

  uint32_t data_size() const { return static_cast<uint32_t>(palette.size() + pixels.size()); }
};

// Whether the stamp fits into one segment of a JPEG stream.
bool fits_segment(const Stamp& stamp);

// All that the bytes depend on, but the pixels and the density's unit (T_SetJFIFUnit).
struct StreamDescription {
  CodingParameters coding;
  uint32_t width = 0;
  uint32_t coded_rows = 0;
  int32_t x_resolution = 0;
  int32_t y_resolution = 0;
  bool is_top_first = false;
  const Stamp* stamp = nullptr;  // null for none
  jpeg::QuantiserTable luminance = {};
  jpeg::QuantiserTable chrominance = {};
};

// Header and stamp of a CMP file.
Status write_cmp_header(const StreamDescription& stream, ByteSink& sink);
// All markers up to the entropy-coded data.
Status write_stream_header(const StreamDescription& stream, ByteSink& sink);
Status write_stream_end(ByteSink& sink);
std::array<uint8_t, 12> cmp_trailer(const StreamDescription& stream);

}  // namespace tavo::compress
