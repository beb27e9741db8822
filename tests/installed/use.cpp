// A C++17 program: a callback of its own, and a picture that lives on disk.
#include <tavo45.h>

#include <cstdio>

static int32_t T_CALL stop_at_once(int32_t) { return 77; }

int main() {
  BitmapHandle bitmap = T_EMPTY;
  if (T_InitBitmap(&bitmap, 64, 64, 8) != T_OK) return 1;
  if (T_SetStatusCallBack(stop_at_once) != T_OK) return 2;
  if (T_AllocateBitmap(&bitmap, 0) == T_OK) return 3;  // the clearing asks the callback
  if (T_SetStatusCallBack(nullptr) != T_OK) return 4;
  if (T_AllocateBitmap(&bitmap, 0) != T_OK) return 5;
  unsigned char row[64] = {1};
  if (T_GetBitmapRow(&bitmap, row, 63, 64) != 64 || row[0] != 0) return 6;
  T_FreeBitmap(&bitmap);
  std::puts(T_GetStatusText(T_OK));
  return 0;
}
