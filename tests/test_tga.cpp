// TGA: what is written byte for byte, colour maps, packets, origins, damaged headers.
#include <gtest/gtest.h>

#include "format_cases.h"

namespace tavo::test {

Bytes tga_file(const TgaFile& tga) {
  return join({{static_cast<uint8_t>(tga.id.size()), tga.map_type, tga.type},
               le16(tga.map_first),
               le16(tga.map_entries),
               {tga.map_bits},
               le16(7),
               le16(9),
               le16(tga.width),
               le16(tga.height),
               {tga.bits, tga.descriptor},
               tga.id,
               tga.map,
               tga.data});
}

namespace {

TEST(Tga, WritesExactlyThis) {
  Disk disk;
  const Bytes stored = {1, 2, 3, 4, 5, 6, 0, 0, 7, 8, 9, 10, 11, 12, 0, 0};  // rows of 2 pixels
  for (const uint32_t perspective : {0u, 2u}) {
    const auto descriptor = static_cast<uint8_t>(perspective == 0 ? 0x20 : 0);
    Bitmap picture;
    make_picture(picture, 2, 2, 24, 1, perspective);
    T_AccessBitmap(picture.get());
    T_PutBitmapRow(picture.get(), stored.data(), 0, 16);
    T_ReleaseBitmap(picture.get());
    ASSERT_EQ(T_SaveTGABitmap("a", picture.get(), 24), T_OK);
    EXPECT_EQ(disk.files["a"], (Bytes{0, 0,  2,          0, 0, 0, 0, 0, 0, 0, 0, 0, 2,  0,  2,
                                      0, 24, descriptor, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    picture->Order = T_ORDER_RGB;
    ASSERT_EQ(T_SaveTGABitmap("a", picture.get(), 24), T_OK);
    EXPECT_EQ(Bytes(disk.files["a"].begin() + 18, disk.files["a"].begin() + 24),
              (Bytes{3, 2, 1, 6, 5, 4}));
    EXPECT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_TGA, 4, 0, 0, 1, 0), T_ERR_DEPTH);
  }
  Bitmap indices;
  make_picture(indices, 1, 1, 8, 1, 2);
  ASSERT_EQ(T_SaveTGABitmap("b", indices.get(), 8), T_OK);
  Bytes want = {0, 1, 1, 0, 0, 0, 1, 24, 0, 0, 0, 0, 1, 0, 1, 0, 8, 0};
  for (const T_PaletteEntry& c : indices->Info.Palette) {
    want.insert(want.end(), {c.Blue, c.Green, c.Red});
  }
  want.push_back(pixels(indices.get())[0]);
  EXPECT_EQ(disk.files["b"], want);
}

TEST(Tga, ColourMapsOfEveryEntrySizeBeginAtTheirFirstIndex) {
  const struct {
    uint8_t bits;
    Bytes entry;
    T_PaletteEntry want;
  } cases[] = {
      {8, {99}, {99, 99, 99, 0}},         {15, {0x1F, 0x7C}, {255, 0, 255, 0}},
      {16, {0xE0, 0x83}, {0, 255, 0, 0}}, {24, {1, 2, 3}, {1, 2, 3, 0}},
      {32, {1, 2, 3, 4}, {1, 2, 3, 0}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.bits));
    TgaFile tga{.map_type = 9,
                .type = 1,
                .map_first = 40,
                .map_entries = 2,
                .map_bits = c.bits,
                .width = 2,
                .height = 1,
                .bits = 8,
                .id = {'i', 'd'},
                .map = join({Bytes(c.entry.size(), 0), c.entry}),
                .data = {41, 40}};
    Bitmap bitmap;
    ASSERT_EQ(load(tga_file(tga), bitmap), T_OK);
    EXPECT_EQ(bitmap->Colors, 42u);
    EXPECT_EQ(bitmap->Order, T_ORDER_RGB);
    EXPECT_EQ(rgb(bitmap.get()), (Bytes{c.want.Red, c.want.Green, c.want.Blue, 0, 0, 0}));
  }
  // A map that reaches beyond index 255, and one beside a true-colour picture.
  TgaFile tga{.map_type = 1,
              .type = 1,
              .map_first = 255,
              .map_entries = 3,
              .map_bits = 24,
              .width = 1,
              .height = 1,
              .bits = 8,
              .map = Bytes(9, 77),
              .data = {255}};
  Bitmap edge;
  ASSERT_EQ(load(tga_file(tga), edge), T_OK);
  EXPECT_EQ(rgb(edge.get()), (Bytes{77, 77, 77}));
  tga.type = 2;
  tga.bits = 24;
  tga.data = {1, 2, 3};
  Bitmap beside;
  ASSERT_EQ(load(tga_file(tga), beside), T_OK);
  EXPECT_EQ(rgb(beside.get()), (Bytes{3, 2, 1}));
}

TEST(Tga, PacketsGoOnInTheNextRow) {
  TgaFile tga{.type = 10, .width = 3, .height = 3, .bits = 24, .descriptor = 0x20};
  tga.data = {0x84, 1, 2, 3,  // 5 pixels: a row and two more
              0x03, 4, 4, 4, 5, 5, 5, 6, 6, 6, 7, 7, 7};
  Bitmap bitmap;
  ASSERT_EQ(load(tga_file(tga), bitmap), T_OK);
  EXPECT_EQ(pixels(bitmap.get()), (Bytes{1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2, 3, 1, 2,
                                         3, 4, 4, 4, 5, 5, 5, 6, 6, 6, 7, 7, 7}));
}

// Every pixel size, packets of every length, rows that cut them anywhere; against a decoder that
// takes one pixel at a time.
TEST(Tga, LongRunsAndLiteralsDecodeAsOnePixelAtATime) {
  for (const uint8_t bits : {8, 16, 24, 32}) {
    for (const uint16_t width : {1, 2, 5, 63, 130, 257}) {
      SCOPED_TRACE(testing::Message() << int{bits} << " bits, width " << width);
      const size_t size = bits / 8;
      TgaFile tga{.type = static_cast<uint8_t>(bits == 8 ? 11 : 10),
                  .width = width,
                  .height = 300,
                  .bits = bits,
                  .descriptor = 0x20};
      Random random(bits * 1000u + width);
      Bytes want;
      while (want.size() < size * width * 300) {
        const uint32_t count = 1 + random.below(random.below(2) == 0 ? 4 : 128);
        const bool is_run = random.below(2) == 0;
        tga.data.push_back(static_cast<uint8_t>((count - 1) | (is_run ? 0x80 : 0)));
        Bytes pixel(size);
        for (uint32_t i = 0; i < count; ++i) {
          if (i == 0 || !is_run) {
            for (uint8_t& byte : pixel) byte = static_cast<uint8_t>(random.next());
            if (bits == 16) pixel[1] &= 0x7F;
            tga.data.insert(tga.data.end(), pixel.begin(), pixel.end());
          }
          want.insert(want.end(), pixel.begin(), pixel.end());
        }
      }
      want.resize(size * width * 300);
      Bitmap bitmap;
      ASSERT_EQ(load(tga_file(tga), bitmap), T_OK);
      ASSERT_EQ(pixels(bitmap.get()), want);
    }
  }
}

TEST(Tga, OriginsRampsAndOrdersAreReported) {
  TgaFile tga{.type = 3, .width = 2, .height = 2, .bits = 8, .data = {1, 2, 3, 4}};
  Bitmap gray;
  ASSERT_EQ(load(tga_file(tga), gray), T_OK);
  EXPECT_EQ(gray->Colors, 256u);
  EXPECT_NE(gray->Flags & T_FLAG_GRAY, 0u);
  EXPECT_EQ(gray->ViewPerspective, 2u);
  EXPECT_EQ(rgb(gray.get()), (Bytes{3, 3, 3, 4, 4, 4, 1, 1, 1, 2, 2, 2}));
  EXPECT_EQ(gray->XOrigin, 7);
  EXPECT_EQ(gray->YOrigin, 9);
  tga.descriptor = 0x20;
  Bitmap top;
  ASSERT_EQ(load(tga_file(tga), top), T_OK);
  EXPECT_EQ(rgb(top.get()), (Bytes{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
  tga.type = 2;  // one byte per pixel: grey, too
  Bitmap byte;
  ASSERT_EQ(load(tga_file(tga), byte), T_OK);
  EXPECT_EQ(rgb(byte.get()), rgb(top.get()));
}

TEST(Tga, CornersDecideWhichWayUpAndHowToTurn) {
  const struct {
    uint8_t corner;
    uint32_t view_perspective;
    uint32_t orientation;
  } cases[] = {{0x00, 2, 1}, {0x10, 2, 2}, {0x20, 0, 1}, {0x30, 2, 3}};
  for (const auto& c : cases) {
    const Bytes file = tga_file(
        {.type = 3, .width = 1, .height = 1, .bits = 8, .descriptor = c.corner, .data = {1}});
    FILEINFO info;
    ASSERT_EQ(T_FileInfoMemory(file.data(), &info, static_cast<uint32_t>(file.size())), T_OK);
    EXPECT_EQ(info.Orientation, c.orientation) << int{c.corner};
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK);
    EXPECT_EQ(bitmap->ViewPerspective, c.view_perspective) << int{c.corner};
  }
}

TEST(Tga, HeadersThatDoNotGoTogetherAreNoTga) {
  const TgaFile tga{.map_type = 1,
                    .type = 1,
                    .map_entries = 2,
                    .map_bits = 24,
                    .width = 1,
                    .height = 1,
                    .bits = 8,
                    .map = Bytes(6, 1),
                    .data = {1}};
  const Bytes good = tga_file(tga);
  EXPECT_EQ(read_directly(T_LoadTGAFile, good), T_OK);
  const std::initializer_list<ByteChange> changes = {
      {"colour-map type", 1, 2, T_ERR_BAD_DATA},  {"a map without its mark", 1, 0, T_ERR_BAD_DATA},
      {"no map", 5, 0, T_ERR_BAD_DATA},           {"entry size", 7, 12, T_ERR_BAD_DATA},
      {"no width", 12, 0, T_ERR_BAD_DATA},        {"no height", 14, 0, T_ERR_BAD_DATA},
      {"mapped words", 16, 16, T_ERR_BAD_DATA},   {"7 bits", 16, 7, T_ERR_BAD_DATA},
      {"interleaving", 17, 0x40, T_ERR_BAD_DATA}, {"attribute bits", 17, 9, T_ERR_BAD_DATA},
      {"image type 0", 2, 0, T_ERR_SUBTYPE},      {"image type 32", 2, 32, T_ERR_SUBTYPE},
  };
  expect_answers(T_LoadTGAFile, good, changes);
  for (const ByteChange& c : changes) {
    Bytes file = good;
    file[c.at] = c.value;
    FILEINFO info;
    EXPECT_EQ(T_FileInfoMemory(file.data(), &info, file.size()), T_ERR_BAD_DATA) << c.why;
  }
  for (size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(read_directly(T_LoadTGAFile, Bytes(good.begin(), good.begin() + length)), T_ERR_READ)
        << length;
  }
}

}  // namespace

FormatCase tga_case() {
  FormatCase tga{"TGA", {}, T_FORMAT_TGA, {8, 16, 24, 32}};
  tga.samples = {
      {"8 bits", tga_file({.map_type = 1,
                           .type = 1,
                           .map_entries = 2,
                           .map_bits = 16,
                           .width = 3,
                           .height = 2,
                           .bits = 8,
                           .map = {0x11, 0x22, 0x33, 0x44},
                           .data = {1, 0, 1, 0, 0, 1}})},
      {"mapped runs", tga_file({.map_type = 1,
                                .type = 9,
                                .map_first = 1,
                                .map_entries = 3,
                                .map_bits = 32,
                                .width = 5,
                                .height = 3,
                                .bits = 8,
                                .descriptor = 0x20,
                                .id = {1, 2, 3},
                                .map = Bytes(12, 5),
                                .data = {0x86, 1, 2, 3, 2, 1, 0x84, 2}})},
      {"24 bits", saved_sample(T_FORMAT_TGA, 24, 3, 2)},
      {"32-bit runs",
       tga_file({.type = 10,
                 .width = 4,
                 .height = 2,
                 .bits = 32,
                 .descriptor = 8,
                 .data = {0x84, 1, 2, 3, 0, 2, 4, 5, 6, 0, 7, 8, 9, 0, 1, 1, 1, 0}})},
      {"16 bits", saved_sample(T_FORMAT_TGA, 16, 3, 2)},
      {"15 bits", tga_file({.type = 2, .width = 1, .height = 2, .bits = 15, .data = {1, 2, 3, 4}})},
      {"grey runs",
       tga_file({.type = 11, .width = 6, .height = 2, .bits = 8, .data = {0x88, 9, 2, 1, 2, 3}})},
  };
  return tga;
}

}  // namespace tavo::test
