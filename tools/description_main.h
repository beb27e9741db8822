// What programs do that are run while the command line is built, to write what follows from its
// description.
#pragma once

#include <string>

#include "program.h"

namespace tavo::tools {

// Describes the program and has `write`, bool(const std::string& place, CLI::App& app), write to
// the place that the one argument names. The exit status of main.
template <class Write>
int write_description(int argc, char** argv, Write write) {
  if (argc != 2) return 2;
  CLI::App app;
  Action action;
  describe_program(app, action);
  return write(std::string(argv[1]), app) ? 0 : 1;
}

}  // namespace tavo::tools
