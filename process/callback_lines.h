// How many rows a reader gathers before it calls the sink.
#pragma once

#include <cstdint>

#include "base/settings.h"

namespace tavo::process {

// By the picture's height.
int32_t callback_lines(int32_t height);

// While it lives, readers go by the picture's height, whatever has been set.
class BatchesByHeight {
 public:
  BatchesByHeight() : outer_(settings.callback_lines) { settings.callback_lines = 0; }
  ~BatchesByHeight() { settings.callback_lines = outer_; }
  BatchesByHeight(const BatchesByHeight&) = delete;
  BatchesByHeight& operator=(const BatchesByHeight&) = delete;

 private:
  int32_t outer_;
};

}  // namespace tavo::process
