#pragma once
#include "tavo45.h"
#ifdef __cplusplus
extern "C" {
#endif
#define T_FORMAT_PNG 200
#define T_FORMAT_TIFF_DEFLATE 201 /* save variant of T_FORMAT_TIFF */
T_API int32_t T_CALL T_LoadPNGFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPNGBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SavePNGBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);
#define T_LEVEL_DEFAULT 0
#define T_LEVEL_FAST 1
#define T_LEVEL_SMALL 2
T_API int32_t T_CALL T_SetDeflateLevel(int32_t level);
#ifdef __cplusplus
}
#endif
