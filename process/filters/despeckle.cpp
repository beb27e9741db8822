#include "process/filters/dark_index.h"
#include "process/filters/filters.h"
#include "process/filters/hulling.h"
#include "process/filters/specks.h"
#include "process/whole_picture.h"

namespace tavo::process {

Status despeckle_bitmap(BitmapHandle& bitmap, int32_t amount) {
  const bool is_bits = bitmap.BitsPerPixel == 1;
  if (amount < 1 || amount > (is_bits ? 1000 : 16)) return kBadArgument;
  TRY(check_bitmap(bitmap));
  if (is_bits) return remove_specks(bitmap, dark_index(bitmap), static_cast<uint32_t>(amount));
  Hulling hulling(static_cast<uint32_t>(amount));
  return filter_bitmap(bitmap, hulling);
}

}  // namespace tavo::process
