// tavo print: a file on paper.
#include "print.h"

#include <memory>

#include <CLI/CLI.hpp>

#include "option_checks.h"
#include "program.h"
#include "tavo45.h"

namespace tavo::tools {

void add_print(CLI::App& app, Action& action) {
  auto options = std::make_shared<PrintOptions>();
  CLI::App* command = app.add_subcommand("print", "Print a file on a page (Windows)");
  command->add_option("FILE", options->file, "File of any format; \"-\" is standard input")
      ->required();
  command->add_option("--printer", options->printer, "Printer, as the system calls it")
      ->required()
      ->type_name("NAME");
  command->add_option("--page", options->page, "Page of the file; the first without it")
      ->check(whole_number(1, T_MAX_PAGES))
      ->type_name("N");
  command
      ->add_option("--size", options->size,
                   "fit: as large as the page allows, as without it; actual: by the resolution; "
                   "stretch: the whole page")
      ->check(CLI::IsMember({"fit", "actual", "stretch"}))
      ->type_name("SIZE");
  command->add_flag("--center", options->center, "In the middle of the page, not top left");
  command
      ->add_option("--print-to", options->output,
                   "File that gets what the printer would, in the printer's language")
      ->type_name("OUT");
  add_limit_options(*command, options->limits);
  command->footer(
      "Examples:\n"
      "  tavo print photo.jpg --printer Laser --center\n"
      "  tavo print fax.tif --page 2 --size actual --printer Laser");
  command->callback([options, &action] { action = [options] { return run_print(*options); }; });
}

}  // namespace tavo::tools
