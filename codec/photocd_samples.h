// Work on rows of samples.
//
// Input rows may be read, and sample rows of output written, kRowSlack bytes behind their end.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::photocd {

inline constexpr size_t kRowSlack = 64;

// A level from the one below it: samples of even columns and rows are those of that level, the ones
// between are the mean of two neighbours, or of four, rounded up. What has no neighbour behind it
// is repeated. 2 * count samples of an even row, and of the odd row between two.
void double_row(const uint8_t* in, size_t count, uint8_t* out);
void double_between(const uint8_t* above, const uint8_t* below, size_t count, uint8_t* out);

// Sums below 0 are 0, above 255 are 255.
void add_differences(const int8_t* differences, size_t count, uint8_t* row);

// PhotoYCC to bytes of red, green and blue, 3 * width of them:
//   R = 1.3584 Y + 1.8215 (C2 - 137)
//   G = 1.3584 Y - 0.194 * 2.2179 (C1 - 156) - 0.509 * 1.8215 (C2 - 137)
//   B = 1.3584 Y + 2.2179 (C1 - 156)
// with constants of 16 bits behind the point, rounded once, and clamped: white, 100 % reflectance,
// is 188, and what is brighter is cut.
void to_rgb(const uint8_t* y, const uint8_t* c1, const uint8_t* c2, size_t width, uint8_t* out);

}  // namespace tavo::photocd
