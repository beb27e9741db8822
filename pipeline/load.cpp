#include "pipeline/load.h"

#include <algorithm>
#include <cstring>

#include "base/buffer.h"
#include "base/depths.h"
#include "base/settings.h"
#include "color/convert.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "core/rows.h"
#include "dither/dither.h"
#include "pipeline/identify.h"
#include "pipeline/registry.h"
#include "pipeline/store_sink.h"
#include "process/row_delivery.h"

namespace tavo::pipeline {

namespace {

enum class Mode { kAsIs, kSwapOrder, kConvert, kDither, kMapToFixed };

constexpr uint32_t kDescriptionFlags = T_FLAG_GRAY | T_FLAG_PALETTE | T_FLAG_INTERLACED;
// Converted rows are handed on in pieces of about this many bytes.
constexpr uint32_t kPieceBytes = 256 * 1024;

Mode choose_mode(int32_t file_bits, int32_t target_bits, bool same_order, bool fixed) {
  if (target_bits > 8) {
    if (file_bits != target_bits) return Mode::kConvert;
    return same_order ? Mode::kAsIs : Mode::kSwapOrder;
  }
  if (fixed) return file_bits < target_bits ? Mode::kMapToFixed : Mode::kDither;
  if (file_bits > target_bits) return Mode::kDither;
  return file_bits < target_bits ? Mode::kConvert : Mode::kAsIs;
}

// One load: the reader on one side, the target on the other.
class Load final : public process::RowReceiver {
 public:
  Load(BitmapHandle& target, const LoadRequest& request)
      : RowReceiver(this), target_(target), request_(request), store_(target) {}
  ~Load() { color::stop_pass(*dithered_); }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  Status run(const char* name);
  Status take(const BitmapHandle& source, const void* rows, int32_t count);
  std::span<uint8_t> place(const BitmapHandle& source);

 private:
  Status set_up(const char* name);
  Status allocate_buffers();
  Status read(const char* name);
  Status read_whole(const char* name, uint32_t& rows);
  Status replay(const char* name);
  Status describe_target(const BitmapHandle& source);
  void choose_palette(const BitmapHandle& source);
  Status start_dithering(const BitmapHandle& source);
  Status convert_rows(const BitmapHandle& source, const uint8_t* rows, uint32_t count);
  Status pass_on(const void* rows, uint32_t count);

  FILEINFO info_ = {};
  core::OwnedBitmap source_;
  BitmapHandle& target_;
  const LoadRequest& request_;
  const FormatRow* format_ = nullptr;
  Mode mode_ = Mode::kAsIs;
  Buffer piece_;
  uint32_t piece_rows_ = 0;
  bool described_ = false;
  color::RowConverter converter_;
  core::OwnedBitmap dithered_;  // describes the rows that the dithering pass gets
  StoreSink store_;
};

Status Load::set_up(const char* name) {
  TRY(identify(name, info_));
  TRY(core::init_bitmap(*source_, info_.Width, info_.Height, info_.BitsPerPixel));
  const bool known_order = info_.Order == T_ORDER_RGB || info_.Order == T_ORDER_BGR;
  source_->Order = static_cast<uint32_t>(info_.Order);

  const int32_t bits = io::is_request_depth(request_.bits) ? request_.bits : info_.BitsPerPixel;
  const bool order_asked = request_.order == T_ORDER_RGB || request_.order == T_ORDER_BGR;
  const int32_t order = order_asked ? request_.order : known_order ? info_.Order : T_ORDER_BGR;
  TRY(core::init_bitmap(target_, info_.Width, info_.Height, bits));
  if (bits > 8) target_.Order = static_cast<uint32_t>(order);
  if ((request_.flags & T_LOAD_ALLOCATE) != 0) TRY(core::allocate_quietly(target_));
  settings.callback_lines = process::callback_lines(info_.Height);
  mode_ = choose_mode(info_.BitsPerPixel, bits, source_->Order == target_.Order,
                      (request_.flags & T_LOAD_FIXED) != 0);
  format_ = find_format(info_.Format);
  return kOk;
}

Status Load::allocate_buffers() {
  if (mode_ == Mode::kAsIs) return kOk;
  const uint32_t row = std::max(source_->BytesPerLine, target_.BytesPerLine);
  if (row == 0) return kBadSize;
  const uint32_t rows = std::clamp(kPieceBytes / row, 1u, static_cast<uint32_t>(info_.Height));
  TRY(piece_.allocate_shrinking(uint64_t{row} * rows + process::RowDelivery::kSlack, row,
                                uint64_t{row} + process::RowDelivery::kSlack));
  piece_rows_ = static_cast<uint32_t>((piece_.size() - process::RowDelivery::kSlack) / row);
  return kOk;
}

// Decodes the picture into the source record; `rows` of it, the first ones, are whole then.
Status Load::read_whole(const char* name, uint32_t& rows) {
  if (format_->read_picture != nullptr) {
    TRY(format_->read_picture(name, source_.get()));
    rows = static_cast<uint32_t>(source_->Height);
    return kOk;
  }
  TRY(core::allocate_quietly(*source_));
  StoreSink store(*source_);
  const Status status = format_->read(name, source_.get(), StoreSink::sink,
                                      request_depth(info_.BitsPerPixel), store.context());
  rows = store.first_missing();
  return status;
}

// Whole pictures are decoded and then replayed row by row, those whose data end early as far as
// they go.
Status Load::replay(const char* name) {
  uint32_t rows = 0;
  const Status status = read_whole(name, rows);
  if (!status.ok() && status != kReadError && status != kBadData) return status;
  // These rows are in picture order.
  source_->Flags &= ~T_FLAG_INTERLACED;
  Buffer row;
  TRY(row.allocate(uint64_t{source_->BytesPerLine} + process::RowDelivery::kSlack));
  const core::AccessScope accessed(*source_);
  for (uint32_t y = 0; y < rows; ++y) {
    TRY(core::get_row(*source_, y, row.bytes().first(source_->BytesPerLine)));
    TRY(take(*source_, row.data(), 1));
  }
  return status;
}

Status Load::read(const char* name) {
  if (format_ == nullptr || (format_->read == nullptr && format_->read_picture == nullptr)) {
    return kNoFormat;
  }
  const bool whole_asked = (request_.flags & T_LOAD_GIF_WHOLE) != 0 || mode_ == Mode::kDither;
  const bool whole = format_->delivery == Delivery::kWholePicture ||
                     (format_->delivery == Delivery::kWholeWhenAsked && whole_asked) ||
                     (format_->delivery == Delivery::kWholeFor1Bit && info_.BitsPerPixel == 1);
  if (whole) return replay(name);
  return format_->read(name, source_.get(), sink, request_depth(info_.BitsPerPixel), context());
}

Status Load::run(const char* name) {
  TRY(set_up(name));
  const bool allocated = (request_.flags & T_LOAD_ALLOCATE) != 0;
  if (!allocate_buffers().ok()) {
    if (allocated) core::free_bitmap(target_);
    return kNoMemory;
  }
  if ((request_.flags & T_LOAD_ACCESS) != 0) core::access_bitmap(target_);
  const Status status = read(name);
  if (allocated && request_.callback == nullptr) store_.clear_missing();
  if ((request_.flags & T_LOAD_ACCESS) != 0) core::release_bitmap(target_);
  // A failed load that allocated keeps what it has; one that did not leaves no storage behind.
  if (!allocated && !status.ok()) core::free_bitmap(target_);
  return status;
}

// The palette of an indexed target: the source's, so that indices stay as they are, or the fixed
// one of its depth.
void Load::choose_palette(const BitmapHandle& source) {
  if (mode_ == Mode::kAsIs || mode_ == Mode::kConvert) {
    std::memcpy(target_.Info.Palette, source.Info.Palette, sizeof(target_.Info.Palette));
    target_.Colors = source.Colors;
    return;
  }
  const bool gray = settings.gray_fixed_palette || core::has_flag(source, T_FLAG_GRAY);
  color::fixed_palette(target_.BitsPerPixel, gray, target_.Info.Palette);
  core::set_flag(target_, T_FLAG_GRAY, gray);
}

// Done when the first rows arrive: by then the reader has described its picture.
Status Load::describe_target(const BitmapHandle& source) {
  described_ = true;
  target_.ViewPerspective = source.ViewPerspective;
  target_.XResolution = source.XResolution;
  target_.YResolution = source.YResolution;
  target_.XOrigin = source.XOrigin;
  target_.YOrigin = source.YOrigin;
  target_.Flags = (target_.Flags & ~kDescriptionFlags) | (source.Flags & kDescriptionFlags);
  if (target_.BitsPerPixel <= 8) choose_palette(source);
  // Compression takes the mark for levels of 8 bits and refuses it on packed pixels: only a caller
  // may put it there.
  if (source.BitsPerPixel < 8 && target_.BitsPerPixel < 8) {
    core::set_flag(target_, T_FLAG_GRAY, false);
  }
  if (mode_ == Mode::kAsIs) return kOk;
  if (mode_ == Mode::kDither) return start_dithering(source);
  return converter_.start(source.BitsPerPixel, target_.BitsPerPixel,
                          static_cast<int32_t>(source.Order), static_cast<int32_t>(target_.Order),
                          source.Info.Palette, target_.Info.Palette);
}

// The pass reads the source's rows by its palette; what it makes is the target's.
Status Load::start_dithering(const BitmapHandle& source) {
  TRY(core::init_bitmap(*dithered_, source.Width, source.Height, source.BitsPerPixel));
  dithered_->Order = source.Order;
  dithered_->DitherMethod = target_.DitherMethod;
  dithered_->Colors = source.Colors;
  std::memcpy(dithered_->Info.Palette, source.Info.Palette, sizeof(source.Info.Palette));
  return color::start_pass(*dithered_, target_.Info.Palette, 1u << target_.BitsPerPixel, nullptr,
                           target_.BitsPerPixel);
}

// Rows that are stored as they are need no way around.
std::span<uint8_t> Load::place(const BitmapHandle& source) {
  if (mode_ != Mode::kAsIs || request_.callback != nullptr) return {};
  return store_.place(source);
}

Status Load::take(const BitmapHandle& source, const void* first_row, int32_t row_count) {
  const auto* const rows = static_cast<const uint8_t*>(first_row);
  const auto count = static_cast<uint32_t>(row_count);
  if (!described_) TRY(describe_target(source));
  if (mode_ == Mode::kAsIs) return pass_on(rows, count);
  for (uint32_t done = 0; done < count;) {
    const uint32_t part = std::min(count - done, piece_rows_);
    const uint8_t* from = rows + size_t{done} * source.BytesPerLine;
    TRY(mode_ == Mode::kDither ? color::dither_rows(*dithered_, from, source.BytesPerLine,
                                                    piece_.data(), target_.BytesPerLine, part)
                               : convert_rows(source, from, part));
    TRY(pass_on(piece_.data(), part));
    done += part;
  }
  return kOk;
}

// Rows shrink or grow in place, one after the other: a row that is still wide reaches into the
// place of the next one, which is filled later.
Status Load::convert_rows(const BitmapHandle& source, const uint8_t* rows, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    uint8_t* row = piece_.data() + size_t{i} * target_.BytesPerLine;
    std::memcpy(row, rows + size_t{i} * source.BytesPerLine, source.BytesPerLine);
    TRY(converter_.convert(row, source.Width));
    core::clear_padding({row, target_.BytesPerLine}, target_.Width, target_.BitsPerPixel);
  }
  return kOk;
}

Status Load::pass_on(const void* rows, uint32_t count) {
  if (request_.callback == nullptr) return store_.store(rows, static_cast<int32_t>(count));
  const int32_t answer =
      request_.callback(&target_, rows, static_cast<int32_t>(count), request_.user_data);
  // Of an interlaced picture, 2 means "go on", too.
  if (answer == 2 && core::has_flag(target_, T_FLAG_INTERLACED)) return kOk;
  return Status{answer};
}

}  // namespace

Status load(const char* name, BitmapHandle& target, const LoadRequest& request) {
  Load operation(target, request);
  return operation.run(name);
}

Status load_picture(const char* name, BitmapHandle& bitmap, io::Reader read, bool memory_only) {
  FILEINFO info;
  TRY(identify(name, info));
  TRY(core::init_bitmap(bitmap, info.Width, info.Height, info.BitsPerPixel));
  TRY(core::allocate_quietly(bitmap));
  Status status = core::check_notice();
  if (status.ok() && memory_only && !core::is_memory(bitmap)) status = kNoMemory;
  if (status.ok()) {
    const process::BatchesByHeight batches;
    StoreSink store(bitmap);
    status =
        read(name, &bitmap, StoreSink::sink, request_depth(info.BitsPerPixel), store.context());
  }
  // As for T_LoadFile's targets.
  if (bitmap.BitsPerPixel < 8) core::set_flag(bitmap, T_FLAG_GRAY, false);
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

}  // namespace tavo::pipeline
