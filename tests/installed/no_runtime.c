/* For linkers without a C runtime: makes out.bmp from in.bmp and answers with what failed, 0 for
 * nothing. */
#include <tavo45.h>

int start(void) {
  static BitmapHandle picture; /* zeros: T_EMPTY */
  int32_t status;
  if (T_LoadBitmap("in.bmp", &picture, 24, T_ORDER_RGB) != T_OK) return 1;
  status = T_SaveBitmap("out.bmp", &picture, T_FORMAT_BMP, 24, 0);
  T_FreeBitmap(&picture);
  return status == T_OK ? 0 : 2;
}
