// usage: tavo_descriptions PAGE FOLDER: the manual page, and the folder of what shells complete.
#include "descriptions.h"

#include <CLI/CLI.hpp>

#include "program.h"

int main(int argc, char** argv) {
  using namespace tavo::tools;
  if (argc != 3) return 2;
  CLI::App app;
  Action action;
  describe_program(app, action);
  return write_man_page(argv[1], app) && write_completions(argv[2], app) ? 0 : 1;
}
