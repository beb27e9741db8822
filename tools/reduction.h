// Options of `tavo convert` that take colours away before saving: grey, fewer colours.
#pragma once

#include <cstdint>
#include <string>

#include "cli_app.h"
#include "picture.h"
#include "program.h"

namespace tavo::tools {

struct ReductionOptions {
  bool gray = false;
  int colors = 0;
  std::string dither;   // a name of the table in reduction.cpp
  std::string palette;  // "fine", "optimized", "fixed" or a picture file

  // Whether colours are to be reduced in a way of its own, not in the one of a save.
  bool reduces() const { return colors != 0 || !dither.empty() || !palette.empty(); }
};

void add_reduction_options(CLI::App& command, ReductionOptions& options);

// Throws Failure for options that contradict the depth asked (0: none was).
void check_reduction(const ReductionOptions& options, int bits);

// The depth to save at when none was asked, given the one that the picture and the format suggest.
int reduced_depth(const ReductionOptions& options, int suggested);

// Makes the changes. `bits` is the depth that will be saved; `where` the file to name when one
// fails.
void apply_reduction(const ReductionOptions& options, int bits, Picture& picture,
                     const std::string& where);

}  // namespace tavo::tools
