// tavo thumb: small pictures of files.
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "format_table.h"
#include "jobs.h"
#include "option_checks.h"
#include "output_file.h"
#include "picture.h"
#include "picture_save.h"
#include "program.h"
#include "progress.h"
#include "source.h"
#include "thumbnail.h"

namespace tavo::tools {
namespace {

constexpr int kLargest = 32767;

struct ThumbOptions {
  std::vector<std::string> files;
  std::string folder;
  std::string format = "jpg";
  int size = 256;
};

int make_thumb(const Job& job, const T_Format& format, Extent box) {
  const Source source(job.input);
  const FILEINFO info = describe(source, 1);
  Picture small;
  Progress progress;
  progress.start("Reading " + source.name());
  load_thumbnail(source, info, box, small.record());
  OutputFile output(job.output, false);
  save_picture(output.path(), job.output, format, small.record());
  output.commit();
  return kExitOk;
}

int run_thumb(const ThumbOptions& options) {
  const T_Format format = format_by_name(options.format);
  return run_jobs(jobs_in_folder(options.files, options.folder, format), options.folder,
                  [&](const Job& job) {
                    return make_thumb(job, format, {options.size, options.size});
                  });
}

}  // namespace

void add_thumb(CLI::App& app, Action& action) {
  auto options = std::make_shared<ThumbOptions>();
  CLI::App* command = app.add_subcommand("thumb", "Make small pictures of files, in a folder");
  command
      ->add_option("FILE", options->files,
                   "Files of any format; of those with several pages the first one is taken")
      ->required();
  command
      ->add_option("-o,--out", options->folder,
                   "Folder for the small pictures, which is made if need be. They are called like "
                   "the files, with the extension of the format")
      ->required()
      ->type_name("DIR");
  command
      ->add_option("-s,--size", options->size,
                   "The longer side, in pixels, 1 to " + std::to_string(kLargest) +
                       "; pictures that are smaller keep their size")
      ->check(whole_number(1, kLargest))
      ->type_name("N")
      ->capture_default_str();
  command
      ->add_option("-f,--format,--to", options->format,
                   "Format to write, as \"tavo convert\" takes it")
      ->type_name("F")
      ->capture_default_str();
  command->footer(
      "They are upright, grey or in 24 bits, and carry no metadata. Of JPEG and CMP files no more "
      "is\n"
      "decoded than the size needs; the stamp of such a file serves if it is large enough. "
      "Example:\n"
      "  tavo thumb scans/* --out small --size 160");
  command->callback([options, &action] { action = [options] { return run_thumb(*options); }; });
}

}  // namespace tavo::tools
