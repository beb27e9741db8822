// The table of operations on pictures: their options, the values these take, what they do.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "step.h"

namespace tavo::tools {

// A value that an operation does not take.
struct BadValue {
  std::string what;  // "\"4\" is no odd whole number from 3 to 255"
};

struct Operation {
  const char* option;
  // What the help calls its value; empty for an operation that takes none, "[:NAME]" where it may
  // be left out.
  const char* value;
  std::string text;                                    // for the help
  std::function<Step(const std::string& value)> make;  // throws BadValue
};

inline bool may_lack_value(const Operation& operation) { return *operation.value == '['; }

// In the order of the help.
const std::vector<Operation>& operations();

}  // namespace tavo::tools
