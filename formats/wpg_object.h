// What stands in front of each drawn object of WordPerfect Graphics, version 2.
#pragma once

#include <cstdint>

#include "formats/wpg_walk.h"

namespace tavo::wpg {

inline constexpr int64_t kOne = 1 << 16;  // in numbers with 16 bits behind the point

// Turns, scales, skews, then moves. All in 65536ths.
struct Transformation {
  int64_t x_of_x = kOne, x_of_y = 0, y_of_x = 0, y_of_y = kOne;
  int64_t x = 0, y = 0;

  // Of a position; what is far outside of all pages comes no nearer than that.
  void apply(Position& position) const;
};

// libwpg calls it the characterization of an object.
struct ObjectHead {
  bool is_winding = false;
  bool is_filled = false;
  bool is_closed = false;
  bool is_framed = false;
  Transformation place;
};

// False when the record ends before.
bool take_head(Walk& walk, ObjectHead& head);

}  // namespace tavo::wpg
