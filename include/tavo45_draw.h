#pragma once
#include "tavo45.h"
#define T_FORMAT_WMF 15
#define T_MAX_DRAW_SCALE 16
#ifdef __cplusplus
extern "C" {
#endif
T_API int32_t T_CALL T_LoadWMFFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadWMFBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveWMFBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);
T_API int32_t T_CALL T_SetDrawScale(int32_t scale);
T_API int32_t T_CALL T_SetDrawSmooth(int32_t flag);
#ifdef __cplusplus
}
#endif
