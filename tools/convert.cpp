// tavo convert: files to another format.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "conversion.h"
#include "deadline.h"
#include "failure.h"
#include "format_table.h"
#include "jobs.h"
#include "limit_options.h"
#include "load_options.h"
#include "option_checks.h"
#include "output_names.h"
#include "program.h"
#include "streams.h"

namespace tavo::tools {
namespace {

struct Arguments {
  std::vector<std::string> files;
  std::string folder;
  ConvertOptions options;
  LimitOptions limits;
};

// IN OUT, or IN... with --out.
std::vector<Job> choose_jobs(const Arguments& arguments) {
  const ConvertOptions& options = arguments.options;
  const auto& files = arguments.files;
  if (!arguments.folder.empty()) {
    if (options.format.empty()) throw UsageError{"--out: --to must say which format to write"};
    const T_Format format = format_by_name(options.format);
    return jobs_in_folder(files, arguments.folder, format, makes_page_files(options, format));
  }
  if (files.size() == 2) return {{files[0], files[1]}};
  if (files.size() == 1)
    throw UsageError{"there is no OUT for " + files[0] + ", nor --out with a folder"};
  throw UsageError{std::to_string(files.size()) +
                   " files are named; several are converted into a folder, with --out"};
}

void check_options(const ConvertOptions& options, const std::vector<Job>& jobs) {
  check_conversion_options(options);
  for (const Job& job : jobs) {
    if (options.append && job.output == kStandardStream)
      throw UsageError{"--append: standard output has no pages to add to"};
  }
}

int run_job(const Job& job, const Arguments& arguments) {
  const Deadline deadline(arguments.limits.seconds, job.input);
  Converted made;
  convert_file(arguments.options, job.input, job.output, made);
  return made.exit_status();
}

int run_convert(const Arguments& arguments) {
  set_limits(arguments.limits);
  const std::vector<Job> jobs = choose_jobs(arguments);
  check_options(arguments.options, jobs);
  if (arguments.folder.empty()) return run_job(jobs[0], arguments);
  return run_jobs(jobs, arguments.folder,
                  [&arguments](const Job& job) { return run_job(job, arguments); });
}

// What is wrong with the value of --page, nothing when all is well.
std::string page_fault(const std::string& value) {
  std::string text = value;
  if (value == kAllPages || whole_number(1, T_MAX_PAGES)(text).empty()) return {};
  return "\"" + value + "\" is neither a page from 1 to " + std::to_string(T_MAX_PAGES) +
         " nor \"" + kAllPages + "\"";
}

void add_file_options(CLI::App& command, Arguments& arguments) {
  command
      .add_option("FILE", arguments.files,
                  "IN and OUT, or with --out any number of files to read, in any format. \"-\" is "
                  "standard input or output. OUT's extension names the format. A file is written "
                  "beside its place and renamed when complete: a failure leaves what was there")
      ->required();
  command
      .add_option("-f,--format,--to", arguments.options.format,
                  "Format to write, whatever the extension: a name, identifier or extension that "
                  "\"tavo formats\" lists, or a TIFF coding: deflate, group3, group3-2d, group4, "
                  "lzw, packbits. Without it a TIFF file that becomes one keeps its coding")
      ->type_name("F");
  command
      .add_option("-o,--out", arguments.folder,
                  "Folder for the outputs, which is made if need be. They are called like the "
                  "inputs, with the extension of the format, which --to must name")
      ->type_name("DIR");
}

void add_picture_options(CLI::App& command, ConvertOptions& options) {
  command
      .add_option("-b,--bits", options.bits,
                  "Bits per pixel to write: 1, 4, 8, 16, 24 or 32, as the format allows. Without "
                  "it the picture's own depth, or the one nearest to it that the format holds")
      ->check(one_of({"1", "4", "8", "16", "24", "32"}))
      ->type_name("N");
  command
      .add_option("--order", options.order,
                  "Byte order of the pixels above 8 bits while they are in memory. "
                  "Formats that prescribe an order are written in theirs")
      ->check(one_of({"rgb", "bgr"}))
      ->type_name("rgb|bgr");
  command
      .add_option("-p,--page", options.page,
                  "Page to read from a multi-page file, the first without this option; all: every "
                  "page. Pages of a GIF file are what shows after so many of its images; without "
                  "this option it is the first image by itself. Into a format without pages they "
                  "go to OUT, OUT.page2, OUT.page3 ..., the "
                  "number in front of the extension")
      ->check(value_check(page_fault))
      ->type_name("N|all");
  command
      .add_option_function<int32_t>(
          "--scale", [](int32_t scale) { T_SetDrawScale(scale); },
          "Draw drawings (WMF, WPG, PICT) so many times as large as on a screen")
      ->check(whole_number(1, T_MAX_DRAW_SCALE))
      ->type_name("N");
  command.add_flag_callback(
      "--smooth", [] { T_SetDrawSmooth(1); }, "Draw drawings with smooth edges");
  command.add_flag(
      "-a,--append", options.append,
      "Add the picture to OUT as a further page, where the format has pages. Waits up to "
      "ten seconds for another program that is writing OUT");
  command.add_flag("--drop-blank", options.drop_blank,
                   "Leave out blank pages, those with less ink than a short word: a scanner's "
                   "black border, specks and punch holes are none");
  command.add_flag("--partial", options.partial,
                   "Of a cut or damaged picture write what can be read, in full size: the rows "
                   "that are missing are 0. Exit status 3");
}

}  // namespace

bool makes_page_files(const ConvertOptions& options, const T_Format& format) {
  return options.page == kAllPages && !holds_pages(format);
}

void add_conversion_options(CLI::App& command, ConvertOptions& options) {
  add_picture_options(command, options);
  add_processing_options(command, options.processing);
  add_load_options(command);
  add_reduction_options(command, options.reduction);
  add_compression_options(command, options.compression);
}

void check_conversion_options(const ConvertOptions& options) {
  check_reduction(options.reduction, options.bits);
  if (options.format.empty()) return;  // the name of each output tells
  const T_Format format = format_by_name(options.format);
  choose_level(compressed_variant(format, options.compression), options.compression);
}

void add_convert(CLI::App& app, Action& action) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* command = app.add_subcommand("convert", "Convert pictures to another format or depth");
  add_file_options(*command, *arguments);
  add_conversion_options(*command, arguments->options);
  add_limit_options(*command, arguments->limits);
  command->footer(
      "Resolution and row order are kept. What the output does not hold, further pages, opacity,\n"
      "color profile or metadata, is named on standard error. Examples:\n"
      "  tavo convert photo.bmp copy.bmp\n"
      "  tavo convert photo.bmp small.bmp --bits 8\n"
      "  tavo convert photo.bmp web.gif --colors 64 --dither stucki --size 50%\n"
      "  tavo convert photo.bmp photo.jpg --quality 90 --subsampling 2x2\n"
      "  tavo convert scan.tif out.tif --despeckle 12 --rotate -0.7:smooth --contrast 200\n"
      "  tavo convert fax.dcx fax.tif --format group4 --page all\n"
      "  tavo convert scans.tif pages.tif --page all --drop-blank --deskew --autocrop:20\n"
      "  tavo convert a.bmp b.tga c.gif --to tif --out scans\n"
      "  tavo convert --partial cut.pcx rest.bmp\n"
      "  curl -s https://example.org/a.jpg | tavo convert - - --to bmp > a.bmp");
  command->callback(
      [arguments, &action] { action = [arguments] { return run_convert(*arguments); }; });
}

}  // namespace tavo::tools
