// The marker segments of a JPEG stream: what they say, checked.
// Facts: ISO/IEC 10918-1, annex B; JFIF 1.02; Adobe Technical Note 5116 (the APP14 segment).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/status.h"
#include "codec/jpeg/blocks.h"
#include "codec/jpeg/huffman.h"

namespace tavo::jpeg {

inline constexpr size_t kMaxComponents = 4;  // a scan has no more (table B.3); nor has any picture
inline constexpr size_t kMaxTables = 4;      // of quantisers, and of each class of Huffman tables

// Marker codes (table B.1), without the 0xFF.
namespace marker {
inline constexpr int kSof0 = 0xC0, kSof1 = 0xC1, kSof2 = 0xC2, kDht = 0xC4;
inline constexpr int kJpg = 0xC8, kSof9 = 0xC9, kSof10 = 0xCA, kDac = 0xCC, kSof15 = 0xCF;
inline constexpr int kRst0 = 0xD0, kRst7 = 0xD7, kSoi = 0xD8, kEoi = 0xD9, kSos = 0xDA;
inline constexpr int kDqt = 0xDB, kDnl = 0xDC, kDri = 0xDD;
inline constexpr int kApp0 = 0xE0, kApp1 = 0xE1, kApp2 = 0xE2, kApp14 = 0xEE, kCom = 0xFE,
                     kTem = 0x01;
}  // namespace marker

// Ci, Hi, Vi and Tqi of a frame header (B.2.2), and what follows from them.
struct Component {
  uint8_t id = 0;
  uint8_t h = 1;  // sampling factors, 1..4
  uint8_t v = 1;
  uint8_t quantiser = 0;
  uint32_t width = 0;  // in samples
  uint32_t height = 0;
  uint32_t blocks_wide = 0;  // that hold these samples
  uint32_t blocks_high = 0;
};

// A checked frame header: 8-bit samples, sequential or progressive, width 1 to 65535, 1 to 4
// components. The height is 0 when a DNL segment is to tell it.
struct Frame {
  uint32_t width = 0;
  uint32_t height = 0;
  bool is_progressive = false;
  bool is_arithmetic = false;
  size_t count = 0;
  std::array<Component, kMaxComponents> components;
  uint32_t h_max = 1;
  uint32_t v_max = 1;
  uint32_t mcus_wide = 0;
  uint32_t mcus_high = 0;

  // Compute what follows from the width, and from the height.
  void set_width(uint32_t columns);
  void set_height(uint32_t lines);

  // Pixels of all MCUs: what there is to decode.
  uint64_t coded_pixels() const { return uint64_t{64} * h_max * v_max * mcus_wide * mcus_high; }
};

// Csj, Tdj and Taj of a scan header (B.2.3).
struct ScanComponent {
  size_t index = 0;  // in the frame
  size_t dc_table = 0;
  size_t ac_table = 0;
};

struct Scan {
  size_t count = 0;
  std::array<ScanComponent, kMaxComponents> components;
  Band band;
};

// Qk of a DQT segment (B.2.4.1), 8 or 16 bits.
struct Dequantisers {
  std::array<uint16_t, kBlockSize> values;  // natural order
  bool is_defined;
};

// What arithmetic coding tells small values from large ones by (B.2.4.3).
struct Conditioning {
  std::array<uint8_t, kMaxTables> dc_low = {0, 0, 0, 0};   // L
  std::array<uint8_t, kMaxTables> dc_high = {1, 1, 1, 1};  // U
  std::array<uint8_t, kMaxTables> ac_low = {5, 5, 5, 5};   // Kx
};

// Tables stay in force until redefined, from one stream to the next too (abbreviated streams).
struct Tables {
  std::array<Dequantisers, kMaxTables> quantisers;
  std::array<HuffmanTable, kMaxTables> dc;
  std::array<HuffmanTable, kMaxTables> ac;
  uint32_t restart_interval;  // in MCUs, 0: none
  Conditioning conditioning;
};

// What application segments say.
struct Extras {
  bool has_jfif = false;
  uint8_t density_unit = 0;  // 0: aspect ratio only, 1: dots per inch, 2: dots per cm
  uint16_t x_density = 0;
  uint16_t y_density = 0;
  bool has_adobe = false;
  uint8_t adobe_transform = 0;
  bool has_exif = false;
  uint32_t orientation = 1;  // Exif's, in TIFF's numbers
  bool has_xmp = false;
  bool has_icc = false;
  // The first comment that is short enough to be a program's name: programs tell in it who wrote
  // the stream, and how. Empty when there is none.
  std::array<uint8_t, 32> comment = {};
  uint8_t comment_size = 0;
  std::span<const uint8_t> comment_text() const { return std::span(comment).first(comment_size); }
};

// How reading a run of segments ended.
enum class SegmentEnd { kScan, kEndOfImage, kCutShort };

class MarkerReader {
 public:
  MarkerReader(ByteSource& source, Tables& tables) : source_(source), tables_(tables) {}

  // Finds FF D8; kBadData when the stream does not begin with it, kReadError when it is too short.
  Status read_start();

  // Reads segments up to and with the next scan header, or the end. kReadError when the data end
  // inside a segment, kBadData, kSubtype for codings that are not supported: `frame` tells the size
  // of such a picture all the same.
  Status read_segments(Frame& frame, Scan& scan, Extras& extras, SegmentEnd& end);

 private:
  // The code of the next marker, which is taken with its fill bytes.
  Status next_marker(int& code);
  Status read_segment(int code, Frame& frame, Scan& scan, Extras& extras);
  Status skip_rest();

  Status read_frame(int code, Frame& frame);
  Status read_scan(const Frame& frame, Scan& scan);
  Status read_quantisers();
  Status read_huffman();
  Status read_conditioning();
  Status read_restart_interval();
  Status read_line_count(Frame& frame);
  Status read_application(int code, Extras& extras);
  Status read_exif(std::span<const uint8_t, 6> start, Extras& extras);
  Status read_comment(Extras& extras);

  // Takes `into.size()` bytes of the segment; kBadData when it has fewer.
  Status take(std::span<uint8_t> into);

  ByteSource& source_;
  Tables& tables_;
  uint32_t left_ = 0;  // of the segment
};

}  // namespace tavo::jpeg
