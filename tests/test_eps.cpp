// EPS: previews of every kind, boxes, and what is written.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/endian.h"
#include "format_cases.h"

namespace tavo::test {
namespace {

Bytes comments(std::string_view more = "") {
  return join({text("%!PS-Adobe-3.0 EPSF-3.0\n%%BoundingBox: 0 0 9 3\n"), text(more),
               text("%%EndComments\nshowpage\n")});
}

// The header, the text, and a preview in the TIFF place.
Bytes with_tiff(const Bytes& tiff, const Bytes& postscript = comments()) {
  const auto at = static_cast<uint32_t>(30 + postscript.size());
  return join({hex("C5D0D3C6"), le32(30), le32(postscript.size()), le32(0), le32(0), le32(at),
               le32(tiff.size()), hex("FFFF"), postscript, tiff});
}

constexpr const char* kPreview4 =
    "%%BeginPreview: 3 2 4 2\r% 0F7\r\n%0 0\n%840\n%%EndPreview\nA0 is no digit\n";

TEST(Eps, PreviewsInComments) {
  const struct {
    const char* what;
    const char* preview;
    int32_t bits;
    const char* grays;  // reds of the picture
  } cases[] = {
      {"1 bit", "%%BeginPreview: 9 1 1 1\n% 8 0\n%80\n%%EndPreview\n", 1, "00FFFFFFFFFFFFFF00"},
      {"2 bits", "%%BeginPreview: 4 1 2 1\r% 1B\r%%EndPreview\r", 4, "FFAA5500"},
      {"4 bits, over lines", kPreview4, 4, "FF0088 FF77BB"},
      {"8 bits", "%%BeginPreview: 2 1 8 1\r\n% ff01 7f\r\n%%EndPreview\r\n", 8, "00FE"}};
  for (const auto& c : cases) {
    for (const char* before : {"", "\x04"}) {
      Bitmap bitmap;
      const Bytes file = join({text(before), comments(c.preview)});
      ASSERT_EQ(load(file, bitmap), T_OK) << c.what;
      EXPECT_EQ(bitmap->BitsPerPixel, c.bits) << c.what;
      Bytes seen = rgb(bitmap.get());
      for (size_t i = 0; i < seen.size() / 3; ++i) seen[i] = seen[3 * i];
      seen.resize(seen.size() / 3);
      EXPECT_EQ(seen, hex(c.grays)) << c.what;
      EXPECT_EQ(info_of(file).Format, T_FORMAT_EPS_TEXT);
    }
  }
  const Bytes deferred = join({text("%!PS\n%%BoundingBox: (atend)\n%%EndComments\n"),
                               text(kPreview4), text("%%Trailer\n%%BoundingBox: 0 0 9 3\n")});
  EXPECT_EQ(info_of(deferred).XResolution, 24);
  Rows rows;
  Bitmap cut;
  const Bytes file = comments("%%BeginPreview: 8 3 1 3\n% 01\n% 02\n%%EndPreview\n");
  EXPECT_EQ(T_LoadMemory(file.data(), cut.get(), 0, -1, 0, Rows::sink, &rows, file.size()),
            T_ERR_READ);
  EXPECT_EQ(rows.count, 2);
}

TEST(Eps, ThePreviewFillsTheBox) {
  const Bytes tiff = saved_sample(T_FORMAT_TIFF, 24, 18, 3);
  const std::string far(5000, '\n');  // from the header, which the end of the text is read without
  const struct {
    const char* what;
    std::string lines;
    int32_t dots;
  } cases[] = {
      {"points", "%%BoundingBox: 0 0 9 3\n", 144},
      {"negative", "%%BoundingBox: -4 -1 5 2\n", 144},
      {"decimals", "%%BoundingBox: 0.0 0 4.5 .75\n", 288},
      {"finer", "%%BoundingBox: 0 0 9 3\n%%HiResBoundingBox: 0 0 4.5 1.5\n", 288},
      {"at the end", "%%BoundingBox: (atend)\n%%EOF\n%%BoundingBox: 0 0 9 3\n", 144},
      {"the first counts", "%%BoundingBox: 0 0 9 3\n%%BoundingBox: 0 0 1 1\n", 144},
      {"no finer one",
       "%%BoundingBox: 0 0 9 3\n%%HiResBoundingBox: (atend)\nsave\n%%BoundingBox: 0 0 1 1\n", 144},
      {"of the header", "%%BoundingBox: 0 0 9 3\n%%EndComments\n%%HiResBoundingBox: 0 0 1 1\n",
       144},
      {"none of documents inside",
       "%%BoundingBox: (atend)\n%%EndComments\n%%BeginDocument: a\n%%BeginDocument: b\n"
       "%%EndDocument\n%%HiResBoundingBox: 0 0 1 1\n%%EndDocument\n%%Trailer\n"
       "%%BoundingBox: 0 0 2 2\n%%BoundingBox: 0 0 9 3\n",
       144},
      {"nor of one that begins before the end",
       "%%BoundingBox: (atend)\n%%EndComments\n%%BeginDocument: a\n" + far +
           "%%HiResBoundingBox: 0 0 1 1\n%%EndDocument\n%%BoundingBox: 0 0 9 3\n",
       144},
      {"empty", "%%BoundingBox: 5 5 5 9\n", 150},
      {"none", "%%Title: x\n", 150}};
  for (const auto& c : cases) {
    Bitmap bitmap;
    const Bytes file = with_tiff(tiff, join({text("%!PS\n"), text(c.lines)}));
    ASSERT_EQ(load(file, bitmap), T_OK) << c.what;
    EXPECT_EQ(bitmap->XResolution, c.dots) << c.what;
    EXPECT_EQ(info_of(file).XResolution, c.dots) << c.what;
    EXPECT_EQ(info_of(file).Format, T_FORMAT_EPS) << c.what;
  }
}

// One that cannot be read gives way to the next.
TEST(Eps, ChoosesAPreview) {
  const Bytes good = saved_sample(T_FORMAT_TIFF, 8, 5, 2);
  Bytes unknown = good;  // its coding
  const Bytes tag = hex("0301 0300 01000000 0100");
  const auto at = std::search(unknown.begin(), unknown.end(), tag.begin(), tag.end());
  ASSERT_NE(at, unknown.end());
  at[8] = 99;
  const Bytes in_text = comments(kPreview4);
  const struct {
    const char* what;
    Bytes file;
    int32_t status, width, bits;
  } cases[] = {
      {"TIFF", with_tiff(good, in_text), T_OK, 5, 8},
      {"no TIFF", with_tiff(text("no TIFF"), in_text), T_OK, 3, 4},
      {"an unknown coding", with_tiff(unknown, in_text), T_OK, 3, 4},
      {"an unknown coding alone", with_tiff(unknown), T_ERR_SUBTYPE, 9, 1},
      {"itself", with_tiff(with_tiff(good)), T_ERR_BAD_DATA, 9, 1},
      {"none", comments(), T_ERR_SUBTYPE, 9, 1},
      {"a document's inside", join({comments(), text("%%BeginDocument: a\n"), text(kPreview4)}),
       T_ERR_SUBTYPE, 9, 1},
      {"no box either", text("%!PS\n"), T_ERR_SUBTYPE, 1, 1}};
  for (const auto& c : cases) {
    EXPECT_EQ(info_of(c.file).Width, c.width) << c.what;
    EXPECT_EQ(info_of(c.file).BitsPerPixel, c.bits) << c.what;
    EXPECT_EQ(read_directly(T_LoadEPSFile, c.file), c.status) << c.what;
  }
  EXPECT_EQ(read_directly(T_LoadEPSFile, text("%PDF-1.3 and more of it, to be long enough")),
            T_ERR_BAD_DATA);
}

// Of a large file the preview and the first of the text are read.
TEST(Eps, ReadsWhatItNeeds) {
  Disk disk;
  disk.files["in"] =
      with_tiff(saved_sample(T_FORMAT_TIFF, 8, 5, 2), join({comments(), Bytes(10'000'000, ' ')}));
  Bitmap bitmap;
  ASSERT_EQ(T_LoadBitmap("in", bitmap.get(), 0, -1), T_OK);
  EXPECT_LT(disk.bytes_read, 300'000u);
}

TEST(Eps, RowsMayBeWrittenWhileTheyCome) {
  Disk disk;
  disk.files["in"] = saved_sample(T_FORMAT_EPS, 8, 19, 5);
  ASSERT_EQ(T_StreamFile("in", "out", T_FORMAT_BMP, 0, 0), T_OK);
  Bitmap from, to;
  ASSERT_EQ(T_LoadBitmap("in", from.get(), 0, -1), T_OK);
  ASSERT_EQ(T_LoadBitmap("out", to.get(), 0, -1), T_OK);
  EXPECT_EQ(rgb(to.get()), rgb(from.get()));
}

Bytes saved_direct(Bitmap& picture, int32_t bits) {
  Disk disk;
  T_AccessBitmap(picture.get());
  EXPECT_EQ(T_SaveFile("a", picture.get(), T_FORMAT_EPS, bits, 0, 0, 1, 0), T_OK);
  T_ReleaseBitmap(picture.get());
  return disk.files["a"];
}

TEST(Eps, WhatIsWrittenDirectlyComesBackWhole) {
  for (const int32_t bits : {1, 4, 8, 24}) {
    for (const int32_t width : {1, 7, 300}) {
      Bitmap picture, loaded;
      make_picture(picture, width, 9, bits, 1, 0);
      picture->XResolution = picture->YResolution = 300;
      const Bytes file = saved_direct(picture, bits);
      ASSERT_EQ(load(file, loaded), T_OK);
      EXPECT_EQ(loaded->BitsPerPixel, bits);
      EXPECT_EQ(loaded->XResolution, 300);
      EXPECT_EQ(rgb(loaded.get()), rgb(picture.get())) << bits << " x " << width;
      const size_t end = 30 + load_le32(&file[8]);
      EXPECT_EQ(end, load_le32(&file[20]));
      size_t line = 0;
      for (size_t i = 30; i < end; ++i) {
        ASSERT_LT(file[i], 128);
        line = file[i] == '\n' ? 0 : line + 1;
        ASSERT_LE(line, 255u);
      }
    }
  }
}

TEST(Eps, SavesMakeGray) {
  Bitmap picture, gray, one;
  make_picture(picture, 40, 8, 24);
  Disk disk;
  ASSERT_EQ(T_SaveEPSBitmap("a", picture.get(), 24), T_OK);
  ASSERT_EQ(T_SaveEPSBitmap("b", picture.get(), 1), T_OK);
  ASSERT_EQ(T_LoadBitmap("a", gray.get(), 0, -1), T_OK);
  ASSERT_EQ(T_LoadBitmap("b", one.get(), 0, -1), T_OK);
  EXPECT_EQ(gray->BitsPerPixel, 8);
  EXPECT_NE(gray->Flags & T_FLAG_GRAY, 0u);
  EXPECT_EQ(one->BitsPerPixel, 1);
  const Bytes levels = rgb(gray.get()), bits = rgb(one.get());
  for (size_t i = 0; i < levels.size(); ++i) {
    ASSERT_EQ(bits[i], levels[i] >= 128 ? 255 : 0) << i << " of level " << int{levels[i]};
  }
}

}  // namespace

FormatCase eps_case() {
  // Saves make pictures grey.
  FormatCase eps{"EPS", {}, T_FORMAT_EPS, {1, 8}, kLossy};
  eps.samples = {{"1 bit", saved_sample(T_FORMAT_EPS, 1, 19, 3)},
                 {"8 bits", saved_sample(T_FORMAT_EPS, 8, 9, 3)},
                 {"24 bits", with_tiff(saved_sample(T_FORMAT_TIFF, 24, 5, 3))}};
  return eps;
}

FormatCase eps_text_case() { return {"EPS_text", {{"4 bits", comments(kPreview4)}}}; }

}  // namespace tavo::test
