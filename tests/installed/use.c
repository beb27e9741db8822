/* A C99 program: makes a picture, stores a row in it and gets the same row back. */
#include <stdio.h>
#include <string.h>
#include <tavo45.h>

static int fails(const char* what, int32_t status) {
  fprintf(stderr, "%s: %s (status %d)\n", what, T_GetStatusText(status), (int)status);
  return 1;
}

int main(void) {
  const unsigned char row[8] = {1, 2, 3, 4, 5, 6, 0, 0};
  unsigned char back[8] = {0};
  BitmapHandle bitmap;
  int32_t status = T_InitBitmap(&bitmap, 2, 2, 24);
  if (status != T_OK) return fails("init", status);
  if (sizeof bitmap != 1280 || bitmap.BytesPerLine != 8) return fails("record", status);
  status = T_AllocateBitmap(&bitmap, 1);
  if (status != T_OK) return fails("allocate", status);
  T_AccessBitmap(&bitmap);
  status = T_PutBitmapRow(&bitmap, row, 1, 8);
  if (status != 8) return fails("put", status);
  status = T_GetBitmapRow(&bitmap, back, 1, 8);
  if (status != 8 || memcmp(row, back, 8) != 0) return fails("get", status);
  T_ReleaseBitmap(&bitmap);
  T_FreeBitmap(&bitmap);
  printf("version %u.%u.%u\n", (unsigned)T_GetVersion() >> 16, (unsigned)T_GetVersion() >> 8 & 255,
         (unsigned)T_GetVersion() & 255);
  return 0;
}
