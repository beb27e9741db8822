// Sine and cosine in integers, the same on every machine.
#pragma once

#include <cstdint>

namespace tavo {

// Of angles, 2^31 standing for 1.
struct SineCosine {
  int64_t sine;
  int64_t cosine;
};

// pi / 4 in the same fixed point, and sine and cosine of an angle from 0 to that.
inline constexpr int64_t kRadiansOf45Degrees = 1686629713;
SineCosine sine_cosine_of_radians(int64_t x);

inline constexpr int32_t kFullTurn = 36000;  // in hundredths of a degree

// `angle` in hundredths of a degree, 0 to 35999.
SineCosine sine_cosine(int32_t angle);

// Any angle of a unit of which `full` make a turn, as 0 to full - 1.
constexpr int32_t within_turn(int32_t angle, int32_t full) { return (angle % full + full) % full; }

}  // namespace tavo
