// What is done to a picture between loading and saving: one step for each option of that kind.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "geometry.h"
#include "sizing.h"
#include "tavo45.h"

namespace tavo::tools {

struct StepScene {
  std::string where;  // for messages: the picture and the option
  SizeRule sizing;
};

struct Step {
  std::string option{};  // "--blur 5"
  std::function<void(BitmapHandle&, const StepScene&)> apply;
  std::optional<SizeWish> size{};  // of steps that do nothing else: a load can do them
};

}  // namespace tavo::tools
