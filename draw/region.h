// Sets of pixels, for clipping and for what is filled as such.
#pragma once

#include <cstdint>
#include <span>

#include "base/list.h"
#include "base/status.h"
#include "draw/geometry.h"

namespace tavo::draw {

// Boxes of pixels in bands: those of a band have the same rows, do not touch, and go from left to
// right; bands go from top to bottom. The same set always has the same boxes.
class Region {
 public:
  enum class Operation { kBoth, kEither, kFirstOnly, kOneOnly };

  // Beyond so many boxes a set is refused: kBadData.
  static constexpr size_t kMostBoxes = 1 << 16;

  Status assign(const Region& other) { return boxes_.assign(other.boxes_.items()); }
  Status assign(const Box& box);
  // What `operation` makes of two, neither of which is this one.
  Status combine(const Region& first, const Region& second, Operation operation);
  // The pixels of `whole` that are less than `width` columns or `height` rows from its border.
  Status frame(const Region& whole, int32_t width, int32_t height);

  // Spans of one set one after the other, row by row and from left to right.
  Status add(int32_t y, int32_t left, int32_t right);
  void finish();

  void clear() {
    boxes_.clear();
    band_ = above_ = 0;
  }
  void move(int32_t x, int32_t y);

  bool is_empty() const { return boxes_.empty(); }
  std::span<const Box> boxes() const { return boxes_.items(); }
  Box bounds() const;

  // Calls `use(left, right)`, which returns a status, for what a span has in common with the set.
  template <class Use>
  Status clip(int32_t y, int32_t left, int32_t right, Use use) const {
    for (size_t i = first_at(y, left); i < boxes_.size(); ++i) {
      const Box& box = boxes_[i];
      if (box.top > y || box.left >= right) break;
      const int32_t from = std::max(left, box.left), to = std::min(right, box.right);
      if (from < to) TRY(use(from, to));
    }
    return kOk;
  }

 private:
  friend class RegionMerger;

  size_t first_at(int32_t y, int32_t x) const;
  void join_bands();

  List<Box> boxes_;
  size_t band_ = 0;   // where the last band begins
  size_t above_ = 0;  // and the one above it
};

}  // namespace tavo::draw
