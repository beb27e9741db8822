// The mean of rows of which the first and the last may count in part.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/buffer.h"
#include "base/status.h"
#include "process/paint/axis.h"

namespace tavo::process {

inline constexpr uint32_t kMeanBits = 7;

// Whole rows are added up and weighted once, when all of them have come. Results have kMeanBits
// bits of fraction, so that they are positive as signed numbers, too.
class DownMean {
 public:
  // For rows of `samples` bytes, at most `most` of which are whole in a mean. kNoMemory.
  Status start(size_t samples, uint64_t most);

  // Where results are.
  const uint16_t* result() const { return result_.data(); }

  void begin();
  void add_whole(const uint8_t* row);
  void add_lead(const uint8_t* row);
  // Null: there is no such row.
  void finish(const CellWeights& weights, const uint8_t* tail);

  // The mean of a single row.
  void take(const uint8_t* row);

  // Room behind the last result that loops may read.
  static constexpr size_t kSlack = 16;

 private:
  bool is_long() const { return long_sums_.size() != 0; }

  size_t samples_ = 0;
  Array<uint16_t> sums_;       // of up to kMostShort rows
  Array<uint64_t> long_sums_;  // or of more
  Buffer lead_;
  bool has_lead_ = false;
  uint32_t added_ = 0;  // whole rows
  Array<uint16_t> result_;
  Buffer none_;  // stands for rows that do not count
};

}  // namespace tavo::process
