#include "conversion.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "failure.h"
#include "format_table.h"
#include "losses.h"
#include "output_file.h"
#include "output_names.h"
#include "picture.h"
#include "progress.h"
#include "rows_read.h"
#include "source.h"
#include "streams.h"

namespace tavo::tools {
namespace {

constexpr int32_t kFilesOrder = -1;
constexpr int32_t kBlankShare = 200;  // millionths of a page that may be ink

int32_t order_in_memory(const std::string& name) {
  if (name.empty()) return kFilesOrder;
  return name == "rgb" ? T_ORDER_RGB : T_ORDER_BGR;
}

// Whether a status of a call that reads one file and writes another is about what it writes.
bool is_of_output(int32_t status) {
  static constexpr int32_t kOfOutput[] = {T_ERR_WRITE,      T_ERR_CREATE,          T_ERR_DEPTH,
                                          T_ERR_SIZE,       T_ERR_FORMAT,          T_ERR_QUALITY,
                                          T_ERR_MULTIPLIER, T_ERR_NOT_COMPRESSIBLE};
  return std::ranges::count(kOfOutput, status) != 0;
}

// Whether pixels of 32 bits bring their opacity along.
bool has_alpha(const FILEINFO& info) {
  const bool is_there = (info.Extras & T_EXTRA_ALPHA) != 0;
  return is_there && (info.Format == T_FORMAT_PNG || info.BitsPerPixel == 32);
}

bool fits_bitmap(const FILEINFO& info) {
  BitmapHandle record{};
  return T_InitBitmap(&record, info.Width, info.Height, info.BitsPerPixel) == T_OK &&
         record.Size != 0;
}

// Whether saves make pictures of the format grey, unless these are written as they stand.
bool is_gray_by_rule(const T_Format& format) { return format.Id == T_FORMAT_EPS; }

// How a page is written.
struct Target {
  T_Format format;
  int bits = 0;
  int32_t quality = 0;       // the library's factor
  uint32_t orientation = 1;  // that the pixels are not brought to
};

// Whether pixels of that depth get a palette that is made for them.
bool makes_palette(const Target& target, int32_t bits) {
  return bits > 8 && target.bits > 1 && target.bits <= 8 && !is_compressed(target.format);
}

class Conversion {
 public:
  Conversion(const ConvertOptions& options, const std::string& input, std::string output,
             Converted& made)
      : made_(made),
        options_(options),
        first_output_(std::move(output)),
        output_(first_output_),
        format_(compressed_variant(format_for(options.format, first_output_), options.compression)),
        source_(input) {}

  void run() {
    const GifFrames frames(!options_.page.empty());
    choose_pages();
    for (int32_t page = first_; page <= last_; ++page) {
      if (page > first_ && !holds_pages(format_)) begin_next_file(page);
      convert_page(page);
    }
    if (!file_ && made_.outputs.empty())
      throw Failure{source_.name(), "There is nothing but blank pages", T_ERR_ARGUMENT};
    commit();
    losses_.report(source_.name(),
                   first_output_ == kStandardStream ? "standard output" : first_output_);
  }

 private:
  void choose_pages();
  void commit();
  void begin_next_file(int32_t page);
  void convert_page(int32_t page);
  Target choose_target(const FILEINFO& info, int picture_bits) const;
  int choose_depth_for(const FILEINFO& info, int picture_bits) const;
  int32_t quality_of(const T_Format& format, const FILEINFO& info) const;
  bool can_stream(const Target& target, const FILEINFO& info) const;
  void stream(Target target, const FILEINFO& info);
  int32_t depth_of_page(const FILEINFO& info) const;
  void load(const FILEINFO& info, int target_bits, Picture& picture);
  RowsRead read(const FILEINFO& info, int target_bits, Processing& processing,
                BitmapHandle& record) const;
  bool is_blank(BitmapHandle& record) const;
  void reduce(const Target& target, Picture& picture) const;
  void bring_to_depth(int bits, BitmapHandle& record) const;
  void open_output();
  int32_t pages_so_far() const;
  void save(const Target& target, Picture& picture);

  Converted& made_;
  const ConvertOptions& options_;
  const std::string first_output_;
  std::string output_;  // the file that is being made
  T_Format format_;
  Source source_;
  std::optional<FILEINFO> described_;  // the first page
  int32_t first_ = 1;
  int32_t last_ = 1;
  std::optional<OutputFile> file_;
  int32_t written_ = 0;  // pages that it holds
  Losses losses_;
};

void Conversion::choose_pages() {
  if (options_.page != kAllPages && !options_.page.empty()) {
    first_ = last_ = std::stoi(options_.page);
    return;
  }
  described_ = describe(source_, 1);
  const int32_t count = described_->PageCount;
  if (options_.page == kAllPages) {
    last_ = count;
  } else if (count > 1) {
    losses_.note_pages(1, count);
  }
  if (last_ > T_MAX_PAGES)
    throw Failure{source_.name(),
                  "There are " + std::to_string(count) + " pages, of which only the first " +
                      std::to_string(T_MAX_PAGES) + " can be read",
                  T_ERR_ARGUMENT};
  if (last_ > 1 && output_ == kStandardStream && !holds_pages(format_))
    throw Failure{source_.name(),
                  "There are " + std::to_string(count) + " pages, and " + format_.Name +
                      " files on standard output hold one",
                  T_ERR_FORMAT};
}

void Conversion::commit() {
  check_signals();
  if (!file_) return;  // nothing but blank pages
  file_->commit();
  made_.outputs.push_back(output_);
}

// Every page is a file of its own.
void Conversion::begin_next_file(int32_t page) {
  commit();
  file_.reset();
  written_ = 0;
  output_ = page_name(first_output_, page);
}

// In which the picture is taken from the file: with its opacity where the output has it, too.
int32_t Conversion::depth_of_page(const FILEINFO& info) const {
  return format_.Id == T_FORMAT_PNG && has_alpha(info) ? 32 : info.BitsPerPixel;
}

int Conversion::choose_depth_for(const FILEINFO& info, int picture_bits) const {
  int bits = options_.bits != 0
                 ? options_.bits
                 : choose_depth(format_, reduced_depth(options_.reduction, picture_bits));
  // A spare byte would show nothing.
  if (format_.Id == T_FORMAT_PNG && bits == 32 && !has_alpha(info)) bits = 24;
  if (accepts_depth(format_, bits)) return bits;
  throw Failure{output_,
                std::string(format_.Name) + " cannot hold " + std::to_string(bits) +
                    " bits per pixel, only " + write_depths_text(format_),
                T_ERR_DEPTH};
}

int32_t Conversion::quality_of(const T_Format& format, const FILEINFO& info) const {
  if (!is_compressed(format)) return 0;
  T_JPEGINFO jpeg;
  const bool is_jpeg = info.Format == T_FORMAT_JPEG || info.Format == T_FORMAT_CMP;
  const bool has_quality = is_jpeg && T_GetJPEGInfo(source_.path().c_str(), &jpeg) == T_OK;
  return quality_factor(format, options_.compression, has_quality ? jpeg.Quality : 0);
}

Target Conversion::choose_target(const FILEINFO& info, int picture_bits) const {
  Target target{format_, choose_depth_for(info, picture_bits)};
  if (!options_.processing.orient) target.orientation = info.Orientation;
  if (options_.format.empty()) target.format = coded_like(info, format_, target.bits);
  target.quality = quality_of(target.format, info);
  choose_level(target.format, options_.compression);
  return target;
}

void Conversion::convert_page(int32_t page) {
  const FILEINFO info = page == 1 && described_ ? *described_ : describe(source_, page);
  const ProcessingOptions& processing = options_.processing;
  Target target = choose_target(info, depth_of_page(info));
  Progress progress;
  if (can_stream(target, info)) {
    progress.start("Converting " + source_.name());
    losses_.note_page(info, target.bits, holds_orientation(target.format));
    return stream(target, info);
  }
  Picture picture;
  progress.start("Reading " + source_.name());
  load(info, target.bits, picture);
  if (is_blank(picture.record()))
    return tell(source_.name(), "page " + std::to_string(page) + " is blank and left out");
  if (processing.changes(info)) target = choose_target(info, picture.record().BitsPerPixel);
  reduce(target, picture);
  if (is_gray_by_rule(target.format)) bring_to_depth(target.bits, picture.record());
  if (options_.bits == 0 && is_compressed(target.format))
    target.bits = compressed_depth(picture.record());
  losses_.note_page(info, target.bits, processing.turns(info) || holds_orientation(target.format));
  progress.start("Writing " + output_);
  if (!file_) open_output();  // only now: a source that cannot be read leaves no trace
  save(target, picture);
}

// Whether the library may convert the page by itself, with as little in memory as it takes. A page
// behind the first is added to what there is, by the number that selects it.
bool Conversion::can_stream(const Target& target, const FILEINFO& info) const {
  const ReductionOptions& reduction = options_.reduction;
  const bool changes = options_.processing.changes(info) || reduction.gray || reduction.reduces() ||
                       !options_.order.empty() || !options_.compression.stamp.empty() ||
                       is_gray_by_rule(target.format) || options_.drop_blank ||
                       makes_palette(target, info.BitsPerPixel);
  if (changes || options_.append || options_.partial || (info.Page == 1 && written_ > 0))
    return false;
  if (info.BitsPerPixel == 2 || !fits_bitmap(info)) return false;
  // Without --bits the colours that are used decide how a palette picture is compressed.
  return !is_compressed(target.format) || options_.bits != 0 || info.BitsPerPixel > 8 ||
         (info.Flags & T_FLAG_GRAY) != 0;
}

void Conversion::stream(Target target, const FILEINFO& info) {
  if (!file_) file_.emplace(output_, false);
  const SaveSettings settings(info.Width, info.Height, {}, target.orientation);
  if (options_.bits == 0 && is_compressed(target.format))
    target.bits = info.BitsPerPixel > 8 ? 24 : 8;
  T_SetPageNumber(info.Page);
  const int32_t status = T_StreamFile(source_.path().c_str(), file_->path().c_str(),
                                      target.format.Id, target.bits, target.quality);
  T_SetPageNumber(1);
  if (status != T_OK && is_of_output(status)) check(status, output_);
  RowsRead rows = rows_of_load(status, info);
  if (rows.is_damaged()) {
    // How much there is shows when nobody asks for another order than the file's.
    if (const RowsRead again = read_rows(source_, info); again.is_damaged()) rows = again;
    throw failure_of(rows, source_.name());
  }
  check(rows.status, source_.name());
  ++written_;
  ++made_.pages;
}

// Reads and processes the page.
void Conversion::load(const FILEINFO& info, int target_bits, Picture& picture) {
  BitmapHandle& record = picture.record();
  Processing processing(options_.processing, source_, info,
                        options_.processing.size_rule(choose_depth_for(info, 8) == 1));
  const RowsRead rows = read(info, target_bits, processing, record);
  if (rows.is_damaged()) {
    check_signals();
    if (!options_.partial || !rows.is_partial()) throw failure_of(rows, source_.name());
    const std::string text = "partial: " + std::to_string(rows.whole) + " of " + rows.all() +
                             " could be read, the others are 0";
    if (!made_.damage) made_.damage = Failure{source_.name(), text, rows.status};
    tell(source_.name(), text);
  } else {
    check(rows.status, source_.name());
  }
  const Resolution dpi = in_dots_per_inch(info.Format, info.XResolution, info.YResolution);
  record.XResolution = dpi.x;
  record.YResolution = dpi.y;
  processing.apply(record);
}

bool Conversion::is_blank(BitmapHandle& record) const {
  int32_t blank = 0;
  if (options_.drop_blank) check(T_IsBlank(&record, kBlankShare, &blank), source_.name());
  return blank != 0;
}

RowsRead Conversion::read(const FILEINFO& info, int target_bits, Processing& processing,
                          BitmapHandle& record) const {
  const bool keeps_alpha = target_bits == 32 && has_alpha(info);
  const bool is_plain = !options_.partial && options_.order.empty() && !keeps_alpha;
  if (const auto method = processing.method_of_load(); method && is_plain)
    return processing.load(*method, record);
  // Nothing is saved with 2 bits: such pictures are widened while they are read.
  const int32_t bits = info.BitsPerPixel == 2 ? 4 : keeps_alpha ? 32 : 0;
  T_SetPageNumber(info.Page);
  const int32_t status =
      T_LoadFile(source_.path().c_str(), &record, bits, order_in_memory(options_.order),
                 T_LOAD_ALLOCATE | T_LOAD_ACCESS | T_LOAD_WHOLE_ROWS, nullptr, nullptr);
  T_SetPageNumber(1);  // a page number above 1 would turn the save into an append
  return rows_of_load(status, info);
}

void Conversion::reduce(const Target& target, Picture& picture) const {
  ReductionOptions reduction = options_.reduction;
  const bool would_reduce = !reduction.gray && !is_compressed(target.format) && target.bits <= 8;
  if (would_reduce && !reduction.reduces() && picture.record().BitsPerPixel > 8) {
    reduction.dither = "floyd-steinberg";  // as the save would, but not on a copy of the picture
  }
  apply_reduction(reduction, target.bits, picture, source_.name());
}

// As a save would, but for making it grey.
void Conversion::bring_to_depth(int bits, BitmapHandle& record) const {
  if (record.BitsPerPixel == bits) return;
  constexpr int32_t kOptimized = 1, kNone = 4;  // palettes
  record.DitherMethod = T_DITHER_FLOYD_STEINBERG;
  check(T_ColorResolution(&record, bits, bits > 8 ? kNone : kOptimized, nullptr, 0),
        source_.name());
}

void Conversion::open_output() {
  file_.emplace(output_, options_.append);
  written_ = pages_so_far();
}

// How many pages the output holds that further ones are to follow.
int32_t Conversion::pages_so_far() const {
  if (!file_->has_content()) return 0;
  if (!holds_pages(format_))
    throw Failure{
        output_,
        std::string(format_.Name) + " files hold one picture only: nothing can be appended",
        T_ERR_FORMAT};
  FILEINFO info{};
  T_SetPageNumber(T_MAX_PAGES);  // its last page: one before may be damaged
  const int32_t status = T_FileInfo(file_->path().c_str(), &info);
  T_SetPageNumber(1);
  if (status == T_ERR_BAD_DATA)
    throw Failure{output_,
                  "The file is damaged or of no known format: nothing can be appended to it",
                  status};
  check(status, output_);
  if (is_same_kind(info.Format, format_)) return info.PageCount;
  throw Failure{output_,
                "The file is " + format_name(info.Format) + ", not " + format_.Name +
                    ": nothing can be appended to it",
                T_ERR_FORMAT};
}

void Conversion::save(const Target& target, Picture& picture) {
  BitmapHandle& record = picture.record();
  const SaveSettings settings(record.Width, record.Height, {record.XResolution, record.YResolution},
                              target.orientation);
  if (!options_.compression.stamp.empty()) {
    save_with_stamp(file_->path(), output_, record, target.format, target.bits, target.quality,
                    options_.compression);
  } else if (is_gray_by_rule(target.format)) {
    T_AccessBitmap(&record);
    check(T_SaveFile(file_->path().c_str(), &record, target.format.Id, target.bits, 0, 0, 1, 0),
          output_);
  } else {
    check(T_SaveFile(file_->path().c_str(), &record, target.format.Id, target.bits, target.quality,
                     written_ > 0 ? T_SAVE_APPEND : 0, 0, 0),
          output_);
  }
  ++written_;
  ++made_.pages;
}

}  // namespace

void convert_file(const ConvertOptions& options, const std::string& input,
                  const std::string& output, Converted& made) {
  Conversion(options, input, output, made).run();
}

}  // namespace tavo::tools
