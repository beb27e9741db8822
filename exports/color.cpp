// Row conversion.
#include "base/status.h"
#include "color/convert.h"
#include "exports/answer.h"
#include "exports/shared.h"
#include "tavo45.h"

using namespace tavo;

// Rows come one call at a time, so the converter outlives the call; a second thread gets its own.
int32_t T_CALL T_ConvertBuffer(void* buffer, int32_t width, int32_t bitsIn, int32_t bitsOut,
                               int32_t orderIn, int32_t orderOut, const T_PaletteEntry* paletteIn,
                               const T_PaletteEntry* paletteOut) {
  // Known to the library's own rows alone.
  if (bitsIn == 2 || bitsOut == 2) return exports::answer(kBadArgument);
  const auto convert = [=](color::RowConverter& converter) {
    const Status status =
        converter.start(bitsIn, bitsOut, orderIn, orderOut, paletteIn, paletteOut);
    // Of the width, only the low 16 bits count.
    return status.ok() ? converter.convert(buffer, static_cast<int16_t>(width)) : status;
  };
  if (exports::shared.converter_in_use.test_and_set(std::memory_order_acquire)) {
    color::RowConverter own;
    return exports::answer(convert(own));
  }
  const Status status = convert(exports::shared.converter);
  exports::shared.converter_in_use.clear(std::memory_order_release);
  return exports::answer(status);
}
