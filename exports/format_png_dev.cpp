#include "codec/deflate.h"
#include "tavo45_png.h"
int32_t T_CALL T_SetDeflateLevel(int32_t level) {
  tavo::deflate_level_dev = level;
  return T_OK;
}
