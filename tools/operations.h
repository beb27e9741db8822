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
  const char* value;  // what the help calls its value; empty for an operation that takes none
  std::string text;   // for the help
  std::function<Step(const std::string& value)> make;  // throws BadValue
};

// In the order of the help.
const std::vector<Operation>& operations();

}  // namespace tavo::tools
