#pragma once
#include "tavo45.h"
#ifdef __cplusplus
extern "C" {
#endif
#define T_FORMAT_PCD 57
T_API int32_t T_CALL T_LoadPCDFile(const char* name, BitmapHandle* bitmap, T_RowSink sink,
                                   int32_t bitsPerPixel, void* context);
T_API int32_t T_CALL T_LoadPCDBitmap(const char* name, BitmapHandle* bitmap);
T_API int32_t T_CALL T_SetPCDResolution(int32_t level);
T_API int32_t T_CALL T_SetPCDModule(int32_t flag);
#ifdef __cplusplus
}
#endif
