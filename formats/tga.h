// Truevision TGA: colour-mapped, true-colour and grey files, plain or run-length coded; plain
// colour-mapped and true-colour files are written.
// Facts: Truevision, "TGA File Format Specification", version 2.0.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "io/format.h"
#include "process/source_picture.h"

namespace tavo::tga {

inline constexpr size_t kHeaderSize = 18;

enum class Kind { kMapped, kTrueColor, kGray };

// What parse_header accepted: sizes are 1 to 65535; the depth goes with the kind: 8 bits mapped,
// 8, 15, 16, 24 or 32 true colour, 8 or 16 grey.
struct Header {
  uint8_t id_bytes = 0;
  Kind kind = Kind::kTrueColor;
  bool is_run_length = false;
  uint16_t map_first = 0;    // pixel that the map's first entry is for
  uint16_t map_entries = 0;  // 0 without a colour map
  uint8_t map_entry_bits = 0;
  uint16_t x_origin = 0;
  uint16_t y_origin = 0;
  uint16_t width = 0;
  uint16_t height = 0;
  uint8_t pixel_bits = 0;
  bool has_alpha = false;    // attribute bits
  bool is_top_down = false;  // and left to right
  uint32_t orientation = 1;
};

// The format has no signature, so every field is looked at. kBadData (no TGA header, or one of a
// picture that no file of this size holds), kSubtype (a sound one of another image type),
// kReadError (shorter than a header).
Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header);

Status probe(const io::ProbeInput& input, FILEINFO& info);
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context);
// Plain rows come top row first, however they are stored; other files as read() delivers them.
Status read_upright(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
                    void* context);
Status write(io::WriterUse use);

}  // namespace tavo::tga
