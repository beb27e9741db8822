// Options of `tavo convert` that work on the picture between loading and reduction: operations, in
// the order in which they stand on the line, and turning it upright.
#pragma once

#include <string>
#include <vector>

#include "cli_app.h"
#include "picture.h"
#include "program.h"
#include "sizing.h"
#include "step.h"

namespace tavo::tools {

struct ProcessingOptions {
  std::vector<Step> steps;
  std::string size_method;  // empty: by the picture
  bool orient = true;

  // Whether there is anything to do for the page.
  bool changes(const FILEINFO& info) const { return !steps.empty() || turns(info); }
  bool turns(const FILEINFO& info) const { return orient && info.Orientation > 1; }
  // `is_for_one_bit`: the output will have 1 bit, whatever comes out of the steps.
  SizeRule size_rule(bool is_for_one_bit) const;
};

void add_processing_options(CLI::App& command, ProcessingOptions& options);

// A word of the command line as the parser takes it: an option whose value may be left out has it
// behind a colon, "--autocrop:20", which the parser would call a part of its name.
std::string as_parsed(const std::string& word);

// The work on one page.
class Processing {
 public:
  Processing(const ProcessingOptions& options, const Source& source, const FILEINFO& info,
             const SizeRule& sizing)
      : options_(options), source_(source), info_(info), sizing_(sizing) {}

  // Where the first step gives the picture another size, a load that does it at once: its method.
  std::optional<uint32_t> method_of_load() const;
  // That load.
  RowsRead load(uint32_t method, BitmapHandle& record);

  // All that is left to be done.
  void apply(BitmapHandle& record) const;

 private:
  Extent size_as_stored() const;

  const ProcessingOptions& options_;
  const Source& source_;
  const FILEINFO& info_;
  SizeRule sizing_;
  size_t done_ = 0;  // steps
};

}  // namespace tavo::tools
