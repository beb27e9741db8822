// tavo stamp: the small picture out of a JPEG or CMP file.
#include <memory>
#include <string>

#include <CLI/CLI.hpp>

#include "deadline.h"
#include "failure.h"
#include "format_table.h"
#include "limit_options.h"
#include "output_file.h"
#include "picture.h"
#include "picture_save.h"
#include "program.h"
#include "source.h"

namespace tavo::tools {
namespace {

struct StampOptions {
  std::string input;
  std::string output;
  std::string format;
  LimitOptions limits;
};

int run_stamp(const StampOptions& options) {
  const T_Format format = format_for(options.format, options.output);
  set_limits(options.limits);
  const Deadline deadline(options.limits.seconds, options.input);
  const Source source(options.input);
  Picture stamp;
  check(T_GetCompressFileStamp(source.path().c_str(), &stamp.record()), source.name());
  OutputFile output(options.output, false);
  save_picture(output.path(), options.output, format, stamp.record());
  output.commit();
  return kExitOk;
}

}  // namespace

void add_stamp(CLI::App& app, Action& action) {
  auto options = std::make_shared<StampOptions>();
  CLI::App* command =
      app.add_subcommand("stamp", "Extract the stamp, a small picture, from a JPEG or CMP file");
  command->add_option("FILE", options->input, "JPEG or CMP file; \"-\" is standard input")
      ->required();
  command
      ->add_option("OUT", options->output,
                   "File to write; its extension names the format. \"-\" is standard output")
      ->required();
  command
      ->add_option("-f,--format,--to", options->format,
                   "Format to write, as \"tavo convert\" takes it")
      ->type_name("F");
  add_limit_options(*command, options->limits);
  command->callback([options, &action] { action = [options] { return run_stamp(*options); }; });
}

}  // namespace tavo::tools
