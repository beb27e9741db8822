// PCX and DCX: what is written byte for byte, runs, planes, palettes, pages, damaged files.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"

namespace tavo::test {

Bytes pcx_file(uint32_t width, uint32_t height, uint8_t plane_bits, uint8_t planes,
               uint32_t line_bytes, const Bytes& data, Bytes palette, const Bytes& trailer) {
  palette.resize(48);
  return join({{10, 5, 1, plane_bits},
               le16(4),
               le16(6),
               le16(width + 3),
               le16(height + 5),
               le16(150),
               le16(75),
               palette,
               {0, planes},
               le16(line_bytes),
               Bytes(60),
               data,
               trailer});
}

namespace {

constexpr uint32_t kMagic = 0x3ADE68B1;
constexpr size_t kHeader = 128;
constexpr size_t kDirectory = 4100;

Bytes gray_trailer() {
  Bytes trailer = {12};
  for (int i = 0; i < 256; ++i) trailer.insert(trailer.end(), 3, static_cast<uint8_t>(i));
  return trailer;
}

void put_row(BitmapHandle* bitmap, const Bytes& row, uint32_t y) {
  T_AccessBitmap(bitmap);
  T_PutBitmapRow(bitmap, row.data(), y, static_cast<uint32_t>(row.size()));
  T_ReleaseBitmap(bitmap);
}

Bytes rgb_of(const Bytes& file, int32_t bits = 0, int32_t order = -1) {
  Bitmap bitmap;
  EXPECT_EQ(load(file, bitmap, bits, order), T_OK);
  return rgb(bitmap.get());
}

TEST(Pcx, WritesExactlyThis) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 3, 2, 24, 1, 2);  // stored row 1 is the top one
  picture->XResolution = 300;
  picture->YResolution = 0x10000;
  put_row(picture.get(), {1, 7, 0xBF, 1, 8, 0xC0, 1, 9, 0xC0}, 1);
  put_row(picture.get(), {5, 5, 5, 5, 5, 5, 5, 5, 5}, 0);
  picture->Order = T_ORDER_RGB;
  T_AccessBitmap(picture.get());
  ASSERT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_PCX, 24, 0, 0, 1, 0), T_OK);
  // Each plane's line has a zero behind it, being odd.
  EXPECT_EQ(disk.files["a"],
            join({hex("0A050108 00000000 02000100 2C010000"), Bytes(48), hex("0003 0400 0100"),
                  Bytes(58), hex("C30100 07080900 BFC2C000 C30500 C30500 C30500")}));
  T_ReleaseBitmap(picture.get());

  Bitmap bits, indices;
  make_picture(bits, 9, 1, 1);
  put_row(bits.get(), {0xFF, 0xFF}, 0);  // the last seven bits are padding
  ASSERT_EQ(T_SavePCXBitmap("b", bits.get(), 1), T_OK);
  EXPECT_EQ(part(disk.files["b"], 65, 3), hex("01 0200"));
  EXPECT_EQ(part(disk.files["b"], kHeader), hex("C1FF80"));

  // 8 bits brought to 4 get grey levels, others keep their palette.
  make_picture(indices, 200, 1, 8);
  T_AccessBitmap(indices.get());
  ASSERT_EQ(T_SaveFile("d", indices.get(), T_FORMAT_PCX, 4, 0, 0, 1, 0), T_OK);
  for (const int32_t depth : {2, 16, 32}) {
    EXPECT_EQ(T_SaveFile("e", indices.get(), T_FORMAT_PCX, depth, 0, 0, 1, 0), T_ERR_DEPTH);
  }
  T_ReleaseBitmap(indices.get());
  for (uint8_t i = 0; i < 16; ++i) {
    EXPECT_EQ(part(disk.files["d"], 16 + 3u * i, 3), Bytes(3, static_cast<uint8_t>(17 * i)));
  }
}

TEST(Pcx, MoreBitsThanTheBitmapHasAddNoColors) {
  Disk disk;
  for (const int32_t bits : {1, 2, 4}) {
    for (const int32_t depth : {4, 8}) {
      Bitmap picture;
      make_picture(picture, 19, 3, bits);
      T_AccessBitmap(picture.get());
      ASSERT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_PCX, depth, 0, 0, 1, 0), T_OK);
      Bytes want;
      for (int i = 0; i < 1 << bits; ++i) {
        const T_PaletteEntry& c = picture->Info.Palette[i];
        want.insert(want.end(), {c.Red, c.Green, c.Blue});
      }
      want.resize(3u << depth);
      const Bytes& file = disk.files["a"];
      EXPECT_EQ(part(file, depth == 4 ? 16 : file.size() - 768, want.size()), want);
      EXPECT_EQ(rgb_of(file), rgb(picture.get())) << bits << " as " << depth;
    }
  }
}

// Noise, runs of every length around the limits of a run and of a block, in lines of many lengths:
// coded as one byte at a time would be.
TEST(Pcx, LinesAreCodedAsOneByteAtATime) {
  for (const int32_t width : {1, 2, 15, 31, 32, 33, 63, 64, 65, 126, 300, 9000}) {
    Random random(static_cast<uint64_t>(width));
    Disk disk;
    Bitmap picture;
    make_picture(picture, width, 24, 8, 1, 0);
    Bytes want;
    for (uint32_t y = 0; y < 24; ++y) {
      Bytes line;
      while (line.size() < static_cast<size_t>(width)) {
        const auto value = static_cast<uint8_t>(random.next() | (random.below(2) != 0 ? 0xC0 : 0));
        const uint32_t most[] = {1, 1, 4, 139};
        line.insert(line.end(), 1 + random.below(most[random.below(4)]), value);
      }
      line.resize(static_cast<size_t>(width));
      put_row(picture.get(), line, y);
      if (width % 2 != 0) line.push_back(0);
      for (size_t i = 0, count = 1; i < line.size(); i += count, count = 1) {
        while (count < 63 && i + count < line.size() && line[i + count] == line[i]) ++count;
        if (count > 1 || line[i] >= 0xC0) want.push_back(static_cast<uint8_t>(0xC0 | count));
        want.push_back(line[i]);
      }
    }
    ASSERT_EQ(T_SavePCXBitmap("a", picture.get(), 8), T_OK);
    const Bytes& file = disk.files["a"];
    ASSERT_EQ(part(file, kHeader, file.size() - kHeader - 769), want) << width;
    EXPECT_EQ(rgb_of(file), rgb(picture.get())) << width;
  }
}

// Runs of every length, none included, that go on in other planes and rows.
TEST(Pcx, RunsCrossLinesAndPlanes) {
  for (const uint16_t width : {1, 5, 16, 17, 33, 100, 260}) {
    for (const uint8_t planes : {1, 3, 4}) {
      SCOPED_TRACE(testing::Message() << width << " wide, " << int{planes} << " planes");
      const uint32_t line = width + width % 3;
      Random random(width * 4u + planes);
      Bytes data, lines, want;
      while (lines.size() < size_t{line} * planes * 40) {
        const uint32_t count = random.below(3) == 0 ? random.below(64) : 1;
        const uint8_t value = random.byte();
        if (count != 1 || value >= 0xC0) data.push_back(static_cast<uint8_t>(0xC0 | count));
        data.push_back(value);
        lines.insert(lines.end(), count, value);
      }
      for (size_t y = 0; y < 40; ++y) {
        const uint8_t* row = &lines[y * line * planes];
        for (size_t x = 0; x < width; ++x) {
          for (size_t i = 0; i < 3; ++i) want.push_back(row[x + (planes == 1 ? 0 : i * line)]);
        }
      }
      const Bytes file =
          pcx_file(width, 40, 8, planes, line, data, {}, planes == 1 ? gray_trailer() : Bytes());
      Bitmap bitmap;
      ASSERT_EQ(load(file, bitmap), T_OK);
      EXPECT_EQ(bitmap->BitsPerPixel, planes == 1 ? 8 : 24);
      EXPECT_EQ(rgb(bitmap.get()), want);
      EXPECT_EQ(rgb_of(file, 24, T_ORDER_BGR), want);
    }
  }
}

TEST(Pcx, PlanesOfOneBitGiveFourBits) {
  const Bytes data = {0x90, 0x48, 0x20, 0x08, 0x50, 0x28, 0x18, 0x08};
  const struct {
    uint8_t planes;
    uint32_t colors;
    Bytes want;  // indices, five in a row
  } cases[] = {{4, 16, hex("010204010A 000102050E")},
               {3, 8, hex("0102040102 0002040205")},
               {2, 4, hex("0102000102 0000010002")}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(pcx_file(5, 2, 1, c.planes, 1, data), bitmap), T_OK);
    EXPECT_EQ(bitmap->BitsPerPixel, 4);
    EXPECT_EQ(bitmap->Colors, c.colors);
    EXPECT_EQ(indices(bitmap.get()), c.want) << int{c.planes};
  }
}

TEST(Pcx, TwoBitsKeepTheirDepthAndResolutionAndColors) {
  const Bytes palette = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 99};
  const Bytes file = pcx_file(5, 1, 2, 1, 2, {0x1B, 0x80}, palette);
  Bitmap bitmap, wide;
  ASSERT_EQ(load(file, bitmap), T_OK);
  EXPECT_EQ(bitmap->BitsPerPixel, 2);
  EXPECT_EQ(bitmap->Colors, 4u);
  EXPECT_EQ(bitmap->XResolution, 150);
  EXPECT_EQ(bitmap->YResolution, 75);
  EXPECT_EQ(bitmap->ViewPerspective, 0u);
  const Bytes want = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 7, 8, 9};
  EXPECT_EQ(rgb(bitmap.get()), want);
  ASSERT_EQ(load(file, wide, 4), T_OK);
  EXPECT_EQ(wide->BitsPerPixel, 4);
  EXPECT_EQ(rgb(wide.get()), want);
  // Two equal colours of 1 bit are black and white.
  EXPECT_EQ(rgb_of(pcx_file(2, 1, 1, 1, 2, {0x40, 0}, {9, 8, 7, 9, 8, 7})),
            (Bytes{0, 0, 0, 255, 255, 255}));
  EXPECT_EQ(rgb_of(pcx_file(2, 1, 1, 1, 2, {0x40, 0}, {9, 8, 7, 9, 8, 6})),
            (Bytes{9, 8, 7, 9, 8, 6}));
}

TEST(Pcx, WhatIsMissingAtTheEndIsZero) {
  Bitmap gray;  // ends inside a run
  const Bytes file = pcx_file(3, 3, 8, 1, 4, hex("01020304 C205 C9"), {}, gray_trailer());
  ASSERT_EQ(load(file, gray), T_OK);
  EXPECT_EQ(pixels(gray.get()), (Bytes{1, 2, 3, 5, 5, 0, 0, 0, 0}));
  // One byte of a run for the second line.
  EXPECT_EQ(part(rgb_of(pcx_file(3, 3, 8, 3, 4, hex("010203040506 C500 C209"))), 0, 15),
            (Bytes{1, 5, 0, 2, 6, 0, 3, 0, 0, 9, 0, 0, 0, 0, 0}));
  // Two bytes for the most rows there can be.
  const Bytes high = pcx_file(16, 65530, 1, 3, 2, {0xC2, 0xFF}, {1, 2, 3, 4, 5, 6});
  Bytes want;
  for (uint8_t i = 0; i < 48; ++i) want.push_back(static_cast<uint8_t>(4 + i % 3));
  while (want.size() < 65530 * 48u) want.push_back(static_cast<uint8_t>(1 + want.size() % 3));
  for (const int32_t bits : {0, 8, 24})
    EXPECT_TRUE(rgb_of(high, bits, T_ORDER_BGR) == want) << bits;
}

int32_t direct(const Bytes& file, int32_t bits = 24) {
  return read_directly(T_LoadPCXFile, file, bits);
}

TEST(Pcx, DamageGivesTheDocumentedStatus) {
  const Bytes good = pcx_file(3, 2, 8, 1, 4, Bytes(8, 1), {}, gray_trailer());
  EXPECT_EQ(direct(good, 8), T_OK);
  EXPECT_EQ(direct(good, 2), T_ERR_ARGUMENT);
  expect_answers(T_LoadPCXFile, good,
                 {{"manufacturer", 0, 11, T_ERR_BAD_DATA},
                  {"any version", 1, 77, T_OK},
                  {"any encoding", 2, 0, T_OK},
                  {"7 bits", 3, 7, T_ERR_BAD_DATA},
                  {"ends before it begins", 4, 9, T_ERR_BAD_DATA},
                  {"no planes", 65, 0, T_ERR_BAD_DATA},
                  {"two planes of 8 bits", 65, 2, T_ERR_BAD_DATA},
                  {"a short line", 66, 2, T_ERR_BAD_DATA},
                  {"no palette", good.size() - 769, 13, T_ERR_READ}});
  EXPECT_EQ(direct(pcx_file(3, 0xFFF0, 8, 1, 0xFFF0, Bytes(8, 1), {}, gray_trailer())),
            T_ERR_BAD_DATA);  // 4 GB in a kilobyte
  EXPECT_EQ(direct(part(good, 0, 127)), T_ERR_BAD_DATA);
  EXPECT_EQ(direct(part(good, 0, 140)), T_ERR_SEEK);
  EXPECT_EQ(direct(part(good, 0, kHeader + 700)), T_ERR_READ);
  FILEINFO info;
  for (int version = 0; version < 256; ++version) {
    Bytes file = good;
    file[1] = static_cast<uint8_t>(version);
    const bool known = version == 0 || version == 2 || version == 3 || version == 5;
    EXPECT_EQ(T_FileInfoMemory(file.data(), &info, static_cast<uint32_t>(file.size())),
              known ? T_OK : T_ERR_BAD_DATA)
        << version;
  }
}

// ---- DCX ----

// A small picture whose pixels are all `value`.
void make_page(Bitmap& bitmap, int32_t bits, uint8_t value) {
  make_picture(bitmap, 7, 3, bits, 1, 0);
  for (uint32_t y = 0; y < 3; ++y) put_row(bitmap.get(), Bytes(bitmap->BytesPerLine, value), y);
}

int32_t append(const char* name, int32_t bits, uint8_t value) {
  Bitmap page;
  make_page(page, bits, value);
  return T_SaveFile(name, page.get(), T_FORMAT_PCX, bits, 0, T_SAVE_APPEND, 0, 0);
}

// The first pixel byte of a page, or a status.
int32_t first_byte(const char* name, int32_t page) {
  T_SetPageNumber(page);
  Bitmap bitmap;
  const int32_t status = T_LoadBitmap(name, bitmap.get(), 0, -1);
  T_SetPageNumber(1);
  return status == T_OK ? pixels(bitmap.get())[0] : status;
}

FILEINFO describe(const char* name, int32_t page) {
  T_SetPageNumber(page);
  FILEINFO info = {};
  EXPECT_EQ(T_FileInfo(name, &info), T_OK);
  T_SetPageNumber(1);
  return info;
}

TEST(Dcx, AppendingMakesAPcxADcx) {
  Disk disk;
  ASSERT_EQ(append("a", 8, 11), T_OK);  // nothing is there: a plain file
  const Bytes first = disk.files["a"];
  EXPECT_EQ(first[0], 10);
  EXPECT_EQ(describe("a", 5).PageCount, 1);
  ASSERT_EQ(append("a", 24, 22), T_OK);
  const Bytes second = disk.files["a"];
  Bytes directory = join({le32(kMagic), le32(kDirectory), le32(kDirectory + first.size())});
  directory.resize(kDirectory);
  EXPECT_EQ(part(second, 0, kDirectory), directory);
  EXPECT_EQ(part(second, kDirectory, first.size()), first);
  ASSERT_EQ(append("a", 1, 0x55), T_OK);
  EXPECT_EQ(part(disk.files["a"], kDirectory, second.size() - kDirectory),
            part(second, kDirectory, second.size() - kDirectory));
  const int32_t want[] = {11, 22, 0x54};
  for (int32_t page = 1; page <= 5; ++page) {
    EXPECT_EQ(first_byte("a", page) & 0xFE, want[std::min(page, 3) - 1] & 0xFE) << page;
    EXPECT_EQ(describe("a", page).Page, std::min(page, 3));
    EXPECT_EQ(describe("a", page).PageCount, 3);
  }
  // The page number appends, too; without either the file is written anew, and so is another
  // format.
  Bitmap page;
  make_page(page, 8, 44);
  T_SetPageNumber(2);
  EXPECT_EQ(T_SavePCXBitmap("a", page.get(), 8), T_OK);
  T_SetPageNumber(1);
  EXPECT_EQ(describe("a", 4).PageCount, 4);
  EXPECT_EQ(first_byte("a", 4), 44);
  EXPECT_EQ(T_SavePCXBitmap("a", page.get(), 8), T_OK);
  EXPECT_EQ(describe("a", 4).PageCount, 1);
  ASSERT_EQ(T_SaveBitmap("b", page.get(), T_FORMAT_BMP, 8, 0), T_OK);
  ASSERT_EQ(append("b", 8, 3), T_OK);
  EXPECT_EQ(disk.files["b"][0], 10);
}

TEST(Dcx, TheLastPageIsNumber1023) {
  Disk disk;
  ASSERT_EQ(append("one", 8, 66), T_OK);
  const Bytes one = disk.files["one"];
  for (const uint32_t pages : {1022u, 1023u}) {
    Bytes directory = le32(kMagic);
    for (uint32_t i = 0; i < pages; ++i) directory = join({directory, le32(kDirectory)});
    directory.resize(kDirectory);
    disk.files["a"] = join({directory, one});
    EXPECT_EQ(append("a", 8, 33), pages == 1022 ? T_OK : T_ERR_WRITE);
    EXPECT_EQ(describe("a", 2000).PageCount, 1023);
    EXPECT_EQ(first_byte("a", 1023), pages == 1022 ? 33 : 66);
    EXPECT_EQ(first_byte("a", 1), 66);
  }
}

TEST(Dcx, BadDirectoriesGiveAStatus) {
  Disk disk;
  ASSERT_EQ(append("one", 8, 66), T_OK);
  const Bytes one = disk.files["one"];
  const auto size = static_cast<uint32_t>(12 + one.size());
  for (const uint32_t offset :
       {0u, 1u, 4u, 8u, size - 1, size, size + 1, 0x7FFFFFFFu, UINT32_MAX}) {
    disk.files["a"] = join({le32(kMagic), le32(offset), le32(0), one});
    EXPECT_EQ(first_byte("a", 1), T_ERR_BAD_DATA) << offset;
    EXPECT_EQ(direct(disk.files["a"]), T_ERR_BAD_DATA) << offset;
  }
  disk.files["a"] = le32(kMagic);
  EXPECT_EQ(first_byte("a", 1), T_ERR_BAD_DATA);
  // No end: the page's own bytes are taken for offsets, and the same page comes again and again.
  disk.files["a"] = join({le32(kMagic), le32(16), le32(16), le32(16), one});
  EXPECT_EQ(first_byte("a", 3), 66);
}

}  // namespace

FormatCase pcx_case() {
  FormatCase pcx{"Pcx", {}, T_FORMAT_PCX, {1, 4, 8, 24}, true, true};
  const Bytes small = pcx_file(2, 2, 8, 1, 2, {1, 0xC3, 2}, {}, gray_trailer());
  pcx.samples = {
      {"1 bit", saved_sample(T_FORMAT_PCX, 1, 9, 3)},
      {"2 bits", pcx_file(5, 1, 2, 1, 2, {0x1B, 0x80}, {9, 2, 3, 4, 5, 6})},
      {"planes", pcx_file(9, 2, 1, 3, 2, hex("C591 0708090A0B C2FF"), Bytes(48, 0x39))},
      {"4 bits", saved_sample(T_FORMAT_PCX, 4, 5, 3)},
      {"8 bits", small},
      {"24 bits", saved_sample(T_FORMAT_PCX, 24, 3, 3)},
      {"DCX", join({le32(kMagic), le32(16), le32(16 + small.size()), le32(0), small, small})},
  };
  return pcx;
}

}  // namespace tavo::test
