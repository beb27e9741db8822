// The kernel of a spatial filter, as the command line puts it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tavo::tools {

struct Kernel {
  std::vector<int32_t> coefficients;  // row by row: 9, 25 or 49
  int32_t divisor = 0;                // 0: their sum
  int32_t bias = 0;
  bool is_absolute = false;

  int32_t size() const;
};

// "0 -1 0 -1 5 -1 0 -1 0/1+0:abs", of which only the numbers must be there.
std::optional<Kernel> parse_kernel(std::string_view text);

// What may be written.
std::string kernel_help();

}  // namespace tavo::tools
