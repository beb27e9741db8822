#pragma once
#include "tavo45.h"
#ifdef __cplusplus
extern "C" {
#endif
#define T_PALETTE_FINE 5
T_API int32_t T_CALL T_FindSkew(BitmapHandle* bitmap, int32_t* angle);
T_API int32_t T_CALL T_FindContent(BitmapHandle* bitmap, uint32_t* x, uint32_t* y, uint32_t* width,
                                   uint32_t* height);
T_API int32_t T_CALL T_IsBlank(BitmapHandle* bitmap, int32_t share, int32_t* blank);
#ifdef __cplusplus
}
#endif
