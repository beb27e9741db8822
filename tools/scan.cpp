// tavo scan: pages from a scanner.
#include "scan.h"

#include <cstdint>
#include <memory>

#include <CLI/CLI.hpp>

#include "option_checks.h"
#include "program.h"

namespace tavo::tools {

void add_scan(CLI::App& app, Action& action) {
  auto options = std::make_shared<ScanOptions>();
  CLI::App* command = app.add_subcommand("scan", "Scan pages into a file (Windows)");
  command
      ->add_option("OUT", options->file,
                   "The file to write. Its extension names the format; \"-\" is standard output")
      ->required();
  command
      ->add_option("-f,--format,--to", options->format,
                   "Format to write, as \"tavo convert\" takes it")
      ->type_name("F");
  command
      ->add_option("--source", options->source,
                   "The scanner, as TWAIN calls it; else the default one")
      ->type_name("NAME");
  command->add_option("--pages", options->pages, "At most so many; else all that the scanner has")
      ->check(whole_number(1, INT32_MAX))
      ->type_name("N");
  command->add_option("--resolution", options->resolution, "Dots per inch")
      ->check(whole_number(1, 9600))
      ->type_name("N");
  command->add_option("--type", options->type, "Kind of pictures")
      ->check(one_of({"bw", "gray", "rgb", "palette"}))
      ->type_name("bw|gray|rgb|palette");
  command->add_flag("--feeder", options->feeder, "Take the pages from the feeder");
  command->add_flag("--no-dialog", options->no_dialog, "Without the scanner's own dialog");
  command->footer(
      "What is not given is left to the scanner, and to its dialog. Pages go into one file where "
      "the\n"
      "format has pages, else to OUT, OUT.page2 ..., the number in front of the extension. Those\n"
      "that came before a failure are kept. Example:\n"
      "  tavo scan letters.tif --to group4 --type bw --resolution 300 --feeder --no-dialog");
  command->callback([options, &action] { action = [options] { return run_scan(*options); }; });
}

}  // namespace tavo::tools
