// Sun raster: what is written byte for byte, run counting in both variants, maps, damaged headers.
#include <gtest/gtest.h>

#include "format_cases.h"

namespace tavo::test {
namespace {

struct Variant {
  explicit Variant(int32_t variant) { T_SetRASVariant(variant); }
  ~Variant() { T_SetRASVariant(0); }
};

Bytes ras_file(uint32_t width, uint32_t height, uint32_t depth, uint32_t type, const Bytes& data,
               const Bytes& map = {}, uint32_t map_type = 1) {
  return join({be32(0x59A66A95), be32(width), be32(height), be32(depth), be32(data.size()),
               be32(type), be32(map.empty() ? 0 : map_type), be32(map.size()), map, data});
}

Bytes rgb_of(const Bytes& file) {
  Bitmap bitmap;
  EXPECT_EQ(load(file, bitmap), T_OK);
  return rgb(bitmap.get());
}

TEST(Ras, WritesExactlyThis) {
  Disk disk;
  for (const uint32_t perspective : {0u, 2u}) {
    Bitmap picture;
    make_picture(picture, 9, 2, 1, 1, perspective);
    T_AccessBitmap(picture.get());
    T_PutBitmapRow(picture.get(), hex("A5FF0000 5A7F0909").data(), 0, 8);
    T_ReleaseBitmap(picture.get());
    ASSERT_EQ(T_SaveRASBitmap("a", picture.get(), 1), T_OK);
    const T_PaletteEntry* p = picture->Info.Palette;
    Bytes want = ras_file(9, 2, 1, 1, hex(perspective == 0 ? "A5805A00" : "5A00A580"),
                          {p[0].Red, p[1].Red, p[0].Green, p[1].Green, p[0].Blue, p[1].Blue});
    want[19] = 0;  // the library's own length
    EXPECT_EQ(disk.files["a"], want);
  }
  Bitmap gray, color;
  make_picture(gray, 300, 200, 8);
  gray->Colors = 100;
  ASSERT_EQ(T_SaveRASBitmap("a", gray.get(), 8), T_OK);
  const Bytes& file = disk.files["a"];
  EXPECT_EQ(part(file, 16, 16), hex("00000160 00000001 00000001 0000012C"));
  EXPECT_EQ(file.size(), 32 + 300 + 60000u);
  const Variant others(1);
  ASSERT_EQ(T_SaveRASBitmap("a", gray.get(), 8), T_OK);
  EXPECT_EQ(part(file, 16, 4), be32(60000));
  make_picture(color, 3, 1, 24, 1, 0);
  EXPECT_EQ(T_SaveFile("a", color.get(), T_FORMAT_RAS, 16, 0, 0, 1, 0), T_ERR_DEPTH);
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
    EXPECT_EQ(disk.files["a"].size(), 32 + 3 * 2u);
    EXPECT_EQ(part(disk.files["a"], 24, 8), Bytes(8, 0));
    EXPECT_EQ(rgb_of(disk.files["a"]), rgb(picture.get()));
  }
}

// Literals and runs of every length across rows, against one byte at a time.
TEST(Ras, LongDataDecodeAsOneByteAtATime) {
  for (const int32_t variant : {0, 1}) {
    const Variant set(variant);
    for (const uint32_t width : {1u, 2u, 15u, 64u, 301u}) {
      SCOPED_TRACE(testing::Message() << "variant " << variant << ", width " << width);
      const size_t line = (width + 1) / 2 * 2;
      Random random(width);
      Bytes decoded, data;
      while (decoded.size() < line * 250) {
        const uint32_t kind = random.below(4);
        if (kind == 0) {
          const auto count = static_cast<uint8_t>(1 + random.below(random.below(2) == 0 ? 4 : 255));
          const uint8_t value = random.byte();
          data.insert(data.end(), {0x80, count, value});
          decoded.insert(decoded.end(), count + variant, value);
        } else if (kind == 1) {
          data.insert(data.end(), {0x80, 0});
          decoded.push_back(0x80);
        } else {
          for (uint32_t n = random.below(40); n > 0; --n) {
            data.push_back(static_cast<uint8_t>(random.below(128)));
            decoded.push_back(data.back());
          }
        }
      }
      Bytes want;
      for (size_t y = 0; y < 250; ++y) want = join({want, part(decoded, y * line, width)});
      Bitmap bitmap;
      ASSERT_EQ(load(ras_file(width, 250, 8, 2, data), bitmap), T_OK);
      ASSERT_EQ(pixels(bitmap.get()), want);
    }
  }
}

TEST(Ras, MapsOrdersAndDefaults) {
  const Bytes two = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(rgb_of(ras_file(2, 1, 24, 3, two, Bytes(6, 1))), two);
  EXPECT_EQ(rgb_of(ras_file(2, 1, 24, 0, two, Bytes(6, 1))), (Bytes{3, 2, 1, 6, 5, 4}));
  Bitmap mapped, raw;
  ASSERT_EQ(load(ras_file(2, 1, 8, 1, {1, 0}, two), mapped), T_OK);
  EXPECT_EQ(mapped->Colors, 2u);
  EXPECT_EQ(rgb(mapped.get()), (Bytes{2, 4, 6, 1, 3, 5}));
  ASSERT_EQ(load(ras_file(2, 1, 8, 1, {1, 0}, two, 2), raw), T_OK);  // a map of unknown meaning
  EXPECT_EQ(rgb(raw.get()), (Bytes{1, 1, 1, 0, 0, 0}));
  EXPECT_NE(raw->Flags & T_FLAG_GRAY, 0u);
  for (const int32_t variant : {0, 1}) {
    const Variant set(variant);
    EXPECT_EQ(rgb_of(ras_file(2, 1, 1, 1, {0x40, 0})),
              variant == 0 ? (Bytes{0, 0, 0, 255, 255, 255}) : (Bytes{255, 255, 255, 0, 0, 0}));
    Bitmap four;
    ASSERT_EQ(load(ras_file(1, 1, 32, 1, {1, 2, 3, 4}), four), T_OK);
    EXPECT_EQ(rgb(four.get()), variant == 0 ? (Bytes{3, 2, 1}) : (Bytes{4, 3, 2}));
    Disk disk;
    ASSERT_EQ(T_SaveRASBitmap("a", four.get(), 32), T_OK);
    EXPECT_EQ(disk.files["a"][32], variant == 0 ? 1 : 0);
    EXPECT_EQ(rgb_of(disk.files["a"]), rgb(four.get()));
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
    const Bytes file = ras_file(2, 1, 24, c.type, {0x80, 1, 2, 3, 4, 5});
    EXPECT_STREQ(info_of(file).Compression, c.compression);
    Bitmap bitmap;
    ASSERT_EQ(load(file, bitmap), T_OK);
    EXPECT_EQ(bitmap->Order, c.type == 3 ? T_ORDER_RGB : T_ORDER_BGR);
    EXPECT_EQ(pixels(bitmap.get()), (Bytes{0x80, 1, 2, 3, 4, 5}));
  }
}

TEST(Ras, BadHeadersAndCutFiles) {
  const Bytes good = ras_file(2, 1, 8, 1, {1, 0}, {1, 2, 3, 4, 5, 6});
  const auto direct = [](const Bytes& file) { return read_directly(T_LoadRASFile, file); };
  EXPECT_EQ(direct(good), T_OK);
  expect_answers(T_LoadRASFile, good,
                 {{"magic", 3, 0x94, T_ERR_BAD_DATA},
                  {"no width", 7, 0, T_ERR_BAD_DATA},
                  {"width above INT32_MAX", 4, 0x80, T_ERR_BAD_DATA},
                  {"no height", 11, 0, T_ERR_BAD_DATA},
                  {"2 bits", 15, 2, T_ERR_BAD_DATA},
                  {"16 bits", 15, 16, T_ERR_BAD_DATA},
                  {"high half of the type", 20, 9, T_OK},
                  {"high half of the map length", 28, 9, T_OK}});
  for (size_t length = 0; length < good.size(); ++length) {
    EXPECT_EQ(direct(part(good, 0, length)), length < 16 ? T_ERR_BAD_DATA : T_ERR_READ) << length;
  }
  EXPECT_EQ(T_SetRASVariant(2), T_ERR_ARGUMENT);
  // Rows of a gigabyte that cannot be in the file, and too many of them.
  EXPECT_EQ(direct(ras_file(44177, 3866920, 8, 1, {1, 2})), T_ERR_BAD_DATA);
  EXPECT_EQ(direct(ras_file(1u << 30, 1, 24, 1, {1, 2})), T_ERR_BAD_DATA);
  EXPECT_EQ(direct(ras_file(1u << 30, 1, 8, 2, {0x80, 9, 1})), T_ERR_BAD_DATA);
}

}  // namespace

FormatCase ras_case() {
  FormatCase ras{"Ras", {}, T_FORMAT_RAS, {1, 4, 8, 24, 32}};
  ras.samples = {
      {"1 bit", ras_file(9, 2, 1, 1, hex("A5805A00"))},
      {"4 bits", saved_sample(T_FORMAT_RAS, 4, 5, 2)},
      {"runs", ras_file(5, 2, 8, 2, hex("018003 028006 0001 800000"), hex("010203040506070809"))},
      {"24 bits", ras_file(3, 2, 24, 3, Bytes(20, 0x31))},
      {"32 bits", saved_sample(T_FORMAT_RAS, 32, 2, 2)},
  };
  return ras;
}

}  // namespace tavo::test
