#include "load_options.h"

#include <CLI/CLI.hpp>

#include "option_checks.h"
#include "tavo45.h"

namespace tavo::tools {

void add_load_options(CLI::App& command) {
  command
      .add_option_function<int>(
          "--photocd", [](int level) { T_SetPCDResolution(level); },
          "Level of Photo CD pictures: 1 (192 x 128 pixels), 2, 3 (768 x 512), 4 or 5 "
          "(3072 x 2048), or the largest below it that is there; 0, as without it: the largest")
      ->check(whole_number(0, 5))
      ->type_name("N");
}

}  // namespace tavo::tools
