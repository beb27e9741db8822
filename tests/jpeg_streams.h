// JPEG streams put together from coefficients, for tests: the same picture in every arrangement of
// scans. Huffman tables are trivial: symbol s has the code s, of a fixed length.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support.h"

namespace tavo::test {

struct JpegComponent {
  int id = 1;
  int h = 1;
  int v = 1;
};

struct JpegPicture {
  // With plausible numbers in all blocks.
  JpegPicture(int wide, int high, std::vector<JpegComponent> parts, uint64_t seed = 1);
  // Of one value for each component.
  JpegPicture(int wide, int high, std::vector<JpegComponent> parts,
              const std::vector<int>& samples);

  int h_max() const;
  int v_max() const;
  int mcus_wide() const { return (width + 8 * h_max() - 1) / (8 * h_max()); }
  int mcus_high() const { return (height + 8 * v_max() - 1) / (8 * v_max()); }
  int blocks_wide(size_t c) const { return mcus_wide() * components[c].h; }
  // Zigzag coefficients of a block in the padded grid.
  std::array<int, 64>& block(size_t c, int x, int y);

  int width;
  int height;
  std::vector<JpegComponent> components;
  uint16_t quantiser = 1;  // all values of table 0
  std::vector<std::vector<std::array<int, 64>>> coefficients;
};

std::vector<JpegComponent> ycc(int h, int v);

// What cjpeg writes of one picture: baseline, and with refinements and restarts.
Bytes baseline_stream();
Bytes refined_stream();

enum class ScanPlan {
  kInterleaved,  // baseline, one scan
  kSeparate,     // sequential, a scan for each component
  kProgressive,  // spectral selection
};

struct JpegOptions {
  ScanPlan plan = ScanPlan::kInterleaved;
  int restart_interval = 0;
  int code_bits = 8;             // of AC symbols: 8 or 16
  bool has_line_count = false;   // height in a DNL segment
  bool wide_quantisers = false;  // 16-bit table
  Bytes segments = {};           // behind SOI
};

Bytes jpeg_stream(JpegPicture& picture, const JpegOptions& options);

// Segments.
Bytes jpeg_segment(int code, const Bytes& body);
Bytes adobe_segment(uint8_t transform);
Bytes jfif_segment(uint8_t unit, uint16_t x_density, uint16_t y_density);

}  // namespace tavo::test
