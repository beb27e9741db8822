// GIF: what is written byte for byte, interlace, tables, sub-blocks, damaged files.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "codec/lzw.h"
#include "format_cases.h"

namespace tavo::test {

namespace {

Bytes lzw_stream(const Bytes& indices, uint32_t minimum_code_size) {
  Collector out;
  lzw::LowFirstEncoder encoder(out);
  EXPECT_TRUE(encoder.start(minimum_code_size).ok() && encoder.encode(indices).ok() &&
              encoder.finish().ok());
  return out.bytes;
}

Bytes sub_blocks(const Bytes& stream, size_t size) {
  Bytes blocks;
  for (size_t at = 0; at < stream.size(); at += size) {
    const Bytes some = part(stream, at, size);
    blocks = join({blocks, {static_cast<uint8_t>(some.size())}, some});
  }
  return join({blocks, {0}});
}

// A GIF file from its parts; its screen is 500 x 400, its image at 3, 4.
struct GifFile {
  uint32_t width;
  uint32_t height;
  uint8_t screen_packed;
  Bytes global_table;
  uint8_t image_packed;
  Bytes local_table;
  uint8_t minimum_code_size;
  Bytes data;  // sub-blocks
  Bytes extensions = {};
};

Bytes gif_file(const GifFile& gif) {
  return join({text("GIF89a"),
               le16(500),
               le16(400),
               {gif.screen_packed, 0, 0},
               gif.global_table,
               gif.extensions,
               {0x2C},
               le16(3),
               le16(4),
               le16(gif.width),
               le16(gif.height),
               {gif.image_packed},
               gif.local_table,
               {gif.minimum_code_size},
               gif.data,
               {0x3B}});
}

Bytes table(size_t entries) {
  Bytes rgb;
  for (size_t i = 0; i < 3 * entries; ++i) rgb.push_back(static_cast<uint8_t>(i * 5 + 1));
  return rgb;
}

// 16 colours, 4 bits: every row y holds y throughout, in picture order.
GifFile rows_of_their_number(int32_t width, int32_t height, bool interlaced) {
  Bytes indices;
  const auto add_rows = [&](int32_t first, int32_t step) {
    for (int32_t y = first; y < height; y += step) {
      indices.insert(indices.end(), width, static_cast<uint8_t>(y % 16));
    }
  };
  if (interlaced) {
    add_rows(0, 8);
    add_rows(4, 8);
    add_rows(2, 4);
    add_rows(1, 2);
  } else {
    add_rows(0, 1);
  }
  return {static_cast<uint32_t>(width),
          static_cast<uint32_t>(height),
          0x83,
          table(16),
          static_cast<uint8_t>(interlaced ? 0x40 : 0),
          {},
          4,
          sub_blocks(lzw_stream(indices, 4), 255)};
}

int32_t load_gif(const Bytes& file, Bitmap& bitmap, int32_t bits = 0, uint32_t flags = 3) {
  return T_LoadMemory(file.data(), bitmap.get(), bits, T_ORDER_RGB, flags, nullptr, nullptr,
                      static_cast<uint32_t>(file.size()));
}

TEST(Gif, WritesExactlyThis) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 3, 1, 8, 1, 0);
  const Bytes row = {1, 1, 1, 0};
  T_AccessBitmap(picture.get());
  T_PutBitmapRow(picture.get(), row.data(), 0, 4);
  T_ReleaseBitmap(picture.get());
  Bytes colors;
  for (const T_PaletteEntry& c : picture->Info.Palette) {
    colors.insert(colors.end(), {c.Red, c.Green, c.Blue});
  }
  const auto file = [&](const char* version, int32_t width, int32_t height) {
    // The codes 256, 1, 258, 257 of 9 bits, lowest bit first.
    return join({text(version), le16(width), le16(height), hex("E70000"), colors,
                 hex("2C 0000 0000 0300 0100 07 08 05 0003080C08 00 3B")});
  };
  ASSERT_EQ(T_SetScreenSize(640, 480), T_OK);
  EXPECT_EQ(T_SaveGIFBitmap("a", picture.get(), 8), T_OK);
  EXPECT_EQ(disk.files["a"], file("GIF89a", 640, 480));
  T_SetGIFVersion(0);
  EXPECT_EQ(T_SaveGIFBitmap("a", picture.get(), 8), T_OK);
  EXPECT_EQ(disk.files["a"], file("GIF87a", 640, 480));
  T_SetGIFVersion(1);
  EXPECT_EQ(T_SetScreenSize(0, 480), T_ERR_ARGUMENT);
  EXPECT_EQ(T_SetScreenSize(65536, 480), T_ERR_ARGUMENT);
  ASSERT_EQ(T_SetScreenSize(0, 0), T_OK);
#ifndef _WIN32
  EXPECT_EQ(T_SaveGIFBitmap("a", picture.get(), 8), T_OK);
  EXPECT_EQ(disk.files["a"], file("GIF89a", 1280, 1024));
#endif
  EXPECT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_GIF, 4, 0, 0, 1, 0), T_ERR_DEPTH);
}

int32_t T_CALL stop_half_way(int32_t percent) { return percent >= 50 ? -33 : T_OK; }

TEST(Gif, PacketsHave254BytesAndAStoppedSaveIsClosed) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 300, 200, 8);
  ASSERT_EQ(T_SaveGIFBitmap("a", picture.get(), 8), T_OK);
  const Bytes& file = disk.files["a"];
  size_t at = 792;
  while (file.at(at) == 254) at += 255;
  at += file.at(at) + (file.at(at) != 0 ? 1 : 0);
  EXPECT_EQ(Bytes(file.begin() + at, file.end()), (Bytes{0, 0x3B}));

  T_SetStatusCallBack(stop_half_way);
  EXPECT_EQ(T_SaveFile("b", picture.get(), T_FORMAT_GIF, 8, 0, 0, 0, 0), -33);
  T_SetStatusCallBack(nullptr);
  const Bytes& cut = disk.files["b"];
  ASSERT_GE(cut.size(), 794u);
  EXPECT_EQ(Bytes(cut.end() - 2, cut.end()), (Bytes{0, 0x3B}));
}

// The first pixels of the rows that came, of 4 bits each.
Bytes first_pixels(const Rows& rows) {
  Bytes first;
  for (size_t at = 0; at < rows.bytes.size(); at += rows.record.BytesPerLine) {
    first.push_back(rows.bytes[at] >> 4);
  }
  return first;
}

TEST(Gif, InterlacedRowsComeInFileOrderAndAreStoredInPictureOrder) {
  for (const int32_t height : {1, 2, 3, 5, 8, 9, 70}) {
    SCOPED_TRACE(height);
    Bitmap plain;
    ASSERT_EQ(load_gif(gif_file(rows_of_their_number(7, height, false)), plain, 24), T_OK);
    const Bytes want = rgb(plain.get());
    const Bytes file = gif_file(rows_of_their_number(7, height, true));
    for (const int32_t bits : {0, 8, 24}) {
      for (const uint32_t flags : {3u, 3u | T_LOAD_GIF_WHOLE}) {
        Bitmap bitmap;
        ASSERT_EQ(load_gif(file, bitmap, bits, flags), T_OK);
        EXPECT_EQ(rgb(bitmap.get()), want) << bits << " bits, flags " << flags;
      }
    }
    Disk disk;
    disk.files["plain"] = gif_file(rows_of_their_number(7, height, false));
    disk.files["interlaced"] = file;
    ASSERT_EQ(T_CompressGIF("plain", "want", 1, 20, 0), T_OK);
    ASSERT_EQ(T_CompressGIF("interlaced", "got", 1, 20, 0), T_OK);
    EXPECT_EQ(disk.files["got"], disk.files["want"]);
  }
  const Bytes file = gif_file(rows_of_their_number(7, 10, true));
  const Bytes file_order = {0, 8, 4, 2, 6, 1, 3, 5, 7, 9};
  for (const int32_t answer : {1, 2}) {
    Rows rows{.answer = answer};
    Bitmap bitmap;
    EXPECT_EQ(T_LoadMemory(file.data(), bitmap.get(), 0, -1, 0, Rows::sink, &rows, file.size()),
              T_OK);
    EXPECT_EQ(first_pixels(rows), file_order);
    EXPECT_NE(rows.record.Flags & T_FLAG_INTERLACED, 0u);
  }
  Rows whole, two{.answer = 2};
  Bitmap bitmap, stopped;
  EXPECT_EQ(T_LoadMemory(file.data(), bitmap.get(), 0, -1, T_LOAD_GIF_WHOLE, Rows::sink, &whole,
                         file.size()),
            T_OK);
  EXPECT_EQ(first_pixels(whole), (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(whole.record.Flags & T_FLAG_INTERLACED, 0u);
  const Bytes plain = gif_file(rows_of_their_number(7, 10, false));
  EXPECT_EQ(T_LoadMemory(plain.data(), stopped.get(), 0, -1, 0, Rows::sink, &two, plain.size()), 2);
}

// Into a bitmap of another size the rows of both kinds come alike: in picture order.
TEST(Gif, InterlacedRowsAreResampledInPictureOrder) {
  Disk disk;
  for (const auto& [width, height] : {std::pair{30, 20}, {70, 95}, {37, 20}, {20, 70}, {37, 1}}) {
    for (const int32_t bits : {1, 2, 4, 8, 24}) {
      Rows rows[2];
      for (const bool interlaced : {false, true}) {
        disk.files["x"] = gif_file(rows_of_their_number(37, 70, interlaced));
        Bitmap bitmap;
        T_InitBitmap(bitmap.get(), width, height, bits);
        T_AllocateBitmap(bitmap.get(), 1);
        ASSERT_EQ(T_LoadGIFFile("x", bitmap.get(), Rows::sink, 24, &rows[interlaced]), T_OK);
        EXPECT_EQ(rows[interlaced].bytes.size(), bitmap->Size);
        EXPECT_EQ(rows[interlaced].record.Flags & T_FLAG_INTERLACED, 0u);
      }
      EXPECT_EQ(rows[0].bytes, rows[1].bytes) << bits << " bits, " << width << " x " << height;
    }
  }
}

TEST(Gif, PartialPicturesHaveZerosWhereNoRowCame) {
  for (const bool interlaced : {false, true}) {
    for (const int32_t bits : {8, 1}) {
      GifFile gif = rows_of_their_number(40, 20, interlaced);
      gif.global_table = Bytes(48, 255);
      gif.data = sub_blocks(lzw_stream(Bytes(40 * 4, 9), 4), 255);  // rows 0, 8, 16, 4 or 0 to 3
      Bitmap old, bitmap;
      make_picture(old, 40, 20, bits);
      T_FreeBitmap(old.get());
      EXPECT_EQ(load_gif(gif_file(gif), bitmap, bits), T_ERR_BAD_DATA);
      const Bytes got = pixels(bitmap.get());
      for (size_t y = 0; y < 20; ++y) {
        // Dithering needs the whole picture: only what is above the first gap.
        const bool is_there = !interlaced ? y < 4 : bits == 1 ? y == 0 : y % 8 == 0 || y == 4;
        const size_t line = 40 * bits / 8;
        const uint8_t one = bits == 1 ? 0xFF : 9;
        EXPECT_EQ(Bytes(got.begin() + y * line, got.begin() + (y + 1) * line),
                  Bytes(line, is_there ? one : 0))
            << "row " << y << " at " << bits << (interlaced ? ", interlaced" : "");
      }
    }
  }
}

TEST(Gif, TheScreenGivesTheDepthAndTheImageThePalette) {
  const Bytes indices = {0, 1, 2, 3, 4, 5, 200, 255};
  GifFile gif{8, 1, 0, {}, 0x87, table(256), 8, sub_blocks(lzw_stream(indices, 8), 255)};
  Bitmap one;
  ASSERT_EQ(load_gif(gif_file(gif), one), T_OK);
  EXPECT_EQ(one->BitsPerPixel, 1);
  EXPECT_EQ(one->Colors, 256u);
  EXPECT_EQ(one->Info.Palette[2].Red, 31);
  EXPECT_EQ(pixels(one.get()), (Bytes{0x55}));  // the low bits

  gif.screen_packed = 0x82;
  gif.global_table = table(8);
  Bitmap four;
  ASSERT_EQ(load_gif(gif_file(gif), four), T_OK);
  EXPECT_EQ(four->BitsPerPixel, 4);
  EXPECT_EQ(pixels(four.get()), (Bytes{0x01, 0x23, 0x45, 0x8F}));

  gif.image_packed = 0x80;
  gif.local_table = table(2);
  Bitmap two;
  ASSERT_EQ(load_gif(gif_file(gif), two), T_OK);
  EXPECT_EQ(two->Colors, 2u);
  EXPECT_EQ(two->Info.Palette[2].Red, 0);  // not the screen's

  gif.image_packed = 0x87;
  gif.local_table = table(256);
  T_SetGIFDepth(1);
  Bitmap eight;
  EXPECT_EQ(load_gif(gif_file(gif), eight), T_OK);
  T_SetGIFDepth(0);
  EXPECT_EQ(pixels(eight.get()), indices);

  gif.screen_packed = 1;
  gif.image_packed = 7;
  gif.global_table.clear();
  gif.local_table.clear();
  Bitmap none;
  ASSERT_EQ(load_gif(gif_file(gif), none), T_OK);
  EXPECT_EQ(none->Colors, 0u);
  EXPECT_EQ(none->Info.Palette[15].Green, 255);
  T_SetGIFDepth(1);
  Bitmap levels;
  EXPECT_EQ(load_gif(gif_file(gif), levels), T_OK);
  T_SetGIFDepth(0);
  EXPECT_EQ(pixels(levels.get()), indices);
}

TEST(Gif, CodesStraddleSubBlocksOfAnySize) {
  Bitmap whole;
  GifFile gif = rows_of_their_number(37, 40, false);
  ASSERT_EQ(load_gif(gif_file(gif), whole), T_OK);
  const Bytes stream = part(gif.data, 1, gif.data[0]);
  ASSERT_EQ(stream.size() + 2, gif.data.size());
  for (const size_t size : {1, 2, 3, 7, 100}) {
    gif.data = sub_blocks(stream, size);
    Bitmap bitmap;
    ASSERT_EQ(load_gif(gif_file(gif), bitmap), T_OK);
    EXPECT_EQ(pixels(bitmap.get()), pixels(whole.get())) << size;
  }
}

TEST(Gif, ExtensionsAreSkippedAndDamageHasItsStatus) {
  GifFile gif = rows_of_their_number(4, 4, false);
  const Bytes control = {0x21, 0xF9, 4, 1, 0, 0, 0, 0};
  const Bytes comment = {0x21, 0xFE, 2, 'a', ',', 1, 0x2C, 0};
  const Bytes application = {0x21, 0xFF, 3, 'x', 'y', 'z', 0};
  gif.extensions = join({control, comment, application, {0x21, 0xFE, 0}});
  Bitmap bitmap;
  EXPECT_EQ(load_gif(gif_file(gif), bitmap), T_OK);

  gif.extensions.clear();
  const Bytes good = gif_file(gif);
  const size_t image = 13 + 48;
  expect_answers(T_LoadGIFFile, good,
                 {{"the signature", 2, 'G', T_ERR_BAD_DATA},
                  {"the version counts for nothing", 4, 'x', T_OK},
                  {"a block of unknown kind", image, 0x2D, T_ERR_READ},
                  {"the trailer at once", image, 0x3B, T_ERR_READ},
                  {"an extension that never ends", image, 0x21, T_ERR_READ},
                  {"no width", image + 5, 0, T_ERR_BAD_DATA},
                  {"no height", image + 7, 0, T_ERR_BAD_DATA},
                  {"minimum code size 0", image + 10, 0, T_ERR_BAD_DATA},
                  {"minimum code size 9", image + 10, 9, T_ERR_BAD_DATA}});
  for (size_t length = 0; length < good.size(); ++length) {
    const int32_t want = length < 13 || length > image + 10 ? T_ERR_BAD_DATA : T_ERR_READ;
    const int32_t got = read_directly(T_LoadGIFFile, part(good, 0, length));
    // What follows the last code is never looked at.
    const bool all_codes_there = length >= good.size() - 4;
    EXPECT_TRUE(got == want || (all_codes_there && got == T_OK)) << got << " at " << length;
  }
  EXPECT_EQ(T_LoadGIFFile("in", bitmap.get(), Rows::sink, 3, nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_LoadGIFFile(nullptr, bitmap.get(), Rows::sink, 8, nullptr), T_ERR_NAME);
}

TEST(Gif, AnEndCodeInTheLastRowEndsThePicture) {
  GifFile gif = rows_of_their_number(10, 3, false);
  gif.data = sub_blocks(lzw_stream(Bytes(25, 3), 4), 255);
  Bitmap bitmap;
  EXPECT_EQ(load_gif(gif_file(gif), bitmap), T_OK);
  EXPECT_EQ(part(pixels(bitmap.get()), 10), (Bytes{0x33, 0x33, 0x30, 0, 0}));
}

// While it lives, page n is frame n.
struct Frames {
  explicit Frames(int32_t page = 1) {
    T_SetGIFFrames(1);
    T_SetPageNumber(page);
  }
  ~Frames() {
    T_SetGIFFrames(0);
    T_SetPageNumber(1);
  }
};

// An image of 2-bit indices at left, top with width and height; 3 is the transparent index when
// bit 0 of `control` is set.
Bytes layer(uint8_t control, const std::array<uint32_t, 4>& box, const Bytes& indices,
            uint8_t packed = 0, const Bytes& local = {}) {
  return join({hex("21F904"),
               {control, 0, 0, 3, 0, 0x2C},
               le16(box[0]),
               le16(box[1]),
               le16(box[2]),
               le16(box[3]),
               {packed},
               local,
               {2},
               sub_blocks(lzw_stream(indices, 2), 255)});
}

// A file of 4 colours, of which 1 is the background.
Bytes layered_file(uint32_t width, uint32_t height, std::initializer_list<Bytes> layers) {
  return join(
      {text("GIF89a"), le16(width), le16(height), {0x81, 1, 0}, table(4), join(layers), {0x3B}});
}

// Browsers are the judges: each picture is what Firefox's and Chrome's rules make of the file.
TEST(Gif, FramesAreComposedAsBrowsersDo) {
  const Bytes base = layer(4, {0, 0, 4, 2}, Bytes(8, 2));
  const Bytes over = layer(5, {1, 0, 2, 2}, {0, 3, 3, 0});
  const Bytes last = layer(0, {3, 1, 4, 4}, Bytes(16, 0));
  const auto over_disposed = [&](uint8_t method) {
    Bytes file = layered_file(4, 2, {base, over, last});
    file[25 + base.size() + 3] = static_cast<uint8_t>(method << 2 | 1);
    return file;
  };
  const Bytes other_table = layer(0, {0, 0, 1, 1}, {3}, 0x80, table(2));
  const struct {
    const char* what;
    Bytes file;
    int32_t page;
    const char* want;  // packed rows
    int32_t width, height, bits, last;
  } cases[] = {
      {"the first", over_disposed(0), 1, "2222 2222", 4, 2, 4, 3},
      {"a transparent one", over_disposed(0), 2, "2022 2202", 4, 2, 4, 3},
      {"method 0", over_disposed(0), 3, "2022 2200", 4, 2, 4, 3},
      {"method 1, behind the last", over_disposed(1), 9, "2022 2200", 4, 2, 4, 3},
      {"method 2", over_disposed(2), 3, "2112 2110", 4, 2, 4, 3},
      {"method 3", over_disposed(3), 3, "2222 2220", 4, 2, 4, 3},
      {"method 4", over_disposed(4), 3, "2222 2220", 4, 2, 4, 3},
      {"on the background", layered_file(4, 2, {over}), 1, "1011 1101", 4, 2, 4, 1},
      {"a larger canvas", layered_file(2, 2, {layer(0, {2, 1, 2, 1}, {2, 0})}), 1, "1111 1120", 4,
       2, 4, 1},
      {"interlaced", layered_file(1, 5, {layer(4, {0, 0, 1, 5}, {0, 1, 2, 0, 1}, 0x40)}), 1,
       "00 00 20 10 10", 1, 5, 4, 1},
      {"another table", layered_file(2, 1, {layer(4, {0, 0, 2, 1}, {0, 0}), other_table}), 2,
       "000000 01060B", 2, 1, 24, 2},
      {"behind the end",
       layered_file(
           4, 1,
           {layer(4, {0, 0, 4, 1}, Bytes(4, 2)), other_table, layer(0, {0, 0, 4, 1}, Bytes(4, 0))}),
       3, "0000", 4, 1, 4, 3},
  };
  Disk disk;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    disk.files["a"] = c.file;
    FILEINFO plain, info;
    EXPECT_EQ(T_FileInfo("a", &plain), T_OK);
    const Frames frames(c.page);
    ASSERT_EQ(T_FileInfo("a", &info), T_OK);
    EXPECT_EQ(plain.PageCount, c.last);
    EXPECT_EQ((std::array{info.Width, info.Height, info.BitsPerPixel, info.PageCount, info.Page}),
              (std::array{c.width, c.height, c.bits, c.last, std::min(c.page, c.last)}));
    Bitmap bitmap, trio, sized;
    Rows rows;
    ASSERT_EQ(T_LoadBitmap("a", bitmap.get(), 0, -1), T_OK);
    EXPECT_EQ(pixels(bitmap.get()), hex(c.want));
    const Bytes want = rgb(bitmap.get());
    for (const uint32_t flags : {3u, 3u | T_LOAD_GIF_WHOLE}) {
      Bitmap deep;
      EXPECT_EQ(T_LoadFile("a", deep.get(), 32, T_ORDER_BGR, flags, nullptr, nullptr), T_OK);
      EXPECT_EQ(rgb(deep.get()), want);
    }
    EXPECT_EQ(T_LoadGIFBitmap("a", trio.get()), T_OK);
    EXPECT_EQ(rgb(trio.get()), want);
    T_InitBitmap(sized.get(), 3 * c.width, c.height, 24);
    T_AllocateBitmap(sized.get(), 2);
    ASSERT_EQ(T_LoadGIFFile("a", sized.get(), Rows::sink, 24, &rows), T_OK);
    EXPECT_EQ(rows.bytes.size(), sized->Size);
  }
}

TEST(Gif, DamageInFramesHasItsStatus) {
  const Bytes base = layer(4, {0, 0, 4, 2}, Bytes(8, 2));
  const Bytes file = layered_file(4, 2, {base, layer(4, {0, 0, 4, 1}, Bytes(4, 0)), base});
  const Leftovers before = leftovers();
  const Frames frames(2);
  for (size_t length = 1; length <= file.size(); ++length) {
    Bitmap bitmap;
    const int32_t status = load_gif(part(file, 0, length), bitmap);
    EXPECT_TRUE(status == T_OK || status == T_ERR_BAD_DATA || status == T_ERR_READ) << length;
    const bool is_drawn = length >= file.size() - base.size() - 1;
    EXPECT_TRUE(status == T_OK || !is_drawn) << length;
    if (status == T_OK) {
      // Where the second is not there the first is the last.
      EXPECT_EQ(part(pixels(bitmap.get()), 2), (Bytes{0x22, 0x22})) << length;
    }
  }
  Bitmap bitmap;
  EXPECT_EQ(load_gif(layered_file(65535, 65535, {base}), bitmap), T_ERR_BAD_DATA);
  // Clearing without end for a few bytes.
  T_SetPageNumber(3);
  const Bytes clears = layer(8, {0, 0, 4095, 4096}, {});
  EXPECT_EQ(load_gif(layered_file(4096, 4096, {clears, clears, base}), bitmap), T_ERR_BAD_DATA);
  EXPECT_EQ(leftovers(), before);
}

TEST(Gif, AFewBytesThatDeclareAHugePictureEndAtOnce) {
  const Bytes file = gif_file({65535, 65535, 0, {}, 0, {}, 2, hex("03 845100 00")});
  const int64_t before = leftovers().blocks;
  for (const uint32_t flags : {0u, 3u, T_LOAD_GIF_WHOLE + 3u}) {
    Bitmap bitmap;
    EXPECT_EQ(load_gif(file, bitmap, 0, flags), T_ERR_BAD_DATA);
  }
  EXPECT_EQ(leftovers().blocks, before);
}

}  // namespace

FormatCase gif_case() {
  FormatCase gif{"GIF", {}, T_FORMAT_GIF, {8}};
  GifFile odd = rows_of_their_number(9, 4, true);
  odd.extensions = hex("21F904 01000000 00 21FE01 63 00");
  const Bytes two = hex("00010100010000000101 0100000000000000000001 01");
  gif.samples = {
      {"8 bits", saved_sample(T_FORMAT_GIF, 8, 3, 2)},
      {"4 bits, interlaced, extensions", gif_file(odd)},
      {"1 bit, local table",
       gif_file(
           {11, 2, 0, {}, 0x80, {1, 2, 3, 200, 210, 220}, 2, sub_blocks(lzw_stream(two, 2), 2)})},
  };
  return gif;
}

}  // namespace tavo::test
