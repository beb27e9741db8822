// PCX and DCX: what is written byte for byte, runs, planes, palettes, pages, damaged files.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"

namespace tavo::test {

Bytes pcx_file(const PcxFile& pcx) {
  Bytes palette = pcx.palette;
  palette.resize(48);
  return join({{10, 5, 1, pcx.plane_bits},
               le16(4),
               le16(6),
               le16(pcx.width + 3u),
               le16(pcx.height + 5u),
               le16(150),
               le16(75),
               palette,
               {0, pcx.planes},
               le16(pcx.line_bytes),
               Bytes(60, 0),
               pcx.data,
               pcx.trailer});
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

// Decodes one byte at a time; runs of any length may go anywhere.
Bytes decode_slowly(const Bytes& coded, size_t size) {
  Bytes out;
  for (size_t i = 0; i < coded.size() && out.size() < size; ++i) {
    const bool is_run = coded[i] >= 0xC0;
    const size_t count = is_run ? coded[i] & 63u : 1;
    if (is_run && ++i == coded.size()) break;
    out.insert(out.end(), count, coded[i]);
  }
  out.resize(size);
  return out;
}

// Codes one byte at a time, each line for itself.
Bytes encode_slowly(const Bytes& line) {
  Bytes out;
  for (size_t i = 0; i < line.size();) {
    size_t count = 1;
    while (count < 63 && i + count < line.size() && line[i + count] == line[i]) ++count;
    if (count > 1 || line[i] >= 0xC0) out.push_back(static_cast<uint8_t>(0xC0 | count));
    out.push_back(line[i]);
    i += count;
  }
  return out;
}

void put_row(BitmapHandle* bitmap, const Bytes& row, uint32_t y) {
  T_AccessBitmap(bitmap);
  T_PutBitmapRow(bitmap, row.data(), y, static_cast<uint32_t>(row.size()));
  T_ReleaseBitmap(bitmap);
}

Bytes part(const Bytes& all, size_t from, size_t size) {
  return {all.begin() + static_cast<ptrdiff_t>(from),
          all.begin() + static_cast<ptrdiff_t>(from + size)};
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
  const Bytes head = join({{10, 5, 1, 8},
                           le32(0),
                           le16(2),
                           le16(1),
                           le16(300),
                           le16(0),
                           Bytes(48, 0),
                           {0, 3},
                           le16(4),
                           le16(1),
                           Bytes(58, 0)});
  // Each plane's line has a zero behind it, being odd.
  EXPECT_EQ(disk.files["a"], join({head,
                                   {0xC3, 1, 0, 7, 8, 9, 0, 0xBF, 0xC2, 0xC0, 0},
                                   {0xC3, 5, 0, 0xC3, 5, 0, 0xC3, 5, 0}}));
  T_ReleaseBitmap(picture.get());

  Bitmap bits;
  make_picture(bits, 9, 1, 1);
  put_row(bits.get(), {0xFF, 0xFF}, 0);  // the last seven bits are padding
  ASSERT_EQ(T_SavePCXBitmap("b", bits.get(), 1), T_OK);
  Bytes file = disk.files["b"];
  const T_PaletteEntry* colors = bits->Info.Palette;
  EXPECT_EQ(part(file, 16, 6), (Bytes{colors[0].Red, colors[0].Green, colors[0].Blue, colors[1].Red,
                                      colors[1].Green, colors[1].Blue}));
  EXPECT_EQ(file[3], 1);
  EXPECT_EQ(file[65], 1);
  EXPECT_EQ(part(file, 66, 2), le16(2));
  EXPECT_EQ(part(file, kHeader, file.size() - kHeader), (Bytes{0xC1, 0xFF, 0x80}));

  Bitmap indices;
  make_picture(indices, 200, 1, 8);
  put_row(indices.get(), Bytes(200, 0x41), 0);
  ASSERT_EQ(T_SavePCXBitmap("c", indices.get(), 8), T_OK);
  file = disk.files["c"];
  EXPECT_EQ(part(file, 16, 48), Bytes(48, 0));
  EXPECT_EQ(part(file, kHeader, 9), (Bytes{0xFF, 0x41, 0xFF, 0x41, 0xFF, 0x41, 0xCB, 0x41, 12}));
  ASSERT_EQ(file.size(), kHeader + 8 + 769);
  EXPECT_EQ(file.back(), indices->Info.Palette[255].Blue);

  // 8 bits brought to 4 get grey levels, others keep their palette.
  T_AccessBitmap(indices.get());
  ASSERT_EQ(T_SaveFile("d", indices.get(), T_FORMAT_PCX, 4, 0, 0, 1, 0), T_OK);
  for (const int32_t depth : {2, 16, 32}) {
    EXPECT_EQ(T_SaveFile("e", indices.get(), T_FORMAT_PCX, depth, 0, 0, 1, 0), T_ERR_DEPTH);
  }
  T_ReleaseBitmap(indices.get());
  for (uint8_t i = 0; i < 16; ++i) {
    EXPECT_EQ(part(disk.files["d"], 16 + 3u * i, 3), Bytes(3, static_cast<uint8_t>(17 * i)));
  }
  EXPECT_EQ(T_SavePCXBitmap(nullptr, indices.get(), 8), T_ERR_NAME);
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
      Bitmap loaded;
      ASSERT_EQ(T_LoadBitmap("a", loaded.get(), 0, -1), T_OK);
      EXPECT_EQ(rgb(loaded.get()), rgb(picture.get())) << bits << " as " << depth;
    }
  }
}

// Noise, runs of every length around the limits of a run and of a block, in lines of many lengths.
TEST(Pcx, LinesAreCodedAndDecodedAsOneByteAtATime) {
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
        const uint32_t kind = random.below(4);
        line.insert(line.end(),
                    kind < 2    ? 1
                    : kind == 2 ? 1 + random.below(4)
                                : random.below(140),
                    value);
      }
      line.resize(static_cast<size_t>(width));
      put_row(picture.get(), line, y);
      if (width % 2 != 0) line.push_back(0);
      const Bytes coded = encode_slowly(line);
      want.insert(want.end(), coded.begin(), coded.end());
    }
    ASSERT_EQ(T_SavePCXBitmap("a", picture.get(), 8), T_OK);
    const Bytes& file = disk.files["a"];
    ASSERT_EQ(part(file, kHeader, file.size() - kHeader - 769), want) << width;
    Bitmap back;
    ASSERT_EQ(T_LoadPCXBitmap("a", back.get()), T_OK);
    EXPECT_EQ(pixels(back.get()), pixels(picture.get())) << width;
  }
}

// Runs of every length, none included, that go on in other planes and rows.
TEST(Pcx, RunsCrossLinesAndPlanes) {
  for (const uint16_t width : {1, 5, 16, 17, 33, 100, 260}) {
    for (const uint8_t planes : {1, 3, 4}) {
      SCOPED_TRACE(testing::Message() << width << " wide, " << int{planes} << " planes");
      const auto line = static_cast<uint16_t>(width + width % 3);
      PcxFile pcx{.width = width, .height = 40, .planes = planes, .line_bytes = line};
      Random random(width * 4u + planes);
      const size_t size = size_t{line} * planes * 40;
      for (size_t coded = 0; coded < size;) {
        const uint32_t count = random.below(3) == 0 ? random.below(64) : 1;
        const auto value = static_cast<uint8_t>(random.next());
        if (count != 1 || value >= 0xC0) pcx.data.push_back(static_cast<uint8_t>(0xC0 | count));
        pcx.data.push_back(value);
        coded += count;
      }
      if (planes == 1) pcx.trailer = gray_trailer();
      const Bytes lines = decode_slowly(pcx.data, size);
      Bytes want;
      for (size_t y = 0; y < 40; ++y) {
        const uint8_t* row = &lines[y * line * planes];
        for (size_t x = 0; x < width; ++x) {
          for (size_t i = 0; i < 3; ++i) want.push_back(row[x + (planes == 1 ? 0 : i * line)]);
        }
      }
      Bitmap bitmap;
      ASSERT_EQ(load(pcx_file(pcx), bitmap), T_OK);
      EXPECT_EQ(bitmap->BitsPerPixel, planes == 1 ? 8 : 24);
      EXPECT_EQ(rgb(bitmap.get()), want);
      Bitmap swapped;
      ASSERT_EQ(load(pcx_file(pcx), swapped, 24, T_ORDER_BGR), T_OK);
      EXPECT_EQ(rgb(swapped.get()), want);
    }
  }
}

TEST(Pcx, PlanesOfOneBitGiveFourBits) {
  Bytes palette(48);
  for (size_t i = 0; i < 48; ++i) palette[i] = static_cast<uint8_t>(i);
  PcxFile pcx{.width = 5, .height = 2, .plane_bits = 1, .line_bytes = 1, .palette = palette};
  pcx.data = {0x90, 0x48, 0x20, 0x08, 0x50, 0x28, 0x18, 0x08};
  const struct {
    uint8_t planes;
    uint32_t colors;
    Bytes want;
  } cases[] = {{4, 16, {0x12, 0x41, 0xA0, 0x01, 0x25, 0xE0}},
               {3, 8, {0x12, 0x41, 0x20, 0x04, 0x23, 0x50}},
               {2, 4, {0x12, 0x01, 0x20, 0x00, 0x10, 0x20}}};
  for (const auto& c : cases) {
    pcx.planes = c.planes;
    Bitmap bitmap;
    ASSERT_EQ(load(pcx_file(pcx), bitmap), T_OK);
    EXPECT_EQ(bitmap->BitsPerPixel, 4);
    EXPECT_EQ(bitmap->Colors, c.colors);
    // The same by the definition, pixel for pixel.
    Bytes want;
    for (size_t y = 0; y < 2; ++y) {
      for (size_t x = 0; x < 5; ++x) {
        uint8_t value = 0;
        for (size_t i = 0; i < c.planes; ++i) {
          value |= static_cast<uint8_t>((pcx.data[y * c.planes + i] >> (7 - x) & 1) << i);
        }
        want.insert(want.end(),
                    {palette[value * 3u], palette[value * 3u + 1u], palette[value * 3u + 2u]});
      }
    }
    EXPECT_EQ(rgb(bitmap.get()), want) << int{c.planes};
  }
}

TEST(Pcx, TwoBitsKeepTheirDepthAndResolutionAndColours) {
  PcxFile pcx{.width = 5, .height = 1, .plane_bits = 2, .line_bytes = 2};
  pcx.palette = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 99};
  pcx.data = {0x1B, 0x80};
  Bitmap bitmap;
  ASSERT_EQ(load(pcx_file(pcx), bitmap), T_OK);
  EXPECT_EQ(bitmap->BitsPerPixel, 2);
  EXPECT_EQ(bitmap->Colors, 4u);
  EXPECT_EQ(bitmap->XResolution, 150);
  EXPECT_EQ(bitmap->YResolution, 75);
  EXPECT_EQ(bitmap->ViewPerspective, 0u);
  const Bytes want = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 7, 8, 9};
  EXPECT_EQ(rgb(bitmap.get()), want);
  Bitmap wide;
  ASSERT_EQ(load(pcx_file(pcx), wide, 4), T_OK);
  EXPECT_EQ(wide->BitsPerPixel, 4);
  EXPECT_EQ(rgb(wide.get()), want);
}

TEST(Pcx, EqualColoursAreBlackAndWhite) {
  PcxFile pcx{.width = 2, .height = 1, .plane_bits = 1, .line_bytes = 2, .data = {0x40, 0}};
  pcx.palette = {9, 8, 7, 9, 8, 7};
  Bitmap equal, different;
  ASSERT_EQ(load(pcx_file(pcx), equal), T_OK);
  EXPECT_EQ(rgb(equal.get()), (Bytes{0, 0, 0, 255, 255, 255}));
  pcx.palette[5] = 6;
  ASSERT_EQ(load(pcx_file(pcx), different), T_OK);
  EXPECT_EQ(rgb(different.get()), (Bytes{9, 8, 7, 9, 8, 6}));
}

TEST(Pcx, WhatIsMissingAtTheEndIsZero) {
  PcxFile pcx{.width = 3, .height = 3, .line_bytes = 4};
  pcx.data = {1, 2, 3, 4, 0xC2, 5, 0xC9};  // ends inside a run
  pcx.trailer = gray_trailer();
  Bitmap gray;
  ASSERT_EQ(load(pcx_file(pcx), gray), T_OK);
  EXPECT_EQ(pixels(gray.get()), (Bytes{1, 2, 3, 5, 5, 0, 0, 0, 0}));
  pcx.planes = 3;
  pcx.trailer = {};
  pcx.data = {1, 2, 3, 4, 5, 6, 0xC5, 0, 0xC2, 9};  // one byte of a run for the second line
  Bitmap color;
  ASSERT_EQ(load(pcx_file(pcx), color), T_OK);
  EXPECT_EQ(part(rgb(color.get()), 0, 15), (Bytes{1, 5, 0, 2, 6, 0, 3, 0, 0, 9, 0, 0, 0, 0, 0}));

  // Two bytes for the most rows there can be.
  pcx = {.width = 16, .height = 65530, .plane_bits = 1, .planes = 3, .line_bytes = 2};
  pcx.palette = {1, 2, 3, 4, 5, 6};
  pcx.data = {0xC2, 0xFF};
  Bytes want;
  for (int i = 0; i < 65530 * 16; ++i) {
    const auto first = static_cast<uint8_t>(i < 16 ? 4 : 1);
    want.insert(want.end(),
                {first, static_cast<uint8_t>(first + 1), static_cast<uint8_t>(first + 2)});
  }
  for (const int32_t bits : {0, 8, 24}) {
    Bitmap high;
    ASSERT_EQ(load(pcx_file(pcx), high, bits, T_ORDER_BGR), T_OK);
    EXPECT_TRUE(rgb(high.get()) == want) << bits;
  }
}

int32_t direct(const Bytes& file, int32_t bits = 24) {
  return read_directly(T_LoadPCXFile, file, bits);
}

TEST(Pcx, DamageGivesTheDocumentedStatus) {
  PcxFile pcx{.width = 3, .height = 2, .line_bytes = 4, .data = Bytes(8, 1)};
  pcx.trailer = gray_trailer();
  const Bytes good = pcx_file(pcx);
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
  pcx.height = pcx.line_bytes = 0xFFF0;  // 4 GB in a kilobyte
  EXPECT_EQ(direct(pcx_file(pcx)), T_ERR_BAD_DATA);
  EXPECT_EQ(direct(Bytes(good.begin(), good.begin() + 127)), T_ERR_BAD_DATA);
  EXPECT_EQ(direct(part(good, 0, 140)), T_ERR_SEEK);
  EXPECT_EQ(direct(part(good, 0, kHeader + 700)), T_ERR_READ);
  Disk disk;
  Bitmap bitmap;
  EXPECT_EQ(T_LoadPCXBitmap("none", bitmap.get()), T_ERR_OPEN);
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
void make_page(Bitmap& bitmap, int32_t bits, uint8_t value, int32_t height = 3) {
  make_picture(bitmap, 7, height, bits, 1, 0);
  const auto line = static_cast<size_t>((7 * bits + 7) / 8);
  for (int32_t y = 0; y < height; ++y) {
    put_row(bitmap.get(), Bytes(line, value), static_cast<uint32_t>(y));
  }
}

int32_t append(const char* name, int32_t bits, uint8_t value, int32_t height = 3) {
  Bitmap page;
  make_page(page, bits, value, height);
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

// Directories that other programs write end where the first page begins.
TEST(Dcx, AShortDirectoryIsLengthened) {
  Disk disk;
  ASSERT_EQ(append("big", 24, 77, 40000), T_OK);  // longer than the pieces that are moved
  ASSERT_EQ(append("one", 8, 66), T_OK);
  const Bytes big = disk.files["big"], one = disk.files["one"];
  disk.files["a"] = join({le32(kMagic), le32(16 + one.size()), le32(16), le32(0), one, big});
  EXPECT_EQ(first_byte("a", 1), 77);
  EXPECT_EQ(first_byte("a", 2), 66);
  ASSERT_EQ(append("a", 8, 55), T_OK);
  EXPECT_EQ(describe("a", 3).PageCount, 3);
  EXPECT_EQ(first_byte("a", 1), 77);
  EXPECT_EQ(first_byte("a", 2), 66);
  EXPECT_EQ(first_byte("a", 3), 55);
  EXPECT_EQ(part(disk.files["a"], kDirectory, one.size() + big.size()), join({one, big}));
  // Now there is room.
  const size_t before = disk.files["a"].size();
  ASSERT_EQ(append("a", 8, 55), T_OK);
  EXPECT_EQ(disk.files["a"].size(), before + one.size());
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
  const Bytes small = pcx_file(
      {.width = 2, .height = 2, .line_bytes = 2, .data = {1, 0xC3, 2}, .trailer = gray_trailer()});
  pcx.samples = {
      {"1 bit", saved_sample(T_FORMAT_PCX, 1, 9, 3)},
      {"2 bits", pcx_file({.width = 5,
                           .height = 1,
                           .plane_bits = 2,
                           .line_bytes = 2,
                           .palette = {9, 2, 3, 4, 5, 6},
                           .data = {0x1B, 0x80}})},
      {"3 planes", pcx_file({.width = 9,
                             .height = 2,
                             .plane_bits = 1,
                             .planes = 3,
                             .line_bytes = 2,
                             .palette = Bytes(48, 0x39),
                             .data = {0xC5, 0x91, 7, 8, 9, 10, 11, 0xC2, 0xFF}})},
      {"4 bits", saved_sample(T_FORMAT_PCX, 4, 5, 3)},
      {"8 bits", small},
      {"24 bits", saved_sample(T_FORMAT_PCX, 24, 3, 3)},
      {"DCX", join({le32(0x3ADE68B1), le32(16), le32(16 + small.size()), le32(0), small, small})},
  };
  return pcx;
}

}  // namespace tavo::test
