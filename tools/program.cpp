#include "program.h"

#include "help.h"

namespace tavo::tools {

void describe_program(CLI::App& app, Action& action) {
  app.name("tavo");
  app.description("Reads, converts and writes raster images.");
  app.set_version_flag("--version", "tavo " TAVO_VERSION, "Print the version and exit");
  app.set_help_flag("-h,--help", "Print this help and exit");
  app.require_subcommand(1);
  app.allow_windows_style_options(false);  // "/tmp/a.bmp" is a path everywhere
  app.formatter(std::make_shared<HelpFormatter>());
  add_info(app, action);
  add_stamp(app, action);
  add_convert(app, action);
  add_formats(app, action);
  // Last: subcommands would inherit it.
  app.footer(
      "\"tavo COMMAND --help\" explains a command.\n\n"
      "Examples:\n"
      "  tavo info photo.bmp              what a file holds\n"
      "  tavo convert photo.bmp small.bmp --bits 8\n"
      "  tavo formats                     what can be read and written\n\n"
      "Exit status: 0 when all went well, 1 when a file could not be read or written (one line\n"
      "on standard error says which and why), 2 for a wrong command line.");
}

}  // namespace tavo::tools
