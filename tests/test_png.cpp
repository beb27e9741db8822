// PNG: what each colour type becomes, interlacing, opacity, damage, and what is written.
#include <gtest/gtest.h>

#include <algorithm>

#include "base/crc32.h"
#include "codec/row_filters.h"
#include "format_cases.h"
#include "processor_levels.h"

namespace tavo::test {
namespace {

Bytes chunk(std::string_view type, const Bytes& data) {
  const Bytes body = join({text(type), data});
  return join({be32(static_cast<uint32_t>(data.size())), body, be32(crc32(0, body))});
}

Bytes ihdr(uint32_t width, uint32_t height, uint8_t bits, uint8_t color, uint8_t interlace = 0) {
  return chunk("IHDR", join({be32(width), be32(height), {bits, color, 0, 0, interlace}}));
}

const Bytes kSignature = hex("89504E470D0A1A0A");

// `raw` are rows with their filter types.
Bytes png_file(const Bytes& head, const Bytes& raw, const Bytes& before_data = {}) {
  return join(
      {kSignature, head, before_data, chunk("IDAT", deflate_stored(raw)), chunk("IEND", {})});
}

struct Delivered {
  const char* what;
  Bytes file;
  int32_t bits;
  const char* pixels;
};

TEST(Png, EveryColourTypeBecomesItsDepth) {
  const Bytes palette = chunk("PLTE", hex("102030 405060 708090 A0B0C0"));
  const auto gray = [](uint8_t bits, const char* raw) {
    return png_file(ihdr(3, 1, bits, 0), hex(raw));
  };
  const Delivered cases[] = {
      {"1 bit, bits behind", gray(1, "00 BF"), 1, "A0"},
      {"2 bits", gray(2, "00 1B"), 4, "0120"},
      {"4 bits", gray(4, "00 1239"), 4, "1230"},
      {"16 bits are rounded", gray(16, "00 0080 0081 FFFF"), 8, "00 01 FF"},
      {"indices", png_file(ihdr(3, 1, 2, 3), hex("00 1B"), palette), 4, "0120"},
      {"colours", png_file(ihdr(1, 1, 8, 2), hex("00 010203")), 24, "010203"},
      {"colours of 16 bits", png_file(ihdr(1, 1, 16, 2), hex("00 0101 0202 FF7E")), 24, "0102FE"},
      {"grey before white", png_file(ihdr(2, 1, 8, 4), hex("00 1000 1080")), 8, "FF 87"},
      {"colours before white", png_file(ihdr(2, 1, 8, 6), hex("00 01020300 010203FF")), 24,
       "FFFFFF 010203"},
      {"before a background",
       png_file(ihdr(1, 1, 8, 6), hex("00 01020300"), chunk("bKGD", hex("0004 0005 0006"))), 24,
       "040506"},
      {"a transparent colour",
       png_file(ihdr(2, 1, 8, 2), hex("00 010203 010204"), chunk("tRNS", hex("0001 0002 0003"))),
       24, "FFFFFF 010204"},
  };
  for (const Delivered& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(c.file, bitmap, 0, T_ORDER_RGB), T_OK) << c.what;
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), hex(c.pixels)) << c.what;
  }
}

TEST(Png, OpacityIsTheFourthByteWhenAsked) {
  const Bytes palette = join({chunk("PLTE", hex("102030 405060")), chunk("tRNS", hex("80"))});
  const Delivered cases[] = {
      {"with each pixel", png_file(ihdr(1, 1, 8, 6), hex("00 01020340")), 32, "01020340"},
      {"of 16 bits", png_file(ihdr(1, 1, 16, 4), hex("00 0100 8080")), 32, "01010180"},
      {"of a palette", png_file(ihdr(2, 1, 1, 3), hex("00 40"), palette), 32, "10203080 405060FF"},
      {"of a colour", png_file(ihdr(2, 1, 4, 0), hex("00 12"), chunk("tRNS", hex("0002"))), 32,
       "111111FF 22222200"},
  };
  for (const Delivered& c : cases) {
    Bitmap bitmap, direct;
    ASSERT_EQ(load(c.file, bitmap, 32, T_ORDER_RGB), T_OK) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), hex(c.pixels)) << c.what;
    Rows rows;
    Disk disk;
    disk.files["in"] = c.file;
    ASSERT_EQ(T_LoadPNGFile("in", direct.get(), Rows::sink, 32, &rows), T_OK);
    EXPECT_EQ(part(rows.bytes, 0, hex(c.pixels).size()), hex(c.pixels)) << c.what;
  }
}

TEST(Png, WhatStandsBesideThePixelsIsTold) {
  const Bytes extras = join(
      {chunk("pHYs", join({be32(11811), be32(5906), {1}})), chunk("iCCP", {1}), chunk("eXIf", {1}),
       chunk("iTXt", join({text("XML:com.adobe.xmp"), {0}})), chunk("tEXt", {65})});
  const FILEINFO info = info_of(png_file(ihdr(2, 1, 8, 6), Bytes(9), extras));
  EXPECT_EQ(info.XResolution, 300);
  EXPECT_EQ(info.YResolution, 150);
  EXPECT_EQ(info.Extras, T_EXTRA_ALPHA | T_EXTRA_ICC | T_EXTRA_EXIF | T_EXTRA_XMP);
  EXPECT_STREQ(info.Compression, "Deflate");
  // What is told beyond the palette is of no colour.
  const Bytes opaque = join({chunk("PLTE", Bytes(6)), chunk("tRNS", hex("FFFF00"))});
  EXPECT_EQ(info_of(png_file(ihdr(2, 1, 1, 3), hex("00 40"), opaque)).Extras, 0u);
}

// Of 3 x 2 pixels in the file's order: (0, 0), none, none, (2, 0), none, (1, 0), row 1.
TEST(Png, InterlacedRowsComeInTheirPlaces) {
  const Bytes raw = hex("00 01 00 03 00 02 00 040506");
  const Bytes file = png_file(ihdr(3, 2, 8, 0, 1), raw);
  Bitmap bitmap;
  ASSERT_EQ(load(file, bitmap), T_OK);
  EXPECT_EQ(pixels(bitmap.get()), hex("010203 040506"));
  // Without the last pass its pixels are those above.
  Bitmap cut;
  EXPECT_EQ(load(png_file(ihdr(3, 2, 8, 0, 1), part(raw, 0, 6)), cut), T_ERR_READ);
  EXPECT_EQ(pixels(cut.get()), hex("010203 010203"));
}

TEST(Png, DamageIsToldWhereItMatters) {
  const Bytes raw = hex("00 010203 00 040506");
  const Bytes head = ihdr(1, 2, 8, 2);
  const auto damaged = [](Bytes c) {
    c.back() ^= 1;
    return c;
  };
  const Bytes data = chunk("IDAT", deflate_stored(raw)), end = chunk("IEND", {});
  const struct {
    const char* what;
    Bytes chunks;
    int32_t want;
    int32_t rows;
  } cases[] = {
      {"all is well", join({head, data, end}), T_OK, 2},
      {"no end", join({head, data}), T_OK, 2},
      {"in pieces",
       join({head, chunk("IDAT", {}), chunk("IDAT", part(deflate_stored(raw), 0, 9)),
             chunk("IDAT", part(deflate_stored(raw), 9)), end}),
       T_OK, 2},
      {"what may be passed over", join({head, damaged(chunk("pHYs", Bytes(9))), data, end}), T_OK,
       2},
      {"header", join({damaged(head), data, end}), T_ERR_BAD_DATA, 0},
      {"data", join({head, damaged(data), end}), T_ERR_BAD_DATA, 2},
      {"first of two",
       join({head, damaged(chunk("IDAT", part(deflate_stored(raw), 0, 13))),
             chunk("IDAT", part(deflate_stored(raw), 13)), end}),
       T_ERR_BAD_DATA, 1},
      {"data end", join({head, chunk("IDAT", part(deflate_stored(raw), 0, 13)), end}), T_ERR_READ,
       1},
      {"filter type", join({head, chunk("IDAT", deflate_stored(hex("00 010203 05 000000")))}),
       T_ERR_BAD_DATA, 1},
      {"a chunk that nobody knows", join({head, chunk("NEWC", {}), data}), T_ERR_SUBTYPE, 0},
      {"no palette", join({ihdr(1, 2, 8, 3), data}), T_ERR_BAD_DATA, 0},
      {"depth", join({ihdr(1, 2, 4, 2), data}), T_ERR_BAD_DATA, 0},
      {"claims", join({ihdr(100000, 100000, 8, 2), data}), T_ERR_BAD_DATA, 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(read_directly(T_LoadPNGFile, join({kSignature, c.chunks})), c.want) << c.what;
    EXPECT_EQ(T_GetRowsRead(), c.rows) << c.what;
  }
}

// Every filter of every pixel size comes back, by every processor's own code as by the others'.
TEST(Png, FiltersAreUndone) {
  Random random(9);
  for (const platform::Processor level : processor_levels()) {
    const LimitedProcessor limited(level);
    for (const size_t pixel : {1, 2, 3, 4, 6, 8}) {
      for (const size_t count : {1, 2, 7, 33}) {
        const size_t size = pixel * count;
        const auto row = [&] {
          Bytes bytes(filters::kFront + size + filters::kSlack);
          for (size_t i = 0; i < size; ++i) bytes[filters::kFront + i] = random.byte();
          return bytes;
        };
        const Bytes here = row(), above = row();
        const std::span<const uint8_t> bytes(here.data() + filters::kFront, size);
        const uint8_t* const up = above.data() + filters::kFront;
        for (uint8_t f = 0; f < filters::kFilterCount; ++f) {
          Bytes out(size + filters::kSlack);
          filters::apply(filters::Filter{f}, bytes, up, pixel, out.data());
          filters::undo(filters::Filter{f}, std::span(out).first(size), up, pixel);
          EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), out.begin())) << +f << " " << pixel;
        }
      }
    }
  }
}

TEST(Png, LevelsAndProcessorsWriteTheSamePicture) {
  Bitmap picture;
  make_picture(picture, 301, 90, 24);
  picture->XResolution = 300;
  Bytes first[3];
  for (const platform::Processor level : processor_levels()) {
    const LimitedProcessor limited(level);
    for (const int32_t deflate : {T_LEVEL_DEFAULT, T_LEVEL_FAST, T_LEVEL_SMALL}) {
      Disk disk;
      T_SetDeflateLevel(deflate);
      T_SaveFile("out", picture.get(), T_FORMAT_PNG, 24, 0, T_SAVE_KEEP_RESOLUTION, 0, 0);
      T_SetDeflateLevel(T_LEVEL_DEFAULT);
      const Bytes& file = disk.files["out"];
      Bytes& want = first[deflate];
      if (want.empty()) want = file;
      EXPECT_EQ(file, want);
      Bitmap loaded;
      ASSERT_EQ(load(file, loaded), T_OK);
      EXPECT_EQ(rgb(loaded.get()), rgb(picture.get()));
      EXPECT_EQ(loaded->XResolution, 300);
    }
  }
  EXPECT_LT(first[T_LEVEL_SMALL].size(), first[T_LEVEL_DEFAULT].size());
  EXPECT_LT(first[T_LEVEL_DEFAULT].size(), first[T_LEVEL_FAST].size());
}

TEST(Png, OpacityIsWrittenWhereThereIsAny) {
  const Bytes file = png_file(ihdr(2, 1, 8, 6), hex("00 01020340 050607FF"));
  Disk disk;
  disk.files["in"] = file;
  Bitmap loaded;
  ASSERT_EQ(T_StreamFile("in", "out", T_FORMAT_PNG, 32, 0), T_OK);
  ASSERT_EQ(load(disk.files["out"], loaded, 32, T_ORDER_RGB), T_OK);
  EXPECT_EQ(pixels(loaded.get()), hex("01020340 050607FF"));
  // Where no pixel has any, all are opaque, be it known before the first data are written or not.
  for (const int32_t width : {1, 40, 5000}) {
    Bitmap clear, shown;
    make_picture(clear, width, 30, 32);
    T_AccessBitmap(clear.get());
    for (uint32_t i = 3; i < clear->Size; i += 4) static_cast<uint8_t*>(clear->Data)[i] = 0;
    T_ReleaseBitmap(clear.get());
    ASSERT_EQ(T_SavePNGBitmap("out", clear.get(), 32), T_OK);
    ASSERT_EQ(load(disk.files["out"], shown), T_OK);
    EXPECT_EQ(rgb(shown.get()), rgb(clear.get()));
  }
  // Pixels of fewer bits have none, and their spare byte would hide them.
  Bitmap opaque;
  make_picture(opaque, 5, 5, 24);
  ASSERT_EQ(T_SavePNGBitmap("out", opaque.get(), 32), T_OK);
  EXPECT_EQ(info_of(disk.files["out"]).Extras, 0u);
}

}  // namespace

FormatCase png_case() {
  FormatCase png{"PNG", {}, T_FORMAT_PNG, {1, 4, 8, 24}};
  const Bytes palette = chunk("PLTE", hex("102030 405060 708090 A0B0C0"));
  png.samples = {
      {"1 bit", saved_sample(T_FORMAT_PNG, 1, 9, 3)},
      {"indices", png_file(ihdr(3, 2, 2, 3), hex("00 1B 00 E4"), palette)},
      {"8 bits", saved_sample(T_FORMAT_PNG, 8, 5, 3)},
      {"24 bits", saved_sample(T_FORMAT_PNG, 24, 5, 3)},
      {"16 bits", png_file(ihdr(1, 2, 16, 2), hex("00 010203040506 04 070809101112"))},
      {"white with opacity", png_file(ihdr(2, 2, 8, 4), hex("00 FF01 FF02 02 0010 00F0"))},
      {"interlaced", png_file(ihdr(3, 2, 8, 0, 1), hex("00 01 00 03 00 02 00 040506"))},
  };
  return png;
}

}  // namespace tavo::test
