// tavo clip: a file to the clipboard, the clipboard to a file.
#include "clip.h"

#include <memory>

#include <CLI/CLI.hpp>

#include "program.h"

namespace tavo::tools {

void add_clip(CLI::App& app, Action& action) {
  auto options = std::make_shared<ClipOptions>();
  CLI::App* command = app.add_subcommand(
      "clip", "Copy a file to the clipboard, or the clipboard to a file (Windows)");
  command
      ->add_option("FILE", options->file,
                   "A file that exists is put on the clipboard: its first page, upright. One that "
                   "does not is made of the picture that is there. \"-\" is standard output, with "
                   "--copy standard input")
      ->required();
  CLI::Option* copies = command->add_flag("--copy", options->copy,
                                          "Read FILE; it is an error when it does not exist");
  command->add_flag("--paste", options->paste, "Write FILE, also in the place of one that exists")
      ->excludes(copies);
  command
      ->add_option("-f,--format,--to", options->format,
                   "Format to write, as \"tavo convert\" takes it; else the extension names it")
      ->type_name("F");
  add_limit_options(*command, options->limits);
  command->footer(
      "Examples:\n"
      "  tavo clip photo.jpg          photo.jpg is there: it is copied to the clipboard\n"
      "  tavo clip copied.png         copied.png is not: it is what is on the clipboard\n"
      "  tavo clip --paste photo.jpg  in the place of the photograph");
  command->callback([options, &action] { action = [options] { return run_clip(*options); }; });
}

}  // namespace tavo::tools
