/* The mean grey level of a file of any size, of which no more than some rows are held: rows FILE */
#include <stdio.h>
#include <tavo45.h>

typedef struct Sum {
  uint64_t levels;
  uint64_t pixels;
} Sum;

/* Gets the rows as the load was asked for them: red, green, blue. */
static int32_t T_CALL add_rows(BitmapHandle* rows, const void* bytes, int32_t count,
                               void* context) {
  Sum* sum = context;
  const uint8_t* row = bytes;
  for (; count > 0; --count, row += rows->BytesPerLine) { /* a multiple of 4 bytes */
    int32_t x;
    for (x = 0; x < rows->Width; ++x) {
      const uint8_t* color = row + 3 * x;
      sum->levels += (2u * color[0] + 5u * color[1] + color[2] + 4u) >> 3;
    }
    sum->pixels += (uint64_t)rows->Width;
  }
  return T_OK; /* anything else ends the load and becomes its result */
}

int main(int argc, char** argv) {
  Sum sum = {0, 0};
  BitmapHandle rows = T_EMPTY;
  char text[160];
  if (argc != 2) return fputs("usage: rows FILE\n", stderr), 2;

  T_SetLimit(T_LIMIT_MEMORY, 16 << 20); /* the file is a stranger's */
  if (T_LoadFile(argv[1], &rows, 24, T_ORDER_RGB, 0, add_rows, &sum) != T_OK) {
    T_GetErrorText(text, sizeof text);
    fprintf(stderr, "%s: %s, after %d rows\n", argv[1], text, (int)T_GetRowsRead());
    return 1;
  }
  printf("%d x %d pixels, mean level %d\n", (int)rows.Width, (int)rows.Height,
         (int)(sum.levels / sum.pixels));
  return 0;
}
