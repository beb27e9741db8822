#include "pipeline/load_smoothly.h"

#include <algorithm>
#include <optional>

#include "color/convert.h"
#include "color/row_blocks.h"
#include "core/bitmap.h"
#include "core/progress.h"
#include "core/rows.h"
#include "pipeline/identify.h"
#include "pipeline/load.h"
#include "process/resize_bitmap.h"
#include "process/row_receiver.h"
#include "process/smooth/rows.h"
#include "reduce/reduce.h"

namespace tavo::pipeline {

namespace {

constexpr int32_t kLoadShare = 90;  // percent, when the depth changes afterwards

// Rows of a file on their way into a smaller or larger bitmap.
class SmoothSink final : public process::RowReceiver {
 public:
  SmoothSink(BitmapHandle& sized, int32_t width, int32_t height, process::SmoothFilter filter)
      : RowReceiver(this), sized_(sized), width_(width), height_(height), filter_(filter) {}

  // `picture` has been described by the load when its first rows come.
  Status take(const BitmapHandle& picture, const void* first_row, int32_t count) {
    if (!accessed_) TRY(start(picture));
    const auto* row = static_cast<const uint8_t*>(first_row);
    for (int32_t i = 0; i < count; ++i, row += picture.BytesPerLine) {
      TRY(rows_.take(row, [this](const uint8_t* result) {
        return core::put_row(sized_, next_++, {result, sized_.BytesPerLine});
      }));
    }
    return kOk;
  }
  std::span<uint8_t> place(const BitmapHandle&) { return {}; }

 private:
  Status start(const BitmapHandle& picture) {
    TRY(process::describe_smooth(sized_, picture, width_, height_));
    TRY(core::allocate_quietly(sized_));
    accessed_.emplace(sized_);
    return rows_.start(filter_, picture, sized_);
  }

  BitmapHandle& sized_;
  int32_t width_;
  int32_t height_;
  process::SmoothFilter filter_;
  std::optional<core::AccessScope> accessed_;
  process::SmoothRows rows_;
  uint32_t next_ = 0;
};

// a b / c to the nearest, at least 1.
int32_t in_proportion(int32_t a, int32_t b, int32_t c) {
  const int64_t rounded = (2 * int64_t{a} * b + c) / (2 * int64_t{c});
  return static_cast<int32_t>(std::clamp<int64_t>(rounded, 1, INT32_MAX));
}

Status load_filtered(const char* name, BitmapHandle& bitmap, const LoadRequest& request,
                     int32_t width, int32_t height, process::SmoothFilter filter,
                     const FILEINFO& info) {
  core::OwnedBitmap sized;
  SmoothSink sink(*sized, width, height, filter);
  LoadRequest rows = request;
  // Interlaced rows are filtered in the order of the picture.
  rows.flags = T_LOAD_GIF_WHOLE;
  rows.callback = SmoothSink::sink;
  rows.user_data = sink.context();
  TRY(load(name, bitmap, rows));
  core::take_place(bitmap, *sized);
  core::set_flag(bitmap, T_FLAG_INTERLACED, (info.Flags & T_FLAG_INTERLACED) != 0);
  return kOk;
}

// Red and blue change places where another order is wanted.
Status set_order(BitmapHandle& bitmap, uint32_t order) {
  if (bitmap.Order == order) return kOk;
  color::RowConverter swap;
  TRY(swap.start(bitmap.BitsPerPixel, bitmap.BitsPerPixel, static_cast<int32_t>(bitmap.Order),
                 static_cast<int32_t>(order), nullptr, nullptr));
  color::RowBlocks rows(bitmap);
  TRY(rows.start());
  const auto height = static_cast<uint32_t>(bitmap.Height);
  for (uint32_t y = 0, n = 0; y < height; y += n) {
    n = std::min(rows.rows(), height - y);
    const uint8_t* from = nullptr;
    TRY(rows.read(y, n, from));
    uint8_t* row = rows.place(y);
    for (uint32_t i = 0; i < n; ++i, row += rows.stride()) {
      TRY(swap.convert(row, bitmap.Width));
    }
    TRY(rows.store(y, n));
  }
  bitmap.Order = order;
  return kOk;
}

Status convert(BitmapHandle& bitmap, const SmoothLoad& request) {
  if (request.bits == 0) return kOk;
  if (request.bits == 8) return color::gray_scale_bitmap(bitmap);
  if (bitmap.BitsPerPixel != request.bits) {
    TRY(color::color_resolution(bitmap, request.bits, color::PaletteType::kNone, nullptr, 0));
  }
  const bool order_asked = request.order == T_ORDER_RGB || request.order == T_ORDER_BGR;
  return order_asked ? set_order(bitmap, static_cast<uint32_t>(request.order)) : kOk;
}

Status load_sized(const char* name, BitmapHandle& bitmap, const SmoothLoad& request) {
  FILEINFO info;
  TRY(identify(name, info));
  if (info.Width < 1 || info.Height < 1) return kBadSize;
  const int32_t width =
      request.width != 0 ? request.width : in_proportion(info.Width, request.height, info.Height);
  const int32_t height =
      request.height != 0 ? request.height : in_proportion(info.Height, request.width, info.Width);
  LoadRequest whole;
  whole.order = request.order;
  const core::ProgressPart part(0, request.bits == 0 ? 100 : kLoadShare);
  const uint32_t method = request.method & ~T_SIZE_DRAFT;
  if (method != T_SIZE_NEAREST && (width != info.Width || height != info.Height)) {
    const auto filter = static_cast<process::SmoothFilter>(method);
    return load_filtered(name, bitmap, whole, width, height, filter, info);
  }
  whole.flags = T_LOAD_ALLOCATE;
  const core::ProgressPart loading(0, 50);
  TRY(load(name, bitmap, whole));
  const core::ProgressPart sizing(50, 100);
  return process::size_bitmap(bitmap, width, height);
}

}  // namespace

Status load_smoothly(const char* name, BitmapHandle& bitmap, const SmoothLoad& request) {
  // For a caller that frees it after any failure.
  TRY(core::init_bitmap(bitmap, 0, 0, 24));
  Status status = load_sized(name, bitmap, request);
  if (status.ok()) {
    const core::ProgressPart part(kLoadShare, 100);
    status = convert(bitmap, request);
  }
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

}  // namespace tavo::pipeline
