// Pictures on windows and other device contexts.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/status.h"
#include "display/painting.h"
#include "tavo45.h"

namespace tavo::display {

// T_PaintDevice, T_PaintBuffer, T_PaintEffect.
Status paint_device(BitmapHandle& bitmap, HDC dc, const PaintTarget& target);
Status paint_buffer(BitmapHandle& picture, const void* rows, int32_t first, int32_t count, HDC dc,
                    const PaintTarget& target);
Status paint_effect(BitmapHandle& bitmap, HDC dc, const PaintTarget& target, int32_t effect,
                    int32_t block, int32_t delay);

// T_ConvertToDDB; `dc` null: for the screen.
Status convert_to_ddb(BitmapHandle& bitmap, HDC dc, HBITMAP& result);

}  // namespace tavo::display
