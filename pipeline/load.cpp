#include "pipeline/load.h"

#include <algorithm>

#include "base/depths.h"
#include "base/settings.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/notice.h"
#include "pipeline/identify.h"
#include "pipeline/registry.h"
#include "pipeline/store_sink.h"
#include "process/callback_lines.h"
#include "process/row_batch.h"
#include "process/row_stages.h"

namespace tavo::pipeline {

namespace {

using process::Stage;

// Converted rows are handed on in pieces of about this many bytes.
constexpr uint32_t kPieceBytes = 256 * 1024;

// One load: the reader on one side, the target on the other.
class Load final : public process::RowReceiver {
 public:
  Load(BitmapHandle& target, const LoadRequest& request)
      : RowReceiver(this),
        target_(target),
        request_(request),
        store_(target),
        batch_(target, target.Flags, stores() ? StoreSink::sink : request.callback,
               stores() ? store_.context() : request.user_data) {}
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  Status run(const char* name);
  Status take(const BitmapHandle& source, const void* rows, int32_t count);
  std::span<uint8_t> place(const BitmapHandle& source);

 private:
  Status set_up(const char* name);
  Status allocate_rows();
  bool needs_whole() const;
  Status read(const char* name);
  Status replay(const char* name);
  Status start_stages(const BitmapHandle& source);
  void clear_missing();
  bool is_draft() const {
    return request_.eighths != 8 && format_ != nullptr && format_->read_draft != nullptr;
  }
  // What the file has is asked for; its reader makes pixels of 32 bits then.
  bool keeps_alpha() const {
    const bool has_alpha = (info_.Extras & T_EXTRA_ALPHA) != 0;
    return request_.bits == 32 && has_alpha && format_ != nullptr && format_->has_alpha;
  }
  bool stores() const { return request_.callback == nullptr; }
  bool asks(uint32_t flag) const { return (request_.flags & flag) != 0; }

  FILEINFO info_ = {};
  core::OwnedBitmap source_;
  BitmapHandle& target_;
  const LoadRequest& request_;
  const FormatRow* format_ = nullptr;
  bool asks_rgb_ = false;  // of a reader that can give either order
  Stage stage_ = Stage::kPass;
  bool started_ = false;
  bool is_replayed_ = false;
  process::RowStages stages_;
  StoreSink store_;
  process::RowBatch batch_;
};

Status Load::set_up(const char* name) {
  settings.last_load = {};
  TRY(identify(name, info_));
  format_ = find_format(info_.Format);
  if (is_draft()) {
    info_.Width = draft_size(info_.Width, request_.eighths);
    info_.Height = draft_size(info_.Height, request_.eighths);
  }
  if (keeps_alpha()) info_.BitsPerPixel = 32;
  TRY(core::init_bitmap(*source_, info_.Width, info_.Height, info_.BitsPerPixel));
  const bool known_order = info_.Order == T_ORDER_RGB || info_.Order == T_ORDER_BGR;
  source_->Order = static_cast<uint32_t>(info_.Order);

  const int32_t bits = is_request_depth(request_.bits) ? request_.bits : info_.BitsPerPixel;
  const bool order_asked = request_.order == T_ORDER_RGB || request_.order == T_ORDER_BGR;
  const int32_t order = order_asked ? request_.order : known_order ? info_.Order : T_ORDER_BGR;
  TRY(core::init_bitmap(target_, info_.Width, info_.Height, bits));
  if (bits > 8) target_.Order = static_cast<uint32_t>(order);
  if (asks(T_LOAD_ALLOCATE)) TRY(core::allocate_quietly(target_));
  const auto most_lines = static_cast<int32_t>(
      std::clamp(request_.most_bytes / std::max(source_->BytesPerLine, 1u), 16u, 0x7FFFFFFFu));
  settings.callback_lines = std::min(process::callback_lines(info_.Height), most_lines);
  asks_rgb_ = bits > 8 && !is_draft() && order == T_ORDER_RGB && format_ != nullptr &&
              format_->read_rgb != nullptr;
  if (asks_rgb_) source_->Order = T_ORDER_RGB;
  stage_ = process::choose_stage(info_.BitsPerPixel, bits, source_->Order == target_.Order,
                                 asks(T_LOAD_FIXED));
  return kOk;
}

Status Load::allocate_rows() {
  if (stage_ == Stage::kPass) return kOk;
  if (source_->BytesPerLine == 0 || target_.BytesPerLine == 0) return kBadSize;
  const uint32_t row = std::max(source_->BytesPerLine, target_.BytesPerLine);
  return batch_.allocate(std::clamp(kPieceBytes / row, 1u, static_cast<uint32_t>(info_.Height)));
}

// Decodes the picture into the source record, then takes its rows; of a picture whose data end
// early those that are there.
Status Load::replay(const char* name) {
  TRY(core::allocate_quietly(*source_));
  StoreSink store(*source_);
  const Status status = format_->read(name, source_.get(), StoreSink::sink,
                                      request_depth(info_.BitsPerPixel), store.context());
  if (!status.ok() && status != kReadError && status != kBadData) return status;
  is_replayed_ = true;
  if (asks(T_LOAD_WHOLE_ROWS)) store.resume(settings.last_load.whole_rows);
  const uint32_t height = store.first_missing();
  // These rows are in picture order.
  core::set_flag(*source_, T_FLAG_INTERLACED, false);
  // Kept: callbacks get them one by one.
  if (!stores()) batch_.hand_on_singly();
  color::RowBlocks blocks(*source_);
  TRY(blocks.start());
  for (uint32_t y = 0; y < height; y += blocks.rows()) {
    const uint32_t count = std::min(blocks.rows(), height - y);
    const uint8_t* rows = nullptr;
    TRY(blocks.read(y, count, rows));
    TRY(take(*source_, rows, static_cast<int32_t>(count)));
  }
  return status;
}

// Dithering takes rows from the top down. Kept: callbacks get dithered ones as of a whole picture.
bool Load::needs_whole() const {
  const bool is_interlaced = (info_.Flags & T_FLAG_INTERLACED) != 0;
  return asks(T_LOAD_GIF_WHOLE) || (stage_ == Stage::kDither && (is_interlaced || !stores()));
}

Status Load::read(const char* name) {
  if (format_ == nullptr || format_->read == nullptr) return kNoFormat;
  if (format_->delivery == Delivery::kWholeWhenAsked && needs_whole()) return replay(name);
  if (is_draft()) {
    return format_->read_draft(name, source_.get(), sink, request_depth(info_.BitsPerPixel),
                               context(), request_.eighths);
  }
  const bool is_upright = request_.asks_upright && format_->read_upright != nullptr;
  const io::Reader reader = is_upright  ? format_->read_upright
                            : asks_rgb_ ? format_->read_rgb
                                        : format_->read;
  return reader(name, source_.get(), sink, request_depth(info_.BitsPerPixel), context());
}

Status Load::run(const char* name) {
  TRY(set_up(name));
  const bool allocated = asks(T_LOAD_ALLOCATE);
  if (!allocate_rows().ok()) {
    if (allocated) core::free_bitmap(target_);
    return kNoMemory;
  }
  if (asks(T_LOAD_ACCESS)) core::access_bitmap(target_);
  const Status status = read(name);
  if (allocated && stores()) clear_missing();
  if (asks(T_LOAD_ACCESS)) core::release_bitmap(target_);
  // A failed load that allocated keeps what it has; one that did not leaves no storage behind.
  if (!allocated && !status.ok()) core::free_bitmap(target_);
  return status;
}

// Rows that were replayed are in another order, and some of them came whole.
void Load::clear_missing() {
  if (asks(T_LOAD_WHOLE_ROWS) && !is_replayed_) store_.resume(settings.last_load.whole_rows);
  store_.clear_missing();
}

// Done when the first rows arrive: by then the reader has described its picture. It may be another
// one than was identified: of an EPS file whose first preview has no rows the next is read.
Status Load::start_stages(const BitmapHandle& source) {
  if (source.Width != target_.Width || source.Height != target_.Height ||
      source.BitsPerPixel != info_.BitsPerPixel) {
    return kBadData;
  }
  started_ = true;
  const process::SourcePicture picture = process::picture_of(source);
  process::describe_target(picture, stage_, target_);
  // Compression takes the mark for levels of 8 bits and refuses it on packed pixels: only a caller
  // may put it there.
  if (picture.bits < 8 && target_.BitsPerPixel < 8) core::set_flag(target_, T_FLAG_GRAY, false);
  if (stage_ != Stage::kPass) batch_.use_place();
  return stages_.start(stage_, picture, target_);
}

// Rows that are stored as they are need no way around.
std::span<uint8_t> Load::place(const BitmapHandle& source) {
  if (stage_ != Stage::kPass || !stores()) return {};
  return store_.place(source);
}

Status Load::take(const BitmapHandle& source, const void* first_row, int32_t row_count) {
  const auto* const rows = static_cast<const uint8_t*>(first_row);
  const auto count = static_cast<uint32_t>(row_count);
  if (!started_) TRY(start_stages(source));
  if (stage_ == Stage::kPass) return batch_.hand_on(rows, count);
  TRY(stages_.run(rows, source.BytesPerLine, count, batch_));
  return batch_.flush();
}

}  // namespace

int32_t draft_size(int32_t size, uint32_t eighths) {
  return static_cast<int32_t>((int64_t{size} * eighths + 7) / 8);
}

Status load(const char* name, BitmapHandle& target, const LoadRequest& request) {
  Load operation(target, request);
  return operation.run(name);
}

Status load_picture(const char* name, BitmapHandle& bitmap, io::Reader read, bool memory_only) {
  settings.last_load = {};
  // Whatever the file is, the record can be freed afterwards.
  TRY(core::init_bitmap(bitmap, 0, 0, 1));
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
