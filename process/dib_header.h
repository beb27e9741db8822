// The header of a device-independent bitmap (DIB): what stands in a BMP file behind its file
// header, and in metafiles and on the clipboard as it is.
// Facts: Microsoft, "Bitmap Storage", BITMAPCOREHEADER and BITMAPINFOHEADER to BITMAPV5HEADER; IBM,
// "Bitmap File Format" (OS/2 2.0 Presentation Manager, BITMAPINFOHEADER2).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "base/status.h"
#include "process/source_picture.h"

namespace tavo::dib {

inline constexpr size_t kCoreHeaderSize = 12;
inline constexpr size_t kInfoHeaderSize = 40;
inline constexpr size_t kLargestHeader = 124 + 16;  // BITMAPV5HEADER; with masks behind

enum class Coding { kNone, kRle4, kRle8, kRle24 };

// Where the bits of one channel are in a pixel; a width of 0 means there is none.
struct Channel {
  uint32_t shift = 0;
  uint32_t width = 0;
  bool operator==(const Channel&) const = default;
};

// What parse_header accepted: sizes are 1 and more, a row fits 32 bits, bits is one of 1, 2, 4, 8,
// 16, 24, 32 and goes with the coding.
struct Header {
  int32_t width = 0;
  int32_t height = 0;
  int32_t bits = 0;         // as stored
  uint32_t line_bytes = 0;  // of a row as stored, when it is not coded
  bool is_top_down = false;
  Coding coding = Coding::kNone;
  bool has_masks = false;  // the channels are not where plain pixels have them
  Channel red, green, blue, alpha;
  bool has_profile = false;
  bool has_resolution = false;
  int32_t x_per_meter = 0;
  int32_t y_per_meter = 0;
  uint32_t colors_used = 0;    // biClrUsed as it stands
  uint32_t table_offset = 0;   // of the colour table: behind the header and its masks
  uint32_t table_entries = 0;  // 0 above 8 bits
  uint32_t entry_bytes = 4;    // RGBQUAD; 3, RGBTRIPLE, behind a core header

  bool is_core() const { return entry_bytes == 3; }
  uint32_t table_bytes() const { return table_entries * entry_bytes; }
};

// `bytes` begin with the header; up to kLargestHeader of them are looked at. kBadData (too short,
// or nonsense), kSubtype (a coding or depth that is known and not supported), kBadSize (a row
// beyond 32 bits).
Status parse_header(std::span<const uint8_t> bytes, Header& header);

// Whether red, green and blue are where they are without masks: 5-5-5, or blue in the lowest of
// three bytes.
bool has_plain_colors(const Header& header);

// What the rows are when RowReader has decoded them; the palette is left empty.
process::SourcePicture describe(const Header& header);

// The colours of a table of header.table_bytes().
void read_table(const Header& header, const uint8_t* table, T_PaletteEntry (&palette)[256]);

}  // namespace tavo::dib
