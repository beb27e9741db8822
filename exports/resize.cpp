// Resampling.
#include "process/resize_bitmap.h"
#include "process/resize_row.h"
#include "process/smooth/size_bitmap.h"

#include <new>

#include "base/depths.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "platform/platform.h"
#include "tavo45.h"

using namespace tavo;

struct T_ResizeBlock {
  process::Resizer resizer;
};

int32_t T_CALL T_StartResize(int32_t oldWidth, int32_t oldHeight, int32_t newWidth,
                             int32_t newHeight, T_ResizeBlock** resize) {
  if (exports::missing(resize)) return exports::answer(kBadArgument);
  *resize = nullptr;
  void* memory = platform::allocate_fixed(sizeof(T_ResizeBlock));
  if (memory == nullptr) return exports::answer(kNoMemory);
  auto* block = new (memory) T_ResizeBlock;
  const Status status = block->resizer.start(oldWidth, oldHeight, newWidth, newHeight);
  if (status.ok()) {
    *resize = block;
  } else {
    T_StopResize(block);
  }
  return exports::answer(status);
}

int32_t T_CALL T_Resize(void* row, uint32_t rowNumber, int32_t bitsPerPixel, int32_t* outWidth,
                        int32_t* outRows, T_ResizeBlock* resize) {
  if (!is_request_depth(bitsPerPixel)) return exports::answer(kBadArgument);
  if (exports::missing(row, outWidth, outRows, resize)) return exports::answer(kBadArgument);
  process::Resizer& resizer = resize->resizer;
  *outWidth = resizer.new_width();
  *outRows = static_cast<int32_t>(resizer.row_count(rowNumber));
  if (*outRows != 0) resizer.resize_row(static_cast<uint8_t*>(row), bitsPerPixel);
  return T_OK;
}

int32_t T_CALL T_StopResize(T_ResizeBlock* resize) {
  if (exports::missing(resize)) return T_OK;
  resize->~T_ResizeBlock();
  platform::free_fixed(resize);
  return T_OK;
}

int32_t T_CALL T_SizeBitmap(BitmapHandle* bitmap, int32_t width, int32_t height) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(process::size_bitmap(*bitmap, width, height));
}

int32_t T_CALL T_SizeBitmapFine(BitmapHandle* bitmap, int32_t width, int32_t height,
                                uint32_t method) {
  if (method == T_SIZE_NEAREST) return T_SizeBitmap(bitmap, width, height);
  if (exports::missing(bitmap) || method > T_SIZE_LANCZOS) return exports::answer(kBadArgument);
  if (width < 1 || height < 1) return exports::answer(kBadArgument);
  const auto filter = static_cast<process::SmoothFilter>(method);
  return exports::answer(process::size_bitmap_smoothly(*bitmap, width, height, filter));
}

int32_t T_CALL T_ResizeBitmap(BitmapHandle* source, BitmapHandle* destination) {
  if (exports::missing(source, destination)) return exports::answer(kBadArgument);
  return exports::answer(process::resize_bitmap(*source, *destination));
}
