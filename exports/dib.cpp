// Device-independent bitmaps in global memory.
#include "base/shared_block.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "platform/platform.h"
#include "process/dib_export.h"
#include "process/dib_import.h"
#include "tavo45.h"

using namespace tavo;

int32_t T_CALL T_ConvertToDIB(BitmapHandle* bitmap, void** dib, uint32_t* size) {
  if (dib != nullptr) *dib = nullptr;
  if (exports::missing(bitmap, dib)) return exports::answer(kBadArgument);
  SharedBlock block;
  const Status status = dib::convert_to_dib(*bitmap, block);
  if (!status.ok()) return exports::answer(status);
  if (size != nullptr) *size = block.size();
  *dib = reinterpret_cast<void*>(block.hand_over());
  return exports::answer(kOk);
}

int32_t T_CALL T_ConvertFromDIB(const void* dib, uint32_t size, BitmapHandle* bitmap) {
  if (exports::missing(dib, bitmap)) return exports::answer(kBadArgument);
  return exports::answer(
      size == 0 ? dib::convert_from_global(reinterpret_cast<uintptr_t>(dib), *bitmap)
                : dib::convert_from_dib({static_cast<const uint8_t*>(dib), size}, *bitmap));
}

int32_t T_CALL T_ChangeToDIB(BitmapHandle* bitmap) {
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(dib::change_to_dib(*bitmap));
}

int32_t T_CALL T_FreeDIB(void* dib) {
  platform::free_shared(reinterpret_cast<uintptr_t>(dib));
  return T_OK;
}
