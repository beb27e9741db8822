#include "program.h"

#include <CLI/CLI.hpp>

#include "help.h"

namespace tavo::tools {
namespace {

// Of several wrong values the first one is told, whatever the order of the options in the help.
void check_values_in_order(CLI::App& command) {
  for (CLI::Option* option : command.get_options())
    if (!option->get_positional() && option->get_items_expected_max() > 0)
      option->trigger_on_parse();
}

}  // namespace

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
  add_thumb(app, action);
  add_sheet(app, action);
  add_batch(app, action);
  add_clip(app, action);
  add_print(app, action);
  add_scan(app, action);
  add_formats(app, action);
  for (CLI::App* command : app.get_subcommands({})) check_values_in_order(*command);
  // Last: subcommands would inherit it.
  app.footer("\"tavo COMMAND --help\" explains a command.\n\nExamples:\n" + examples_text() +
             "\n\nExit status:\n" + exit_status_text());
}

std::string examples_text() {
  return "  tavo info photo.bmp              what a file holds\n"
         "  tavo info --check *.tif          and whether all of it can be read\n"
         "  tavo convert photo.bmp small.bmp --bits 8\n"
         "  tavo convert scan.tif out.tif --rotate -0.7:smooth --despeckle 12\n"
         "  tavo convert *.bmp --to tif --out scans\n"
         "  tavo thumb *.jpg --out small     small pictures of files\n"
         "  tavo sheet *.jpg sheet.tif       many of them on a page, with their names\n"
         "  tavo convert - - --to jpg < photo.bmp > photo.jpg\n"
         "  tavo formats                     what can be read and written";
}

std::string exit_status_text() {
  return "  0  all went well\n"
         "  1  a file could not be read or written; a line on standard error says which and why\n"
         "  2  the command line is wrong; nothing was done\n"
         "  3  a picture is cut or damaged, and what could be read of it was (convert --partial,\n"
         "     info --check). 1 goes before 3. batch: the system refused, or the part is in work\n"
         "  75 batch: interrupted, and to be gone on with (--resume); --merge: not covered";
}

std::string files_text() {
  return "  .tavo~HOST~PID~N   an output while it is written, in its folder. The next run there\n"
         "                     removes one whose process has ended without doing so\n"
         "  .tavo~I-of-N~HOST~PID~N  the same of part I of a batch, removed when it is resumed\n"
         "  .journal           in the folder of a batch's outputs: what became of each file\n"
         "  .tavo~lock~HASH    in the same folder, while a run adds a page or puts a file in "
         "place\n"
         "  TMPDIR             (TMP on Windows) the folder for copies of pipes, and for pictures\n"
         "                     that memory does not hold; /tmp where it is not set";
}

std::string notes_text() {
  return "The quality of a JPEG or CMP file is estimated from the quantisation table of its first\n"
         "component: of the qualities 1 to 100 by which libjpeg scales the standard's table for\n"
         "luminance (ISO/IEC 10918-1, K.1) the one that comes nearest. Of a table that another "
         "program\n"
         "chose it says how fine it is. On Windows the program itself expands the wildcards * and "
         "? in\n"
         "names of files.";
}

}  // namespace tavo::tools
