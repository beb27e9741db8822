// Colours for points: each stands for those that are nearest to it.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/status.h"
#include "color/nearest.h"
#include "core/progress.h"
#include "reduce/color_points.h"

namespace tavo::color {

class Clusters {
 public:
  // The points outlive the clusters.
  explicit Clusters(const ColorPoints& points) : points_(points) {}

  // Begins with the means of boxes: `wanted` (1 to 256) of them at most.
  Status start(uint32_t wanted);

  // Makes the sum of squared distances less: colours move to the means of their points (S. P.
  // Lloyd, "Least squares quantization in PCM", IEEE Transactions on Information Theory 28, 1982),
  // and from where two could be one to where one should be two. Progress is told from
  // `percent_done` to `percent_done` + `percent_share`.
  Status refine(core::Progress& progress, uint32_t percent_done, uint32_t percent_share);

  // Those that stand for points.
  uint32_t take_colors(std::span<uint32_t, 256> colors) const;

 private:
  using Colors = std::array<uint32_t, 256>;

  // The points of a colour.
  struct Cluster {
    uint64_t pixels;
    uint64_t sum[3];
    uint64_t spread[3];  // the sums of squared distances by component
    uint32_t mean() const;
  };

  // A colour to give up, which its nearest one then stands for.
  struct Merger {
    uint64_t cost;
    uint32_t color;
    uint32_t other;
  };
  // A colour to make two of, along a component.
  struct Division {
    uint64_t gain;
    uint32_t color;
    uint32_t axis;
  };

  uint64_t assign();
  void move();
  uint64_t settle(uint32_t steps, uint32_t least_part);
  Merger find_merger(uint32_t color) const;
  Division find_division(uint32_t color) const;
  bool exchange(uint32_t most);
  void divide(std::span<const Division> divisions, std::span<const uint32_t> vacant);

  const ColorPoints& points_;
  Colors colors_ = {};
  uint32_t count_ = 0;
  std::array<Cluster, 256> clusters_ = {};
  Array<uint8_t> indices_;  // of the points' colours
  NearestColor nearest_;
};

}  // namespace tavo::color
