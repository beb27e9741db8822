// Sun raster: what is written byte for byte, run counting in both variants, maps, damaged headers.
#include <gtest/gtest.h>

#include "format_cases.h"

namespace tavo::test {

namespace {

Bytes be32(uint32_t value) {
  return {static_cast<uint8_t>(value >> 24), static_cast<uint8_t>(value >> 16),
          static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

struct Variant {
  explicit Variant(int32_t variant) { T_SetRASVariant(variant); }
  ~Variant() { T_SetRASVariant(0); }
};

}  // namespace

Bytes ras_file(const RasFile& ras) {
  return join({be32(0x59A66A95), be32(ras.width), be32(ras.height), be32(ras.depth),
               be32(static_cast<uint32_t>(ras.data.size())), be32(ras.type), be32(ras.map_type),
               be32(static_cast<uint32_t>(ras.map.size())), ras.map, ras.data});
}

namespace {

TEST(Ras, WritesExactlyThis) {
  Disk disk;
  for (const uint32_t perspective : {0u, 2u}) {
    Bitmap picture;
    make_picture(picture, 9, 2, 1, 1, perspective);
    const Bytes stored = {0xA5, 0xFF, 0, 0, 0x5A, 0x7F, 9, 9};
    T_AccessBitmap(picture.get());
    T_PutBitmapRow(picture.get(), stored.data(), 0, 8);
    T_ReleaseBitmap(picture.get());
    ASSERT_EQ(T_SaveRASBitmap("a", picture.get(), 1), T_OK);
    const T_PaletteEntry* p = picture->Info.Palette;
    const Bytes data =
        perspective == 0 ? Bytes{0xA5, 0x80, 0x5A, 0x00} : Bytes{0x5A, 0, 0xA5, 0x80};
    EXPECT_EQ(disk.files["a"],
              join({be32(0x59A66A95),
                    be32(9),
                    be32(2),
                    be32(1),
                    be32(0),
                    be32(1),
                    be32(1),
                    be32(6),
                    {p[0].Red, p[1].Red, p[0].Green, p[1].Green, p[0].Blue, p[1].Blue},
                    data}));
  }
  Bitmap gray;
  make_picture(gray, 300, 200, 8);
  gray->Colors = 100;
  ASSERT_EQ(T_SaveRASBitmap("a", gray.get(), 8), T_OK);
  const Bytes& file = disk.files["a"];
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 32),
            join({{0, 0, 1, 0x60}, be32(1), be32(1), be32(300)}));
  EXPECT_EQ(file.size(), 32 + 300 + 60000u);
  Bitmap larger;
  make_picture(larger, 300, 300, 8);
  ASSERT_EQ(T_SaveRASBitmap("a", larger.get(), 8), T_OK);
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 20), (Bytes{0, 1, 1, 0x90}));

  Bitmap color;
  make_picture(color, 3, 1, 24, 1, 0);
  ASSERT_EQ(T_SaveRASBitmap("c", color.get(), 24), T_OK);
  EXPECT_EQ(disk.files["c"], join({be32(0x59A66A95),
                                   be32(3),
                                   be32(1),
                                   be32(24),
                                   be32(9),
                                   be32(1),
                                   be32(0),
                                   be32(0),
                                   pixels(color.get()),
                                   {0}}));
  EXPECT_EQ(T_SaveFile("a", color.get(), T_FORMAT_RAS, 16, 0, 0, 1, 0), T_ERR_DEPTH);

  const Variant others(1);
  ASSERT_EQ(T_SaveRASBitmap("a", gray.get(), 8), T_OK);
  EXPECT_EQ(Bytes(file.begin() + 16, file.begin() + 20), be32(60000));
}

TEST(Ras, BlackAndWhiteNeedNoMapForOtherPrograms) {
  const Variant others(1);
  for (const uint8_t first : {0, 255}) {
    Disk disk;
    Bitmap picture;
    make_picture(picture, 9, 3, 1);
    const auto second = static_cast<uint8_t>(255 - first);
    picture->Info.Palette[0] = {first, first, first, 0};
    picture->Info.Palette[1] = {second, second, second, 0};
    ASSERT_EQ(T_SaveRASBitmap("a", picture.get(), 1), T_OK);
    const Bytes& file = disk.files["a"];
    EXPECT_EQ(file.size(), 32 + 3 * 2u);
    EXPECT_EQ(Bytes(file.begin() + 24, file.begin() + 32), Bytes(8, 0));
    Bitmap back;
    ASSERT_EQ(T_LoadRASBitmap("a", back.get()), T_OK);
    EXPECT_EQ(rgb(back.get()), rgb(picture.get()));
  }
}

TEST(Ras, RunsCountAsTheVariantSays) {
  RasFile ras{.width = 5, .height = 2, .depth = 8, .type = 2};
  ras.data = {0x80, 0, 7, 0x80, 3, 0x41, 9, 0x80, 5, 0x42};  // rows of 6 bytes
  Bitmap cut;
  ASSERT_EQ(load(ras_file(ras), cut), T_ERR_READ);
  Bitmap exact;
  ras.data.insert(ras.data.end(), {1, 1});
  ASSERT_EQ(load(ras_file(ras), exact), T_OK);
  EXPECT_EQ(pixels(exact.get()), (Bytes{0x80, 7, 0x41, 0x41, 0x41, 0x42, 0x42, 0x42, 0x42, 0x42}));

  const Variant others(1);
  Bitmap one_more;
  ASSERT_EQ(load(ras_file(ras), one_more), T_OK);
  EXPECT_EQ(pixels(one_more.get()), (Bytes{0x80, 7, 0x41, 0x41, 0x41, 9, 0x42, 0x42, 0x42, 0x42}));
}

// Literals and runs of every length across rows, against one byte at a time.
TEST(Ras, LongDataDecodeAsOneByteAtATime) {
  for (const int32_t variant : {0, 1}) {
    const Variant set(variant);
    for (const uint32_t width : {1u, 2u, 15u, 64u, 301u}) {
      SCOPED_TRACE(testing::Message() << "variant " << variant << ", width " << width);
      RasFile ras{.width = width, .height = 250, .depth = 8, .type = 2};
      const size_t line = (width + 1) / 2 * 2;
      Random random(width);
      Bytes decoded;
      while (decoded.size() < line * 250) {
        const uint32_t kind = random.below(4);
        if (kind == 0) {
          const auto count = static_cast<uint8_t>(1 + random.below(random.below(2) == 0 ? 4 : 255));
          const auto value = static_cast<uint8_t>(random.next());
          ras.data.insert(ras.data.end(), {0x80, count, value});
          decoded.insert(decoded.end(), count + variant, value);
        } else if (kind == 1) {
          ras.data.insert(ras.data.end(), {0x80, 0});
          decoded.push_back(0x80);
        } else {
          for (uint32_t n = random.below(40); n > 0; --n) {
            const auto value = static_cast<uint8_t>(random.below(128));
            ras.data.push_back(value);
            decoded.push_back(value);
          }
        }
      }
      Bytes want;
      for (size_t y = 0; y < 250; ++y) {
        want.insert(want.end(), decoded.begin() + y * line, decoded.begin() + y * line + width);
      }
      Bitmap bitmap;
      ASSERT_EQ(load(ras_file(ras), bitmap), T_OK);
      ASSERT_EQ(pixels(bitmap.get()), want);
    }
  }
}

TEST(Ras, MapsOrdersAndDefaults) {
  RasFile ras{.width = 2,
              .height = 1,
              .depth = 24,
              .type = 3,
              .map_type = 1,
              .map = Bytes(6, 1),
              .data = {1, 2, 3, 4, 5, 6}};
  Bitmap red_first;
  ASSERT_EQ(load(ras_file(ras), red_first), T_OK);
  EXPECT_EQ(red_first->Order, T_ORDER_RGB);
  EXPECT_EQ(rgb(red_first.get()), (Bytes{1, 2, 3, 4, 5, 6}));
  ras.type = 0;
  Bitmap blue_first;
  ASSERT_EQ(load(ras_file(ras), blue_first), T_OK);
  EXPECT_EQ(rgb(blue_first.get()), (Bytes{3, 2, 1, 6, 5, 4}));

  ras = {.width = 2,
         .height = 1,
         .depth = 8,
         .map_type = 1,
         .map = {1, 2, 3, 4, 5, 6},
         .data = {1, 0}};
  Bitmap mapped;
  ASSERT_EQ(load(ras_file(ras), mapped), T_OK);
  EXPECT_EQ(mapped->Colors, 2u);
  EXPECT_EQ(rgb(mapped.get()), (Bytes{2, 4, 6, 1, 3, 5}));
  ras.map_type = 2;  // a map of unknown meaning
  Bitmap raw;
  ASSERT_EQ(load(ras_file(ras), raw), T_OK);
  EXPECT_EQ(rgb(raw.get()), (Bytes{1, 1, 1, 0, 0, 0}));
  EXPECT_NE(raw->Flags & T_FLAG_GRAY, 0u);

  const RasFile bits{.width = 2, .height = 1, .depth = 1, .data = {0x40, 0}};
  const RasFile spare{.width = 1, .height = 1, .depth = 32, .data = {1, 2, 3, 4}};
  for (const int32_t variant : {0, 1}) {
    const Variant set(variant);
    Bitmap two;
    ASSERT_EQ(load(ras_file(bits), two), T_OK);
    EXPECT_EQ(rgb(two.get()),
              variant == 0 ? (Bytes{0, 0, 0, 255, 255, 255}) : (Bytes{255, 255, 255, 0, 0, 0}));
    Bitmap four;
    ASSERT_EQ(load(ras_file(spare), four), T_OK);
    EXPECT_EQ(rgb(four.get()), variant == 0 ? (Bytes{3, 2, 1}) : (Bytes{4, 3, 2}));
    Disk disk;
    ASSERT_EQ(T_SaveRASBitmap("a", four.get(), 32), T_OK);
    EXPECT_EQ(disk.files["a"][32], variant == 0 ? 1 : 0);
    Bitmap back;
    ASSERT_EQ(T_LoadRASBitmap("a", back.get()), T_OK);
    EXPECT_EQ(rgb(back.get()), rgb(four.get()));
  }
}

TEST(Ras, TypesOtherThanRunsAreRowsAsStored) {
  const struct {
    uint32_t type;
    const char* compression;
  } cases[] = {{0, "None"},         {1, "None"}, {3, "None"},     {4, "Embedded TIFF"},
               {5, "Embedded IFF"}, {6, "None"}, {0xFFFF, "None"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.type);
    const Bytes file = ras_file(
        {.width = 2, .height = 1, .depth = 24, .type = c.type, .data = {0x80, 1, 2, 3, 4, 5}});
    FILEINFO info;
    ASSERT_EQ(T_FileInfoMemory(file.data(), &info, static_cast<uint32_t>(file.size())), T_OK);
    EXPECT_STREQ(info.Compression, c.compression);
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK);
    EXPECT_EQ(bitmap->Order, c.type == 3 ? T_ORDER_RGB : T_ORDER_BGR);
    EXPECT_EQ(pixels(bitmap.get()), (Bytes{0x80, 1, 2, 3, 4, 5}));
  }
}

TEST(Ras, BadHeadersAndCutFiles) {
  const Bytes good = ras_file({.width = 2,
                               .height = 1,
                               .depth = 8,
                               .map_type = 1,
                               .map = {1, 2, 3, 4, 5, 6},
                               .data = {1, 0}});
  const auto direct = [](const Bytes& file) { return read_directly(T_LoadRASFile, file); };
  EXPECT_EQ(direct(good), T_OK);
  expect_answers(T_LoadRASFile, good,
                 {{"magic", 3, 0x94, T_ERR_BAD_DATA},
                  {"no width", 7, 0, T_ERR_BAD_DATA},
                  {"width above INT32_MAX", 4, 0x80, T_ERR_BAD_DATA},
                  {"no height", 11, 0, T_ERR_BAD_DATA},
                  {"2 bits", 15, 2, T_ERR_BAD_DATA},
                  {"16 bits", 15, 16, T_ERR_BAD_DATA},
                  {"type 4", 23, 4, T_OK},
                  {"type 0xFFFF", 22, 0xFF, T_OK},
                  {"high half of the type", 20, 9, T_OK},
                  {"high half of the map length", 28, 9, T_OK}});
  for (size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(direct(Bytes(good.begin(), good.begin() + length)),
              length < 16 ? T_ERR_BAD_DATA : T_ERR_READ)
        << length;
  }
  EXPECT_EQ(T_SetRASVariant(2), T_ERR_ARGUMENT);
  // Rows of a gigabyte that cannot be in the file, and too many of them.
  EXPECT_EQ(direct(ras_file({.width = 44177, .height = 3866920, .depth = 8, .data = {1, 2}})),
            T_ERR_BAD_DATA);
  EXPECT_EQ(direct(ras_file({.width = 1u << 30, .height = 1, .depth = 24, .data = {1, 2}})),
            T_ERR_BAD_DATA);
  EXPECT_EQ(direct(ras_file(
                {.width = 1u << 30, .height = 1, .depth = 8, .type = 2, .data = {0x80, 9, 1}})),
            T_ERR_BAD_DATA);
}

}  // namespace

FormatCase ras_case() {
  FormatCase ras{"Ras", {}, T_FORMAT_RAS, {1, 4, 8, 24, 32}};
  ras.samples = {
      {"1 bit", ras_file({.width = 9, .height = 2, .depth = 1, .data = {0xA5, 0x80, 0x5A, 0}})},
      {"4 bits", saved_sample(T_FORMAT_RAS, 4, 5, 2)},
      {"8 bits, runs", ras_file({.width = 5,
                                 .height = 2,
                                 .depth = 8,
                                 .type = 2,
                                 .map_type = 1,
                                 .map = {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                 .data = {1, 0x80, 3, 2, 0x80, 6, 0, 1, 0x80, 0, 0}})},
      {"24 bits",
       ras_file({.width = 3, .height = 2, .depth = 24, .type = 3, .data = Bytes(20, 0x31)})},
      {"32 bits", saved_sample(T_FORMAT_RAS, 32, 2, 2)},
  };
  return ras;
}

}  // namespace tavo::test
