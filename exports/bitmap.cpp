// Bitmaps: description, storage, rows, copies.
#include "core/bitmap.h"

#include "core/rows.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_InitBitmap(BitmapHandle* bitmap, int32_t width, int32_t height,
                            int32_t bitsPerPixel) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(core::init_bitmap(*bitmap, width, height, bitsPerPixel));
}

int32_t T_CALL T_AllocateBitmap(BitmapHandle* bitmap, uint32_t request) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(core::allocate_bitmap(*bitmap, request));
}

uintptr_t T_CALL T_AccessBitmap(BitmapHandle* bitmap) {
  return exports::missing(bitmap) ? 0 : core::access_bitmap(*bitmap);
}

int32_t T_CALL T_ReleaseBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return core::release_bitmap(*bitmap);
}

int32_t T_CALL T_FreeBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return core::free_bitmap(*bitmap);
}

int32_t T_CALL T_GetBitmapRow(BitmapHandle* bitmap, void* buffer, uint32_t row, uint32_t bytes) {
  if (exports::missing(bitmap, buffer)) return exports::answer(kBadArgument);
  return exports::answer_count(core::get_bitmap_row(*bitmap, buffer, row, bytes));
}

int32_t T_CALL T_PutBitmapRow(BitmapHandle* bitmap, const void* buffer, uint32_t row,
                              uint32_t bytes) {
  if (exports::missing(bitmap, buffer)) return exports::answer(kBadArgument);
  return exports::answer_count(core::put_bitmap_row(*bitmap, buffer, row, bytes));
}

int32_t T_CALL T_GetBitmapRowCol(BitmapHandle* bitmap, void* buffer, uint32_t row, uint32_t column,
                                 uint32_t bytes) {
  if (exports::missing(bitmap, buffer)) return exports::answer(kBadArgument);
  return exports::answer_count(core::get_bitmap_row_col(*bitmap, buffer, row, column, bytes));
}

int32_t T_CALL T_PutBitmapRowCol(BitmapHandle* bitmap, const void* buffer, uint32_t row,
                                 uint32_t column, uint32_t bytes) {
  if (exports::missing(bitmap, buffer)) return exports::answer(kBadArgument);
  return exports::answer_count(core::put_bitmap_row_col(*bitmap, buffer, row, column, bytes));
}

int32_t T_CALL T_ClearBitmap(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(core::clear_bitmap(*bitmap));
}

int32_t T_CALL T_CopyBitmap(BitmapHandle* dst, BitmapHandle* src) {
  if (exports::missing(dst, src)) return exports::answer(kBadArgument);
  return exports::answer(core::copy_bitmap(*dst, *src));
}

int32_t T_CALL T_CopyBitmapRect(BitmapHandle* dst, BitmapHandle* src, uint32_t x, uint32_t y,
                                uint32_t width, uint32_t height) {
  if (exports::missing(dst, src)) return exports::answer(kBadArgument);
  return exports::answer(core::copy_bitmap_rect(*dst, *src, x, y, width, height));
}

int32_t T_CALL T_CopyBitmapData(BitmapHandle* dst, BitmapHandle* src) {
  if (exports::missing(dst, src)) return exports::answer(kBadArgument);
  return exports::answer(core::copy_bitmap_data(*dst, *src));
}

int32_t T_CALL T_CopyBitmapHandle(BitmapHandle* dst, const BitmapHandle* src) {
  if (exports::missing(dst, src)) return exports::answer(kBadArgument);
  core::copy_bitmap_handle(*dst, *src);
  return T_OK;
}
