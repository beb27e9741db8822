// Device-independent bitmaps as others hand them over: what is taken can be made again, and that
// again taken, with the same pixels.
#include <cstdlib>
#include <cstring>

#include "core/bitmap.h"
#include "input.h"
#include "platform/platform.h"
#include "tavo45.h"

namespace {

using namespace tavo;

void require(bool holds) {
  if (!holds) std::abort();
}

fuzz::Bytes rows_of(BitmapHandle& bitmap) {
  const core::AccessScope accessed(bitmap);
  fuzz::Bytes rows(bitmap.Size);
  require(T_GetBitmapRow(&bitmap, rows.data(), 0, bitmap.Size) >= 0);
  return rows;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  T_SetLimit(T_LIMIT_PIXELS, 1 << 20);
  BitmapHandle bitmap = {}, again = {};
  if (size == 0) return 0;
  // A copy that ends where the data do.
  const fuzz::Bytes block(data, data + size);
  const int32_t status = T_ConvertFromDIB(block.data(), static_cast<uint32_t>(size), &bitmap);
  require(std::strcmp(T_GetStatusText(status), "Unknown status") != 0);
  if (status != T_OK) {
    require(!core::has_flag(bitmap, T_FLAG_ALLOCATED));
    return 0;
  }
  require(T_ChangeToDIB(&bitmap) == T_OK);
  void* dib = nullptr;
  uint32_t bytes = 0;
  require(T_ConvertToDIB(&bitmap, &dib, &bytes) == T_OK);
  const auto handle = reinterpret_cast<uintptr_t>(dib);
  require(T_ConvertFromDIB(platform::lock_block(handle), bytes, &again) == T_OK);
  platform::unlock_block(handle);
  T_FreeDIB(dib);
  require(bitmap.BitsPerPixel == again.BitsPerPixel && rows_of(bitmap) == rows_of(again));
  T_FreeBitmap(&bitmap);
  T_FreeBitmap(&again);
  return 0;
}
