// How large a picture may be, by the bytes of its file.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/status.h"

namespace tavo::formats {

// How the pixels of a file are coded, as far as that says what its bytes can stand for.
enum class Density : uint8_t {
  kPlain,    // rows as stored, counted in bytes
  kBlocks,   // strips and tiles of any coding, which may share their data; in bytes
  kRuns,     // run lengths, in bytes
  kLzw,      // in index bytes
  kFax,      // ITU-T T.4 and T.6, in pixels; a page that ends early is white from there on
  kGroup4,   // T.6 with all rows of the picture, in pixels
  kJpeg,     // in pixels
  kDeflate,  // in bytes
};

// What a file of any size may claim, and how much more for each of its bytes.
struct Limit {
  uint64_t any = UINT64_MAX;
  uint64_t per_byte = 0;

  constexpr uint64_t of(uint64_t file_bytes) const { return any + per_byte * file_bytes; }
};

struct DensityLimits {
  Limit row;
  Limit rows;
  Limit picture;
};

inline constexpr uint64_t kMebi = uint64_t{1} << 20;

inline constexpr DensityLimits kDensityLimits[] = {
    // kPlain: rows that are not there take no memory, but one must be possible. Files end below
    // 4 GiB, and so do the pixels in them.
    {.row = {16 * kMebi, 1}, .rows = {}, .picture = {UINT32_MAX, 1}},
    // kBlocks: what goes beyond the largest bitmap must be there; LZW packs 2,700 bytes into one.
    {.row = {16 * kMebi, 1024}, .rows = {}, .picture = {UINT32_MAX, 4096}},
    // kRuns: RLE8 makes 128 bytes of one by runs, and skips rows and the rest of a picture.
    {.row = {}, .rows = {}, .picture = {16 * kMebi, 1024}},
    // kLzw: 12-bit codes for the longest string there can be.
    {.row = {}, .rows = {}, .picture = {16 * kMebi, 4096 * 8 / 12 + 1}},
    // kFax: a drawing of 20,000 x 30,000 pixels may have 4,000 bytes.
    {.row = {kMebi, 0}, .rows = {}, .picture = {16 * kMebi, 1 << 18}},
    // kGroup4: a row takes a bit or more, a blank one of any width no more.
    {.row = {}, .rows = {0, 8}, .picture = {2048 * kMebi, 8192}},
    // kJpeg: a flat picture takes two bits for a block of each component, less when progressive.
    {.row = {}, .rows = {}, .picture = {64 * kMebi, 2048}},
    // kDeflate: two bits stand for a match of 258 bytes.
    {.row = {}, .rows = {}, .picture = {16 * kMebi, 4 * 258}},
};

// A few bytes can claim pictures of gigabytes, for which nobody shall take memory or time: every
// reader asks before its header counts as read, so that identification and loads agree. kBadData
// for a picture that no real file of `file_bytes` has.
constexpr Status check_plausible(Density density, uint64_t row, uint64_t rows,
                                 uint64_t file_bytes) {
  const DensityLimits& limits = kDensityLimits[static_cast<size_t>(density)];
  const bool fits = row <= limits.row.of(file_bytes) && rows <= limits.rows.of(file_bytes) &&
                    (row == 0 || rows <= limits.picture.of(file_bytes) / row);
  return fits ? kOk : kBadData;
}

// Formats that repeat rows: blank pages of 100,000 pixels for a byte are good files. kReadError for
// pictures of far more, whose data must end early.
constexpr Status check_repeating(uint64_t width, uint64_t height, uint64_t file_bytes) {
  return width * height / kMebi <= file_bytes ? kOk : kReadError;
}

}  // namespace tavo::formats
