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
  int width = 0;
  int height = 0;
  std::vector<JpegComponent> components;
  uint16_t quantiser = 1;  // all values of table 0

  int h_max() const;
  int v_max() const;
  int mcus_wide() const { return (width + 8 * h_max() - 1) / (8 * h_max()); }
  int mcus_high() const { return (height + 8 * v_max() - 1) / (8 * v_max()); }
  int blocks_wide(size_t c) const { return mcus_wide() * components[c].h; }
  // Zigzag coefficients of a block in the padded grid.
  std::array<int, 64>& block(size_t c, int x, int y);

  std::vector<std::vector<std::array<int, 64>>> coefficients;

  // Fills all blocks with plausible numbers; only DC values when `flat` are given, one a component.
  void fill(uint64_t seed);
  void fill_flat(const std::vector<int>& samples);
};

enum class ScanPlan {
  kInterleaved,  // baseline, one scan
  kSeparate,     // sequential, a scan for each component
  kProgressive,  // spectral selection
  kSuccessive,   // and successive approximation
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
