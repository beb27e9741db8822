// Complementary hulling: every part of the levels' surface that is a narrow pit is filled a level,
// then every narrow peak is cut one, across four directions (T. R. Crimmins, "Geometric filter for
// speckle reduction", Applied Optics 24, 1985).
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "process/filters/filter.h"

namespace tavo::process {

class Hulling final : public Filter {
 public:
  explicit Hulling(uint32_t rounds) : steps_(rounds * kSteps) {}
  Status start(RowSource& source, const WorkLayout& layout) override;
  Status next(uint8_t* row) override { return pull(steps_, row); }

 private:
  static constexpr uint32_t kSteps = 32;  // of a round: four rules, four directions, two signs
  static constexpr uint32_t kLines = 3;

  uint8_t* line(uint32_t step, uint32_t y) {
    return lines_.data() + (size_t{step - 1} * kLines + y % kLines) * stride_ + kRowSlack;
  }
  Status pull(uint32_t step, uint8_t* row);

  uint32_t steps_;
  RowSource* source_ = nullptr;
  uint32_t height_ = 0;
  size_t step_ = 0;
  size_t row_bytes_ = 0;
  size_t stride_ = 0;
  Buffer lines_;  // of each step, those that it works on
  // Of each step: rows taken, and rows given.
  Array<uint32_t> taken_;
  Array<uint32_t> given_;
};

}  // namespace tavo::process
