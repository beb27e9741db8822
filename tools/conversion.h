// One file to another format.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "convert_options.h"
#include "failure.h"

namespace tavo::tools {

// What a conversion has made so far.
struct Converted {
  std::vector<std::string> outputs{};  // complete files
  int32_t pages = 0;
  std::optional<Failure> damage{};  // of what could be read only in part, as the options allow

  int exit_status() const { return damage ? kExitPartial : kExitOk; }
};

// Converts `input` to `output`. Failure when nothing was written, but for what `made` tells.
void convert_file(const ConvertOptions& options, const std::string& input,
                  const std::string& output, Converted& made);

}  // namespace tavo::tools
