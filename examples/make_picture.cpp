// Draws a sample picture and writes it through the library as a BMP file.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "pictures.h"
#include "tavo45.h"

namespace {

using examples::Canvas;

// Packs one row of the canvas as the bitmap stores it: as it is, or 1 bit for each pixel.
void store_row(const Canvas& canvas, int y, BitmapHandle& bitmap, std::vector<uint8_t>& row) {
  const uint8_t* pixels = canvas.row(y);
  std::fill(row.begin(), row.end(), uint8_t{0});
  if (bitmap.BitsPerPixel == 24) {
    std::copy_n(pixels, static_cast<size_t>(canvas.width()) * 3, row.begin());
  } else {
    for (int x = 0; x < canvas.width(); ++x)
      if (pixels[x * 3] >= 128)
        row[static_cast<size_t>(x) / 8] |= static_cast<uint8_t>(0x80 >> x % 8);
  }
  // ViewPerspective 2: stored row 0 is the bottom one.
  T_PutBitmapRow(&bitmap, row.data(), static_cast<uint32_t>(canvas.height() - 1 - y),
                 bitmap.BytesPerLine);
}

int32_t save(const Canvas& canvas, const char* name, int bits) {
  BitmapHandle bitmap;
  T_SetTIFFXYResolution(200, 200);
  int32_t status = T_InitBitmap(&bitmap, canvas.width(), canvas.height(), bits);
  if (status != T_OK) return status;
  if (bits == 1) {
    bitmap.Colors = 2;
    bitmap.Info.Palette[0] = {0, 0, 0, 0};
    bitmap.Info.Palette[1] = {255, 255, 255, 0};
  }
  status = T_AllocateBitmap(&bitmap, 1);
  if (status != T_OK) return status;
  T_AccessBitmap(&bitmap);
  std::vector<uint8_t> row(bitmap.BytesPerLine);
  for (int y = 0; y < canvas.height(); ++y) store_row(canvas, y, bitmap, row);
  T_ReleaseBitmap(&bitmap);
  status = T_SaveBMPBitmap(name, &bitmap, bits);
  T_FreeBitmap(&bitmap);
  return status;
}

int usage() {
  std::fputs(
      "usage: tavo_picture scene|page WIDTH HEIGHT OUT.bmp\n"
      "scene: 24 bits; page: 1 bit. 1 to 32767 pixels each way.\n",
      stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return usage();
  const std::string_view kind = argv[1];
  const int width = std::atoi(argv[2]);
  const int height = std::atoi(argv[3]);
  const bool is_page = kind == "page";
  if (!is_page && kind != "scene") return usage();
  if (width < 1 || height < 1 || width > 32767 || height > 32767) return usage();
  Canvas canvas(width, height);
  is_page ? examples::draw_page(canvas) : examples::draw_scene(canvas);
  const int32_t status = save(canvas, argv[4], is_page ? 1 : 24);
  if (status == T_OK) return 0;
  std::fprintf(stderr, "tavo_picture: %s: %s (status %d)\n", argv[4], T_GetStatusText(status),
               static_cast<int>(status));
  return 1;
}
