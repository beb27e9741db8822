// Where the pixels of a resampled row come from, one by one.
#pragma once

#include <cstdint>

#include "base/buffer.h"
#include "process/resize_rule.h"

namespace tavo::process {

struct ResizeSources {
  Array<uint32_t> pixels;  // the source position of each result position from `first` to `end`
  uint32_t first = 0;
  uint32_t end = 0;
  uint32_t old_size = 0;
  bool shrinks = false;
  // So many result positions on, source positions are that many more.
  uint64_t pattern = 0;
  uint32_t pattern_sources = 0;

  // False without memory, and where a row that is enlarged in place would overwrite what it reads
  // later: otherwise no pixel comes from a position behind its own.
  bool find(const ResizeRule& rule);

 private:
  void find_shrinking(const ResizeRule& rule);
  bool find_enlarging(const ResizeRule& rule);
};

}  // namespace tavo::process
