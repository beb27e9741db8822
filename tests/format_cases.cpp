#include "format_cases.h"

#include <cstdlib>

namespace tavo::test {

Bytes saved_sample(int32_t format, int32_t depth, int32_t width, int32_t height) {
  Disk disk;
  Bitmap bitmap;
  make_picture(bitmap, width, height, depth);
  if (T_SaveBitmap("sample", bitmap.get(), format, depth, 0) != T_OK) std::abort();
  return disk.files["sample"];
}

Bytes bmp_file(Bytes info_header, Bytes palette_and_gap, Bytes data) {
  const auto offset = static_cast<uint32_t>(14 + info_header.size() + palette_and_gap.size());
  return join({{'B', 'M'},
               le32(offset + static_cast<uint32_t>(data.size())),
               le32(0),
               le32(offset),
               info_header,
               palette_and_gap,
               data});
}

Bytes bmp_info(int32_t width, int32_t height, uint32_t bits, uint32_t compression,
               uint32_t colors_used) {
  return join({le32(40), le32(static_cast<uint32_t>(width)), le32(static_cast<uint32_t>(height)),
               le16(1), le16(bits), le32(compression), le32(0), le32(2835), le32(5669),
               le32(colors_used), le32(0)});
}

namespace {

FormatCase bmp_case() {
  const Bytes two_colors = {1, 2, 3, 0, 250, 251, 252, 0};
  const Bytes rle8 = {3, 0x41, 0, 3, 1, 2, 3, 0, 0, 0, 6, 0x51, 0, 2, 2, 1, 0, 0, 1, 7, 0, 1};
  const Bytes rle4 = {5, 0x41, 0, 3, 0x12, 0x30, 0, 0, 6, 0x52, 0, 0, 0, 2, 1, 1, 2, 0x77, 0, 1};
  FormatCase bmp{"BMP", {}, T_FORMAT_BMP, {1, 4, 8, 24}};
  bmp.samples = {
      {"1 bit", bmp_file(bmp_info(9, 3, 1, 0, 0), two_colors,
                         {0xA5, 0x80, 0, 0, 0x5A, 0, 0, 0, 0xFF, 0x80, 0, 0})},
      {"2 bits", bmp_file(bmp_info(5, 1, 2, 0, 0), Bytes(16, 9), {0x1B, 0xC0, 0, 0})},
      {"8 bits", saved_sample(T_FORMAT_BMP, 8, 3, 2)},
      {"24 bits top down", bmp_file(bmp_info(2, -2, 24, 0, 0), {}, Bytes(16, 0x33))},
      {"OS/2", saved_sample(T_FORMAT_BMP_OS2, 4, 5, 2)},
      {"RLE8", bmp_file(bmp_info(6, 4, 8, 1, 8), Bytes(32, 0x55), rle8)},
      {"RLE4", bmp_file(bmp_info(8, 4, 4, 2, 0), Bytes(64, 0x66), rle4)},
      {"5-6-5", bmp_file(bmp_info(2, 1, 16, 3, 0), join({le32(0xF800), le32(0x07E0), le32(0x001F)}),
                         {0x1F, 0xF8, 1, 2})},
      {"5-5-5", bmp_file(bmp_info(2, 2, 16, 0, 0), {}, {1, 0x84, 2, 0x7F, 5, 6, 7, 8})},
      {"32 bits", bmp_file(bmp_info(2, 1, 32, 0, 0), {}, {1, 2, 3, 4, 5, 6, 7, 8})},
  };
  return bmp;
}

FormatCase cals_case() {
  FormatCase cals{"CALS", {}, T_FORMAT_CALS, {1}, false};  // always white and black
  cals.samples = {{"Group 4", saved_sample(T_FORMAT_CALS, 1, 70, 9)}};
  return cals;
}

FormatCase bilevel_case() {
  FormatCase bilevel{"Bilevel", {}, T_FORMAT_CMP_1BIT, {1}};
  bilevel.samples = {{"1 bit", saved_sample(T_FORMAT_CMP_1BIT, 1, 70, 9)}};
  return bilevel;
}

}  // namespace

const std::vector<FormatCase>& format_cases() {
  static const std::vector<FormatCase> cases = {bmp_case(),  gif_case(), cals_case(),
                                                tga_case(),  ras_case(), bilevel_case(),
                                                jpeg_case(), cmp_case()};
  return cases;
}

}  // namespace tavo::test
