#include "pipeline/decompress.h"

#include "base/settings.h"
#include "core/bitmap.h"
#include "formats/jpeg.h"
#include "formats/jpeg_stamp.h"
#include "pipeline/identify.h"
#include "pipeline/store_sink.h"
#include "process/callback_lines.h"

namespace tavo::pipeline {
namespace {

bool is_jpeg(const FILEINFO& info) {
  return info.Format == T_FORMAT_JPEG || info.Format == T_FORMAT_CMP;
}

// Keeps the storage of a bitmap that has the picture's size.
Status prepare(BitmapHandle& bitmap, const FILEINFO& info, int32_t bits) {
  if (core::has_flag(bitmap, T_FLAG_ALLOCATED) && bitmap.Width == info.Width &&
      bitmap.Height == info.Height) {
    return kOk;
  }
  if (core::has_flag(bitmap, T_FLAG_ALLOCATED)) core::free_bitmap(bitmap);
  const uint32_t order = bitmap.Order;
  TRY(core::init_bitmap(bitmap, info.Width, info.Height, bits));
  if (order == T_ORDER_RGB || order == T_ORDER_BGR) bitmap.Order = order;
  return core::allocate_quietly(bitmap);
}

}  // namespace

Status decompress_bitmap(const char* name, BitmapHandle& bitmap, int32_t bits_per_pixel) {
  settings.last_load = {};
  FILEINFO info;
  TRY(identify(name, info));
  if (!is_jpeg(info)) return kNoFormat;
  const int32_t bits = is_request_depth(bits_per_pixel) ? bits_per_pixel : info.BitsPerPixel;
  TRY(prepare(bitmap, info, bits));
  const process::BatchesByHeight batches;
  core::access_bitmap(bitmap);
  StoreSink store(bitmap);
  const Status status =
      jpeg::decompress(name, &bitmap, StoreSink::sink, bits, store.context(), jpeg::kOptionFile);
  core::release_bitmap(bitmap);
  if (!status.ok()) {
    core::free_bitmap(bitmap);
    return status;
  }
  bitmap.LastRow = info.Height - 1;
  bitmap.LastColumn = info.Width - 1;
  return kOk;
}

Status get_stamp(const char* name, BitmapHandle& stamp) {
  // Whatever the file is, the record can be freed afterwards.
  TRY(core::init_bitmap(stamp, 0, 0, 1));
  FILEINFO info;
  const Status found = identify(name, info);
  if (found.ok() && !is_jpeg(info)) return kNoStamp;
  // The stamp may be there, at least in part, where the picture is not.
  const Status status = jpeg::read_stamp(name, stamp);
  return found.ok() || status.ok() || status == kReadError ? status : found;
}

}  // namespace tavo::pipeline
