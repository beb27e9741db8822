// What painting shows, pixel by pixel as its rules say it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "process/paint/axis.h"
#include "support.h"

namespace tavo::test {

// How much of each source pixel a device pixel shows.
inline std::vector<double> shares(const process::Axis& axis, int64_t result) {
  if (axis.is_mirrored) result = axis.results - 1 - result;
  const double s = axis.samples, n = axis.results;
  std::vector<double> all(axis.first + axis.samples);
  for (int64_t k = 0; k < axis.samples; ++k) {
    double& share = all[axis.first + k];
    if (axis.takes_means) {
      share = std::max(
          0.0, std::min<double>(k + 1, (result + 1) * s / n) - std::max<double>(k, result * s / n));
    } else {
      share = k == (2 * result + 1) * axis.samples / (2 * axis.results) ? 1 : 0;
    }
  }
  return all;
}

// Of a picture's red, green, blue triples, top row first: the device's, row by row.
inline std::vector<double> shown(const Bytes& rgb, int32_t width, const process::Axis& across,
                                 const process::Axis& down) {
  std::vector<std::vector<double>> columns, rows;
  for (int32_t x = 0; x < across.results; ++x) columns.push_back(shares(across, x));
  for (int32_t y = 0; y < down.results; ++y) rows.push_back(shares(down, y));
  std::vector<double> all;
  for (const auto& row : rows) {
    for (const auto& column : columns) {
      double sum[3] = {}, total = 0;
      for (size_t y = 0; y < row.size(); ++y) {
        for (size_t x = 0; row[y] != 0 && x < column.size(); ++x) {
          if (column[x] == 0) continue;
          total += row[y] * column[x];
          for (size_t c = 0; c < 3; ++c)
            sum[c] += row[y] * column[x] * rgb[(y * width + x) * 3 + c];
        }
      }
      for (const double channel : sum) all.push_back(channel / total);
    }
  }
  return all;
}

// Means may be rounded, but by less than a level.
inline void expect_shown(const std::vector<double>& want, const Bytes& got) {
  ASSERT_EQ(want.size(), got.size());
  for (size_t i = 0; i < want.size(); ++i) ASSERT_LE(std::abs(want[i] - got[i]), 0.75) << i;
}

}  // namespace tavo::test
