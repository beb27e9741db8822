// tavo convert: from one file to another.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "compression.h"
#include "failure.h"
#include "format_table.h"
#include "output_file.h"
#include "picture.h"
#include "program.h"
#include "progress.h"
#include "reduction.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr int32_t kFilesOrder = -1;
constexpr int32_t kFilesDepth = 0;
const std::string kAllPages = "all";

struct ConvertOptions {
  std::string input;
  std::string output;
  std::string format;
  int bits = 0;
  std::string order;
  std::string page;  // a number, "all", or nothing
  bool append = false;
  ReductionOptions reduction;
  CompressionOptions compression;
};

T_Format output_format(const ConvertOptions& options) {
  const T_Format format =
      options.format.empty() ? format_by_extension(options.output) : format_by_name(options.format);
  return compressed_variant(format, options.compression);
}

int output_depth(const ConvertOptions& options, const T_Format& format, int source_bits) {
  const int bits = options.bits != 0
                       ? options.bits
                       : choose_depth(format, reduced_depth(options.reduction, source_bits));
  if (accepts_depth(format, bits)) return bits;
  throw Failure{options.output,
                std::string(format.Name) + " cannot hold " + std::to_string(bits) +
                    " bits per pixel, only " + write_depths_text(format),
                T_ERR_DEPTH};
}

int32_t order_in_memory(const std::string& name) {
  if (name.empty()) return kFilesOrder;
  return name == "rgb" ? T_ORDER_RGB : T_ORDER_BGR;
}

// The pages to read, and what the output file holds of pages so far.
struct Pages {
  int32_t first = 1;
  int32_t last = 1;
  int32_t written = 0;
};

Pages choose_pages(const ConvertOptions& options) {
  Pages pages;
  if (options.page != kAllPages && !options.page.empty()) {
    pages.first = pages.last = std::stoi(options.page);
    return pages;
  }
  const int32_t count = describe(options.input, 1).PageCount;
  if (options.page == kAllPages) {
    pages.last = count;
  } else if (count > 1) {
    std::fprintf(stderr, "tavo: %s: page 1 of %d is converted; --page all takes them all\n",
                 options.input.c_str(), count);
  }
  if (pages.last > T_MAX_PAGES)
    throw Failure{options.input,
                  "There are " + std::to_string(count) + " pages, of which only the first " +
                      std::to_string(T_MAX_PAGES) + " can be read",
                  T_ERR_ARGUMENT};
  return pages;
}

void load(const ConvertOptions& options, const FILEINFO& info, Picture& picture) {
  // Nothing is saved with 2 bits: such pictures are widened while they are read.
  const int32_t bits = info.BitsPerPixel == 2 ? 4 : kFilesDepth;
  T_SetPageNumber(info.Page);
  const int32_t status = T_LoadBitmap(absolute_path(options.input).c_str(), &picture.record(), bits,
                                      order_in_memory(options.order));
  T_SetPageNumber(1);  // a page number above 1 would turn the save into an append
  check(status, options.input);
}

// Describes the file that pages are added to, by its last page: one before may be damaged.
int32_t describe_pages(const OutputFile& output, FILEINFO& info) {
  T_SetPageNumber(T_MAX_PAGES);
  const int32_t status = T_FileInfo(output.path().c_str(), &info);
  T_SetPageNumber(1);
  return status;
}

// How many pages the output holds that further ones are to follow.
int32_t pages_so_far(const ConvertOptions& options, const T_Format& format,
                     const OutputFile& output) {
  if (!output.has_content()) return 0;
  FILEINFO info{};
  const int32_t status = describe_pages(output, info);
  if (status == T_ERR_BAD_DATA)
    throw Failure{options.output,
                  "The file is damaged or of no known format: nothing can be appended to it",
                  status};
  check(status, options.output);
  if (is_same_kind(info.Format, format)) return info.PageCount;
  throw Failure{options.output,
                "The file is " + format_name(info.Format) + ", not " + format.Name +
                    ": nothing can be appended to it",
                T_ERR_FORMAT};
}

// Formats that hold a single picture overwrite it even when told to append: what was written
// tells, before it takes the target's place.
void check_appended(const ConvertOptions& options, const T_Format& format, const OutputFile& output,
                    int32_t pages) {
  FILEINFO info{};
  check(describe_pages(output, info), options.output);
  if (info.PageCount == pages) return;
  throw Failure{options.output,
                std::string(format.Name) + " files hold one picture only: nothing can be appended",
                T_ERR_FORMAT};
}

void save(const ConvertOptions& options, const T_Format& format, int bits, const FILEINFO& info,
          Picture& picture, const OutputFile& output, Pages& pages) {
  const bool appends = pages.written > 0;
  const BitmapHandle& record = picture.record();
  const Resolution dpi = in_dots_per_inch(info.Format, record.XResolution, record.YResolution);
  const SaveSettings settings(record.Width, record.Height, dpi);
  if (!options.compression.stamp.empty()) {
    picture.record().XResolution = dpi.x;
    picture.record().YResolution = dpi.y;
    save_with_stamp(output.path(), picture.record(), format, bits, options.compression);
  } else {
    const int32_t quality = is_compressed(format) ? quality_factor(format, options.compression) : 0;
    check(T_SaveFile(output.path().c_str(), &picture.record(), format.Id, bits, quality,
                     appends ? T_SAVE_APPEND : 0, 0, 0),
          options.output);
  }
  ++pages.written;
  if (appends) check_appended(options, format, output, pages.written);
}

bool fits_bitmap(const FILEINFO& info) {
  BitmapHandle record{};
  return T_InitBitmap(&record, info.Width, info.Height, info.BitsPerPixel) == T_OK &&
         record.Size != 0;
}

// Whether the library may convert the page by itself, without the picture in memory. A page behind
// the first is added to what there is, by the number that selects it.
bool can_stream(const ConvertOptions& options, const T_Format& format, int bits,
                const FILEINFO& info, const Pages& pages) {
  const ReductionOptions& reduction = options.reduction;
  const bool changes = !reduction.size.empty() || reduction.gray || reduction.reduces() ||
                       !options.order.empty() || !options.compression.stamp.empty();
  if (changes || options.append || (info.Page == 1 && pages.written > 0)) return false;
  if (info.BitsPerPixel == 2 || !fits_bitmap(info)) return false;
  // Without --bits the colours that are used decide how a palette picture is compressed.
  if (is_compressed(format)) {
    return options.bits != 0 || info.BitsPerPixel > 8 || (info.Flags & T_FLAG_GRAY) != 0;
  }
  return bits > 8 || bits == info.BitsPerPixel;
}

// The file to which a status of a call that reads one file and writes another belongs.
const std::string& file_at_fault(const ConvertOptions& options, int32_t status) {
  static constexpr int32_t kOfOutput[] = {T_ERR_WRITE,      T_ERR_CREATE,          T_ERR_DEPTH,
                                          T_ERR_SIZE,       T_ERR_FORMAT,          T_ERR_QUALITY,
                                          T_ERR_MULTIPLIER, T_ERR_NOT_COMPRESSIBLE};
  return std::ranges::count(kOfOutput, status) != 0 ? options.output : options.input;
}

void stream(const ConvertOptions& options, const T_Format& format, int bits, const FILEINFO& info,
            const OutputFile& output, Pages& pages) {
  const SaveSettings settings(info.Width, info.Height, {});
  if (options.bits == 0 && is_compressed(format)) bits = info.BitsPerPixel > 8 ? 24 : 8;
  const int32_t quality = is_compressed(format) ? quality_factor(format, options.compression) : 0;
  const bool appends = pages.written > 0;
  T_SetPageNumber(info.Page);
  const int32_t status = T_StreamFile(absolute_path(options.input).c_str(), output.path().c_str(),
                                      format.Id, bits, quality);
  T_SetPageNumber(1);
  check(status, file_at_fault(options, status));
  ++pages.written;
  if (appends) check_appended(options, format, output, pages.written);
}

void convert_page(const ConvertOptions& options, const T_Format& format, int32_t page,
                  std::optional<OutputFile>& output, Pages& pages) {
  const FILEINFO info = describe(options.input, page);
  int bits = output_depth(options, format, info.BitsPerPixel);
  Progress progress;
  if (can_stream(options, format, bits, info, pages)) {
    progress.start("Converting " + options.input);
    if (!output) output.emplace(options.output, false);
    return stream(options, format, bits, info, *output, pages);
  }
  Picture picture;
  progress.start("Reading " + options.input);
  load(options, info, picture);
  ReductionOptions reduction = options.reduction;
  const bool would_reduce = !reduction.gray && !is_compressed(format) && bits <= 8;
  if (would_reduce && !reduction.reduces() && picture.record().BitsPerPixel > 8) {
    reduction.dither = "floyd-steinberg";  // as the save would, but not on a copy of the picture
  }
  apply_reduction(reduction, bits, picture);
  if (options.bits == 0 && is_compressed(format)) bits = compressed_depth(picture.record());
  progress.start("Writing " + options.output);
  if (!output) {  // only now: a source that cannot be read leaves no trace
    output.emplace(options.output, options.append);
    pages.written = pages_so_far(options, format, *output);
  }
  save(options, format, bits, info, picture, *output, pages);
}

int run_convert(const ConvertOptions& options) {
  check_reduction(options.reduction, options.bits);
  const T_Format format = output_format(options);
  Pages pages = choose_pages(options);
  std::optional<OutputFile> output;
  for (int32_t page = pages.first; page <= pages.last; ++page)
    convert_page(options, format, page, output, pages);
  check_signals();
  output->commit();
  return kExitOk;
}

// What is wrong with the value of --page, nothing when all is well.
std::string page_fault(const std::string& value) {
  if (value == kAllPages || CLI::Range(1, T_MAX_PAGES)(value).empty()) return {};
  return "neither a page, 1 to " + std::to_string(T_MAX_PAGES) + ", nor \"" + kAllPages +
         "\": " + value;
}

void add_options(CLI::App& command, ConvertOptions& options) {
  command.add_option("IN", options.input, "File to read, in any format")->required();
  command
      .add_option("OUT", options.output,
                  "File to write; its extension names the format. It is written beside its place "
                  "and renamed when complete: a failure leaves what was there")
      ->required();
  command
      .add_option("-f,--format", options.format,
                  "Format to write, whatever the extension: a name or identifier that \"tavo "
                  "formats\" lists")
      ->type_name("F");
  command
      .add_option("-b,--bits", options.bits,
                  "Bits per pixel to write: 1, 4, 8, 16, 24 or 32, as the format allows. Without "
                  "it the picture's own depth, or the one nearest to it that the format holds")
      ->check(CLI::IsMember(std::vector<int>{1, 4, 8, 16, 24, 32}).description(""))
      ->type_name("N");
  command
      .add_option("--order", options.order,
                  "Byte order of the pixels above 8 bits while they are in memory. "
                  "Formats that prescribe an order are written in theirs")
      ->check(CLI::IsMember(std::vector<std::string>{"rgb", "bgr"}).description(""))
      ->type_name("rgb|bgr");
  command
      .add_option("-p,--page", options.page,
                  "Page to read from a multi-page file, the first without this option; all: every "
                  "page, where the output format has pages")
      ->check(CLI::Validator(page_fault, ""))
      ->type_name("N|all");
  command.add_flag(
      "-a,--append", options.append,
      "Add the picture to OUT as a further page, where the format has pages. Waits up to "
      "ten seconds for another program that is writing OUT");
  add_reduction_options(command, options.reduction);
  add_compression_options(command, options.compression);
}

}  // namespace

void add_convert(CLI::App& app, Action& action) {
  auto options = std::make_shared<ConvertOptions>();
  CLI::App* command = app.add_subcommand("convert", "Convert a picture to another format or depth");
  add_options(*command, *options);
  command->footer(
      "Resolution and row order are kept. Examples:\n"
      "  tavo convert photo.bmp copy.bmp\n"
      "  tavo convert photo.bmp small.bmp --bits 8\n"
      "  tavo convert photo.bmp web.gif --colors 64 --dither stucki --size 50%\n"
      "  tavo convert photo.bmp photo.jpg --quality 90 --subsampling 2x2\n"
      "  tavo convert fax.dcx fax.tif --format 28 --page all\n"
      "  tavo convert drawing.bmp out.img --format bmp");
  command->callback([options, &action] { action = [options] { return run_convert(*options); }; });
}

}  // namespace tavo::tools
