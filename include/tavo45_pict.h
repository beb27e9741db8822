#pragma once
#include "tavo45.h"
#ifdef __cplusplus
extern "C" {
#endif
#define T_FORMAT_EPS 16
#define T_FORMAT_EPS_TEXT 63
#define T_FORMAT_PCT 56
T_API int32_t T_CALL T_LoadPCTFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPCTBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SavePCTBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);
T_API int32_t T_CALL T_LoadEPSFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadEPSBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SaveEPSBitmap(const char* name, BitmapHandle* bitmap, int32_t bitsPerPixel);
#ifdef __cplusplus
}
#endif
