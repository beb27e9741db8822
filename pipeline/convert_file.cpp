#include "pipeline/convert_file.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "color/convert.h"
#include "color/paint_palette.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "pipeline/registry.h"
#include "pipeline/save.h"
#include "process/callback_lines.h"
#include "process/row_feed.h"

namespace tavo::pipeline {

namespace {

int32_t per_inch(int32_t per_meter) {
  return static_cast<int32_t>((int64_t{per_meter} * 254 + 5000) / 10000);
}

// The resolution that the file states, in dots per inch; 0 where it states none: the default that
// its reader left in the record is nobody's.
void take_resolution(BitmapHandle& picture, const FILEINFO& info) {
  const FormatRow* row = find_format(info.Format);
  const bool per_meter = row != nullptr && row->reports_per_meter;
  picture.XResolution = per_meter ? per_inch(info.XResolution) : info.XResolution;
  picture.YResolution = per_meter ? per_inch(info.YResolution) : info.YResolution;
}

// The depth that a load is asked for, 0 for the file's: opacity goes with pixels of 32 bits, where
// the reader and the writer know it.
int32_t loaded_bits(const FILEINFO& info, int32_t format, int32_t bits) {
  const FormatRow* const from = find_format(info.Format);
  const FormatRow* const to = find_format(format);
  const bool both = from != nullptr && from->has_alpha && to != nullptr && to->has_alpha;
  return both && bits == 32 && (info.Extras & T_EXTRA_ALPHA) != 0 ? 32 : 0;
}

}  // namespace

Status convert_file(const char* source, const char* destination, int32_t format, int32_t bits,
                    int32_t quality) {
  core::OwnedBitmap picture;
  FILEINFO info;
  TRY(identify(source, info));
  const LoadRequest request{.bits = loaded_bits(info, format, bits),
                            .order = -1,
                            .flags = T_LOAD_ALLOCATE | T_LOAD_ACCESS};
  {
    const core::ProgressPart part(0, 50);
    TRY(load(source, *picture, request));
  }
  const core::ProgressPart part(50, 100);
  take_resolution(*picture, info);
  const SaveOptions options{.format = format, .bits = bits, .quality = quality};
  return save_with_resolution(destination, *picture, options, /*consumes=*/true);
}

namespace {

// One conversion from a reader's rows to a writer. The file is created when the first rows come.
class FileStream {
 public:
  FileStream(SavePlan& plan, const FILEINFO& info, io::RowWriter& writer)
      : plan_(plan), info_(info), writer_(writer), feed_(writer, plan.request) {}
  FileStream(const FileStream&) = delete;
  FileStream& operator=(const FileStream&) = delete;

  Status run(const char* source) {
    const process::BatchesByHeight lines_of_others_stay;
    core::OwnedBitmap rows;
    TRY(load(source, *rows,
             {.bits = loaded_bits(info_, plan_.request.format, plan_.request.depth),
              .order = -1,
              .callback = sink,
              .user_data = this,
              .most_bytes = kMostBytes,
              .asks_upright = writer_.order() == io::RowOrder::kTopFirst}));
    return is_begun_ ? feed_.finish() : kIncomplete;
  }

  // The rows come in an order that the writer cannot take; nothing has happened yet.
  bool needs_whole() const { return needs_whole_; }

 private:
  // Rows that are written while the processor still holds them.
  static constexpr uint32_t kMostBytes = 256 * 1024;

  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context) {
    auto& stream = *static_cast<FileStream*>(context);
    return stream.take(*source, static_cast<const uint8_t*>(rows), static_cast<uint32_t>(count))
        .code();
  }

  Status take(const BitmapHandle& source, const uint8_t* rows, uint32_t count) {
    if (!is_begun_) TRY(begin(source));
    if (!prepares()) return feed_.put(rows, source.BytesPerLine, count);
    for (; count > 0; --count, rows += source.BytesPerLine) {
      TRY(converter_.convert(rows, row_.data(), source.Width));
      TRY(feed_.put(row_.data(), picture_.BytesPerLine, 1));
    }
    return kOk;
  }

  bool prepares() const { return plan_.preparation != Preparation::kNone; }

  Status begin(const BitmapHandle& source) {
    needs_whole_ = writer_.order() == io::RowOrder::kTopFirst && source.ViewPerspective >= 2;
    if (needs_whole_) return kIncomplete;
    TRY(describe(source));
    take_resolution(picture_, info_);
    if (prepares()) TRY(start_preparing(source));
    TRY(plan_.find_target());
    TRY(feed_.prepare(picture_, source.ViewPerspective < 2));
    TRY(feed_.begin(picture_));
    is_begun_ = true;
    return kOk;
  }

  // The copy that a save of the whole picture would write, without its pixels.
  Status describe(const BitmapHandle& source) {
    const bool is_gray = plan_.preparation == Preparation::kGray;
    const int32_t bits = is_gray ? 8 : plan_.request.depth;
    TRY(core::init_bitmap(picture_, source.Width, source.Height, bits));
    if (!prepares()) return core::copy_description(picture_, source);
    picture_.ViewPerspective = source.ViewPerspective;
    if (!is_gray) {
      if (source.BitsPerPixel > 8) picture_.Order = source.Order;
      return kOk;
    }
    color::fill_gray_ramp(picture_.Info.Palette);
    picture_.Colors = 256;
    core::set_flag(picture_, T_FLAG_GRAY, true);
    return kOk;
  }

  Status start_preparing(const BitmapHandle& source) {
    const color::PaintPalette colors(source);
    const bool is_gray = plan_.preparation == Preparation::kGray;
    TRY(converter_.start(source.BitsPerPixel, is_gray ? 0 : picture_.BitsPerPixel,
                         static_cast<int32_t>(source.Order), static_cast<int32_t>(picture_.Order),
                         colors.entries, nullptr));
    return row_.allocate(picture_.BytesPerLine);
  }

  SavePlan& plan_;
  const FILEINFO& info_;
  io::RowWriter& writer_;
  process::RowFeed feed_;
  BitmapHandle picture_ = {};
  color::RowConverter converter_;  // of what a save prepares
  Buffer row_;
  bool is_begun_ = false;
  bool needs_whole_ = false;
};

uint64_t picture_bytes(const FILEINFO& info, int32_t bits) {
  return uint64_t{core::bytes_per_line(info.Width, bits)} * static_cast<uint32_t>(info.Height);
}

// Whether a save's work on this picture can be done row by row. What is too large for a bitmap is
// refused as one.
bool needs_rows_only(const FILEINFO& info, const SavePlan& plan) {
  const int32_t depth = plan.request.depth;
  if (plan.preparation == Preparation::kResolution && depth <= 8) return false;
  return std::max(picture_bytes(info, info.BitsPerPixel), picture_bytes(info, depth)) <= UINT32_MAX;
}

// Whether the writer may be able to take the rows as they come. Reading and writing from the end
// takes positions that can be reached.
bool takes_order(const FILEINFO& info, const SavePlan& plan, io::RowOrder order) {
  constexpr uint64_t kMostHeader = 4096;
  const bool is_top_first = info.ViewPerspective < 2;
  if ((info.Flags & T_FLAG_INTERLACED) != 0) return false;
  if (order == io::RowOrder::kTopFirst) {
    const bool may_turn = find_format(info.Format)->read_upright != nullptr;
    return is_top_first || (may_turn && info.FileSize <= INT32_MAX);
  }
  const bool is_placed = order == io::RowOrder::kAny && is_top_first;
  return !is_placed || picture_bytes(info, plan.request.depth) <= INT32_MAX - kMostHeader;
}

}  // namespace

Status stream_file(const char* source, const char* destination, int32_t format, int32_t bits,
                   int32_t quality) {
  const core::ProgressPart part(0, 100);  // of a stream that gives up, and of what follows it
  const auto whole = [&] { return convert_file(source, destination, format, bits, quality); };
  FILEINFO info;
  TRY(identify(source, info));
  if (loaded_bits(info, format, bits) == 32) info.BitsPerPixel = 32;
  SavePlan plan(destination, {.format = format, .bits = bits, .quality = quality},
                info.BitsPerPixel, /*is_reduced=*/false);
  const bool is_onto_itself = destination == nullptr || std::strcmp(source, destination) == 0;
  if (is_onto_itself || !needs_rows_only(info, plan)) return whole();
  return plan.with_writer([&](io::RowWriter& writer) {
    if (!takes_order(info, plan, writer.order())) return whole();
    FileStream stream(plan, info, writer);
    const Status status = stream.run(source);
    return stream.needs_whole() ? whole() : status;
  });
}

}  // namespace tavo::pipeline
