// What `tavo convert` is told.
#pragma once

#include <string>
#include <vector>

#include "cli_app.h"
#include "compression.h"
#include "processing.h"
#include "reduction.h"
#include "tavo45.h"

namespace tavo::tools {

inline constexpr char kAllPages[] = "all";

struct ConvertOptions {
  std::string format;
  int bits = 0;
  std::string order;
  std::string page;  // a number, "all", or nothing
  bool append = false;
  bool partial = false;
  bool drop_blank = false;
  ProcessingOptions processing;
  ReductionOptions reduction;
  CompressionOptions compression;
};

// Whether each page of an input goes to a file of its own.
bool makes_page_files(const ConvertOptions& options, const T_Format& format);

// All of them but the format.
void add_conversion_options(CLI::App& command, ConvertOptions& options);

// UsageError for options that contradict each other or the format that is asked.
void check_conversion_options(const ConvertOptions& options);

}  // namespace tavo::tools
