// What an output does not hold of its source: nothing is left out in silence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tavo45.h"

namespace tavo::tools {

class Losses {
 public:
  // Pages that nobody chose to leave out.
  void note_pages(int32_t taken, int32_t count);
  // A page that is written with `bits` per pixel, and whether it was turned upright before, or the
  // output says how to do so.
  void note_page(const FILEINFO& info, int bits, bool is_seen_upright);

  // One line on standard error, if anything was noted.
  void report(const std::string& input, const std::string& output) const;

 private:
  void note(const std::string& what);

  std::vector<std::string> items_;
};

}  // namespace tavo::tools
