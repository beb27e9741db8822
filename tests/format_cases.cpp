#include "format_cases.h"

#include <algorithm>
#include <cstdlib>

#include "jpeg_streams.h"

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

Bytes tiff_file(const std::vector<TiffTag>& tags, const Bytes& data, bool is_big_endian) {
  const auto number = [is_big_endian](uint32_t value, uint32_t size) {
    Bytes bytes = le32(value);
    bytes.resize(size);
    if (is_big_endian) std::reverse(bytes.begin(), bytes.end());
    return bytes;
  };
  const uint32_t directory = static_cast<uint32_t>(8 + data.size() + data.size() % 2);
  Bytes entries = number(static_cast<uint32_t>(tags.size()), 2);
  Bytes outside;
  const uint32_t outside_at = directory + 2 + 12 * static_cast<uint32_t>(tags.size()) + 4;
  for (const TiffTag& tag : tags) {
    const uint32_t size = tag.type == 1 ? 1 : tag.type == 3 ? 2 : 4;
    Bytes values;
    for (const uint32_t v : tag.values) values = join({values, number(v, size)});
    const uint32_t count = static_cast<uint32_t>(tag.values.size()) / (tag.type == 5 ? 2 : 1);
    entries = join({entries, number(tag.tag, 2), number(tag.type, 2), number(count, 4)});
    if (values.size() > 4) {
      const auto at = static_cast<uint32_t>(outside_at + outside.size());
      entries = join({entries, number(at, 4)});
      outside = join({outside, values});
    } else {
      values.resize(4);
      entries = join({entries, values});
    }
  }
  const Bytes order = is_big_endian ? Bytes{'M', 'M', 0, 42} : Bytes{'I', 'I', 42, 0};
  return join(
      {order, number(directory, 4), data, Bytes(data.size() % 2), entries, le32(0), outside});
}

std::vector<TiffTag> tiff_tags(uint32_t width, uint32_t height, uint32_t bits, uint32_t samples,
                               uint32_t compression, uint32_t photometric, uint32_t data_bytes) {
  return {{256, 3, {width}},
          {257, 3, {height}},
          {258, 3, std::vector<uint32_t>(samples, bits)},
          {259, 3, {compression}},
          {262, 3, {photometric}},
          {273, 4, {8}},
          {277, 3, {samples}},
          {278, 4, {height}},
          {279, 4, {data_bytes}}};
}

Bytes deflate_stored(const Bytes& bytes) {
  const auto size = static_cast<uint32_t>(bytes.size());
  return join({{0x78, 0x01, 0x01}, le16(size), le16(size ^ 0xFFFF), bytes, le32(0)});
}

namespace {

FormatCase tiff_case() {
  FormatCase tiff{"TIFF", {}, T_FORMAT_TIFF, {1, 4, 8, 24}};
  std::vector<TiffTag> tiled = tiff_tags(5, 3, 8, 3, 8, 2, 0);
  const auto tile = static_cast<uint32_t>(deflate_stored(Bytes(16 * 16 * 3, 3)).size());
  tiled[5] = {322, 3, {16}};
  tiled[7] = {323, 3, {16}};
  tiled[8] = {324, 4, {8}};
  tiled.push_back({325, 4, {tile}});
  std::vector<TiffTag> planar = tiff_tags(3, 2, 16, 3, 1, 2, 12);
  planar[5].values = {8, 20, 32};
  planar[8].values = {12, 12, 12};
  planar.push_back({284, 3, {2}});
  std::vector<TiffTag> units = tiff_tags(3, 3, 8, 3, 1, 6, 24);
  units.push_back({282, 5, {300, 1}});
  units.push_back({529, 5, {299, 1000, 587, 1000, 114, 1000}});
  units.push_back({530, 3, {2, 2}});
  JpegPicture picture(20, 12, ycc(1, 1), 5);
  const Bytes stream = jpeg_stream(picture, {});
  const auto stream_bytes = static_cast<uint32_t>(stream.size());
  const std::vector<TiffTag> jpeg = tiff_tags(20, 12, 8, 3, 7, 6, stream_bytes);
  std::vector<TiffTag> old_jpeg = jpeg;
  old_jpeg[3].values = {6};
  old_jpeg.push_back({513, 4, {8}});
  tiff.samples = {
      {"uncompressed", saved_sample(T_FORMAT_TIFF, 4, 9, 3)},
      {"PackBits", saved_sample(T_FORMAT_TIFF_PACKBITS, 24, 9, 3)},
      {"Group 3", saved_sample(T_FORMAT_TIFF_GROUP3, 1, 90, 3)},
      {"Group 3 2-D", saved_sample(T_FORMAT_TIFF_GROUP3_2D, 1, 90, 3)},
      {"Group 4", saved_sample(T_FORMAT_TIFF_GROUP4, 1, 90, 5)},
      {"LZW", saved_sample(T_FORMAT_TIFF_LZW, 8, 9, 3)},
      {"Deflate", saved_sample(T_FORMAT_TIFF_DEFLATE, 24, 9, 3)},
      {"Deflate in tiles", tiff_file(tiled, deflate_stored(Bytes(16 * 16 * 3, 3)))},
      {"16 bits in planes", tiff_file(planar, Bytes(36, 0x5A), true)},
      {"2 bits", tiff_file(tiff_tags(5, 1, 2, 1, 1, 0, 2), {0x1B, 0x80})},
      {"CMYK", tiff_file(tiff_tags(2, 1, 8, 4, 1, 5, 8), {1, 2, 3, 4, 5, 6, 7, 8})},
      {"YCbCr", tiff_file(units, Bytes(24, 0x77))},
      {"JPEG", tiff_file(jpeg, stream)},
      {"old JPEG", tiff_file(old_jpeg, stream)},
  };
  return tiff;
}

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
  FormatCase cals{"CALS", {}, T_FORMAT_CALS, {1}, kLossy};  // always white and black
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
  static const std::vector<FormatCase> cases = {
      bmp_case(),      tiff_case(), gif_case(),     cals_case(),    tga_case(),
      ras_case(),      pcx_case(),  bilevel_case(), jpeg_case(),    cmp_case(),
      macpaint_case(), msp_case(),  gem_case(),     wpg_case(),     pict_case(),
      png_case(),      wmf_case(),  eps_case(),     eps_text_case()};
  return cases;
}

}  // namespace tavo::test
