// Pictures as they are painted: one direction of a part of a picture on the pixels of a device.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/settings.h"
#include "tavo45.h"

namespace tavo::process {

// What a device pixel covers, its parts in units of 1 / results of a source pixel.
struct AxisCell {
  int64_t first = 0;   // the pixel with which it begins
  uint32_t lead = 0;   // how much of a first pixel that is not whole
  uint32_t whole = 0;  // pixels
  uint32_t tail = 0;   // how much of a last one that is not whole
};

struct Axis {
  int32_t first = 0;    // of the picture's pixels that are shown
  int32_t samples = 1;  // how many those are
  int32_t results = 1;  // pixels of the device
  bool is_mirrored = false;
  bool takes_means = false;

  bool is_plain() const { return samples == results && !is_mirrored; }

  // The source pixel in which the centre of a device pixel lies.
  int64_t center(int64_t result) const {
    return first + (2 * counted(result) + 1) * samples / (2 * int64_t{results});
  }

  // For axes that shrink.
  AxisCell cell(int64_t result) const {
    const int64_t begin = counted(result) * samples, end = begin + samples;
    const int64_t begun = begin % results;
    AxisCell cell;
    cell.first = first + begin / results;
    cell.lead = static_cast<uint32_t>(begun == 0 ? 0 : results - begun);
    cell.tail = static_cast<uint32_t>(end % results);
    cell.whole = static_cast<uint32_t>(end / results - (begin + results - 1) / results);
    return cell;
  }

 private:
  int64_t counted(int64_t result) const { return is_mirrored ? results - 1 - result : result; }
};

// Whether pictures of a depth get means where they shrink, by the settings: single pixels stay what
// they are on devices with a table of colors, and text of 1 bit stays black and white.
inline bool averages(int32_t bits, bool has_table, const PaintSettings& paint) {
  if (paint.fast) return false;
  return bits == 1 ? paint.scale_to_gray : bits > 8 || !has_table;
}

// How much each pixel of a cell counts, as parts of 1 << shift. Those of pixels that are whole have
// 14 bits or a little less, which keeps what rounding them may add up to far below one level.
struct CellWeights {
  uint32_t lead = 0;
  uint32_t whole = 0;
  uint32_t tail = 0;
  uint32_t shift = 0;

  // Of what there is of a cell, where a pixel has `results` units. `wanted`: the shift, if not 0.
  CellWeights(const AxisCell& cell, int32_t results, uint32_t wanted = 0) : shift(wanted) {
    const auto unit = static_cast<uint64_t>(results);
    const uint64_t all = cell.lead + cell.tail + unit * cell.whole;
    if (shift == 0) {
      for (shift = 14; all >> (shift - 13) >= unit; ++shift) {
      }
    }
    const auto part = [&](uint64_t units) {
      return static_cast<uint32_t>(((units << shift) + all / 2) / all);
    };
    lead = part(cell.lead), whole = part(unit), tail = part(cell.tail);
  }
};

}  // namespace tavo::process
