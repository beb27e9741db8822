// JPEG and CMP files: what surrounds a stream, depths and orders, stamps, streams in pieces.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "format_cases.h"
#include "jpeg_streams.h"
#include "platform/platform.h"

namespace tavo::test {
namespace {

constexpr int kWidth = 20;
constexpr int kHeight = 26;

Bytes sample_stream(const JpegOptions& options = {}, bool is_gray = false) {
  std::vector<JpegComponent> components = {{1, 2, 2}, {2, 1, 1}, {3, 1, 1}};
  if (is_gray) components.resize(1);
  JpegPicture picture(kWidth, kHeight, components, 5);
  return jpeg_stream(picture, options);
}

Bytes comment(const char* text) {
  return jpeg_segment(0xFE, Bytes(text, text + std::strlen(text) + 1));
}

struct CmpParts {
  uint8_t flags = 0x10;
  uint8_t row_order = 0x20;
  Bytes stamp = {};
};

Bytes cmp_file(const Bytes& stream, const CmpParts& parts) {
  const auto has_stamp = static_cast<uint8_t>(parts.stamp.empty() ? 0 : 0x10);
  return join({text("TAVO"),
               {0, has_stamp, parts.flags},
               Bytes(9),
               le16(kWidth),
               le16(kHeight),
               {24, parts.row_order, 0, 0},
               parts.stamp,
               stream,
               text("TAVO"),
               le16(300),
               le16(72),
               Bytes(4)});
}

// A stamp of 8 bits, 4 x 2: width, height, depth, palette, indices.
Bytes small_stamp() {
  Bytes stamp = {4, 2, 8};
  for (int i = 0; i < 256; ++i) {
    stamp.insert(stamp.end(), {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), 7});
  }
  stamp.insert(stamp.end(), {1, 2, 3, 4, 5, 6, 7, 8});
  return stamp;
}

Rows decompress(const Bytes& file, int32_t bits, int32_t option, int32_t want = T_OK) {
  Rows rows;
  BitmapHandle record = {};
  EXPECT_EQ(T_DecompressMemory(file.data(), &record, Rows::sink, bits, &rows, option, file.size()),
            want);
  return rows;
}

TEST(JpegFile, IsDescribed) {
  const FILEINFO plain = info_of(sample_stream({.segments = jfif_segment(2, 100, 50)}));
  EXPECT_EQ(plain.Format, T_FORMAT_JPEG);
  EXPECT_EQ(plain.Width, kWidth);
  EXPECT_EQ(plain.Height, kHeight);
  EXPECT_EQ(plain.BitsPerPixel, 24);
  EXPECT_STREQ(plain.Compression, "JPEG");
  EXPECT_EQ(plain.ViewPerspective, 0);
  EXPECT_EQ(plain.XResolution, 254);
  EXPECT_EQ(plain.YResolution, 127);

  const FILEINFO gray = info_of(sample_stream({}, true));
  EXPECT_EQ(gray.BitsPerPixel, 8);
  EXPECT_EQ(gray.Colors, 256);
  EXPECT_EQ(gray.Flags, T_FLAG_GRAY);

  const FILEINFO cmp = info_of(cmp_file(sample_stream(), {.row_order = 0}));
  EXPECT_EQ(cmp.Format, T_FORMAT_CMP);
  EXPECT_EQ(cmp.ViewPerspective, 2);
  EXPECT_EQ(cmp.XResolution, 300);
  EXPECT_EQ(cmp.YResolution, 72);

  EXPECT_EQ(info_of(sample_stream({.has_line_count = true})).Height, kHeight);
  // An aspect ratio is no resolution, but this library's own streams put theirs there.
  EXPECT_EQ(info_of(sample_stream({.segments = jfif_segment(0, 200, 200)})).XResolution, 0);
  const Bytes own = join({jfif_segment(0, 200, 200), comment("TAVO Technologies Inc. V1.00")});
  EXPECT_EQ(info_of(sample_stream({.segments = own})).XResolution, 200);
  EXPECT_EQ(info_of(sample_stream({.segments = own})).ViewPerspective, 2);
  const Bytes upright = comment("TAVO Technologies Inc. V1.01");
  EXPECT_EQ(info_of(sample_stream({.segments = upright})).ViewPerspective, 0);
  EXPECT_EQ(info_of(sample_stream({.segments = comment("V1.00")})).ViewPerspective, 0);
}

TEST(JpegFile, PicturesOfUnsupportedCodingsAreKnownButNotRead) {
  Bytes stream = sample_stream();
  const uint8_t frame[] = {0xFF, 0xC0};
  *(std::search(stream.begin(), stream.end(), frame, frame + 2) + 1) = 0xC3;
  EXPECT_EQ(info_of(stream).Width, kWidth);
  decompress(stream, 24, 4, T_ERR_SUBTYPE);
}

TEST(JpegFile, DepthsAndOrders) {
  for (const bool is_gray : {false, true}) {
    const Bytes file = sample_stream({}, is_gray);
    const Rows rgb = decompress(file, 24, T_ORDER_RGB);
    EXPECT_EQ(rgb.record.Order, T_ORDER_RGB);
    ASSERT_EQ(rgb.bytes.size(), 60 * kHeight);
    Rows bgr = decompress(file, 24, 4);
    EXPECT_EQ(bgr.record.Order, T_ORDER_BGR);
    const Rows deep = decompress(file, 32, T_ORDER_BGR);
    const Rows high = decompress(file, 16, T_ORDER_BGR);
    const Rows gray = decompress(file, 8, 4);
    EXPECT_EQ(gray.record.BitsPerPixel, 8);
    EXPECT_TRUE(gray.record.Flags & T_FLAG_GRAY);
    ASSERT_EQ(deep.record.BitsPerPixel, 32);
    ASSERT_EQ(high.record.BitsPerPixel, 16);
    for (size_t i = 0; i < kWidth * kHeight; ++i) {
      const uint8_t* want = &rgb.bytes[3 * i];
      EXPECT_EQ(bgr.bytes[3 * i + 2], want[0]);
      EXPECT_EQ(bgr.bytes[3 * i], want[2]);
      EXPECT_EQ(deep.bytes[4 * i + 1], want[1]);
      const int green = (high.bytes[2 * i] | high.bytes[2 * i + 1] << 8) >> 5 & 31;
      EXPECT_NEAR(green * 255 / 31, want[1], 8);
      if (is_gray) {
        EXPECT_EQ(gray.bytes[i], want[0]);
      }
    }
  }
  decompress(sample_stream(), 2, 4, T_ERR_ARGUMENT);
}

TEST(JpegFile, HalfHeightRowsCountTwice) {
  const Bytes stream = sample_stream();
  const Rows whole = decompress(stream, 24, 1);
  const Bytes file = cmp_file(stream, {.flags = 0x90});
  EXPECT_EQ(info_of(file).Height, 2 * kHeight);
  for (const int32_t bits : {24, 32, 8}) {
    const Rows plain = decompress(stream, bits, 1), twice = decompress(file, bits, 1);
    ASSERT_EQ(twice.count, 2 * kHeight);
    const size_t row = plain.bytes.size() / kHeight;
    for (size_t y = 0; y < 2 * kHeight; ++y) {
      EXPECT_TRUE(std::equal(twice.bytes.begin() + y * row, twice.bytes.begin() + (y + 1) * row,
                             plain.bytes.begin() + y / 2 * row))
          << y;
    }
  }
}

TEST(JpegFile, FillsBitmaps) {
  const Bytes file = sample_stream();
  Bitmap bitmap;
  ASSERT_EQ(T_InitBitmap(bitmap.get(), 5, 5, 24), T_OK);
  bitmap->Order = T_ORDER_RGB;
  ASSERT_EQ(T_DecompressBitmapMemory(file.data(), bitmap.get(), 24, file.size()), T_OK);
  EXPECT_EQ(bitmap->Width, kWidth);
  EXPECT_EQ(bitmap->Order, T_ORDER_RGB);
  EXPECT_EQ(bitmap->LastRow, kHeight - 1);
  EXPECT_EQ(bitmap->LastColumn, kWidth - 1);
  EXPECT_EQ(pixels(bitmap.get()), decompress(file, 24, T_ORDER_RGB).bytes);

  // Storage of the right size is kept, with its depth.
  const uintptr_t storage = bitmap->Handle;
  ASSERT_EQ(T_DecompressBitmapMemory(file.data(), bitmap.get(), 32, file.size()), T_OK);
  EXPECT_EQ(bitmap->Handle, storage);
  EXPECT_EQ(bitmap->BitsPerPixel, 24);

  const Bytes cut(file.begin(), file.begin() + file.size() / 2);
  EXPECT_EQ(T_DecompressBitmapMemory(cut.data(), bitmap.get(), 24, cut.size()), T_ERR_READ);
  EXPECT_EQ(bitmap->Flags & T_FLAG_ALLOCATED, 0);

  Disk disk;
  disk.files["a.jpg"] = file;
  Bitmap other;
  ASSERT_EQ(T_LoadBitmap("a.jpg", other.get(), 24, T_ORDER_RGB), T_OK);
  EXPECT_EQ(pixels(other.get()), decompress(file, 24, T_ORDER_RGB).bytes);
  disk.files["a.gif"] = saved_sample(T_FORMAT_GIF, 8, 4, 4);
  EXPECT_EQ(T_DecompressBitmap("a.gif", other.get(), 24), T_ERR_FORMAT);
}

TEST(JpegFile, ACutFileDeliversGreyRows) {
  const Bytes file = cmp_file(sample_stream(), {});
  const Bytes cut(file.begin(), file.end() - 300);
  const Rows rows = decompress(cut, 24, 1, T_ERR_READ);
  EXPECT_EQ(rows.count, kHeight);
  EXPECT_EQ(rows.bytes.back(), 128);
  EXPECT_NE(rows.bytes.front(), 128);
}

Bytes jfxx_segment(uint8_t kind, const Bytes& body) {
  return jpeg_segment(0xE0, join({{'J', 'F', 'X', 'X', 0, kind}, body}));
}

// What T_GetJPEGInfo says of a file, and what its stamp holds.
struct StampCase {
  const char* name;
  Bytes file;
  int32_t bits;  // 0: no stamp
  Bytes pixels;
};

std::vector<StampCase> stamp_cases() {
  const Bytes indexed = small_stamp();
  const Bytes indices = {1, 2, 3, 4, 5, 6, 7, 8};
  const Bytes stored = {10, 20, 30, 40, 50, 60};
  const Bytes exchanged = {30, 20, 10, 60, 50, 40};
  const Bytes color = jfxx_segment(0x13, join({{2, 1}, stored}));
  Bytes jfif = jfif_segment(1, 72, 72);
  Bytes jfif_stamp =
      jpeg_segment(0xE0, join({Bytes(jfif.begin() + 4, jfif.end() - 2), {2, 1}, stored}));
  JpegPicture small(3, 2, {{1, 1, 1}}, std::vector{77});
  const auto with = [](std::initializer_list<Bytes> segments) {
    return sample_stream({.segments = join(segments)});
  };
  const Bytes palette_body(indexed.begin() + 3, indexed.end());
  return {
      {"header", cmp_file(sample_stream(), {.stamp = indexed}), 8, indices},
      {"palette", with({jfif, jfxx_segment(0x11, join({{4, 2}, palette_body}))}), 8, indices},
      {"red first", with({jfif, color}), 24, exchanged},
      {"own", with({jfif, color, comment("TAVO Technologies Inc. V1.01")}), 24, stored},
      {"other comment", with({color, comment("TAVO Technologies Inc. V2.01")}), 24, exchanged},
      {"in JFIF", with({jfif_stamp}), 24, exchanged},
      {"in both", with({jfif_stamp, jfxx_segment(0x11, join({{4, 2}, palette_body}))}), 8, indices},
      {"behind tables", with({jpeg_segment(0xDD, {0, 0}), color}), 24, exchanged},
      {"coded", with({jfif, jfxx_segment(0x10, jpeg_stream(small, {}))}), 8, Bytes(6, 77)},
      {"none in CMP", cmp_file(with({color}), {}), 0, {}},
      {"none", with({jfif}), 0, {}},
      {"unknown kind", with({jfxx_segment(0x12, join({{2, 1}, stored}))}), 0, {}},
  };
}

TEST(JpegFile, StampsComeBack) {
  for (const StampCase& row : stamp_cases()) {
    SCOPED_TRACE(row.name);
    Disk disk;
    disk.files["file"] = row.file;
    Bitmap bitmap;
    ASSERT_EQ(T_GetCompressFileStamp("file", bitmap.get()), row.bits ? T_OK : T_ERR_NO_STAMP);
    T_JPEGINFO info;
    ASSERT_EQ(T_GetJPEGInfo("file", &info), T_OK);
    EXPECT_EQ(info.StampBits, row.bits);
    if (row.bits == 0) continue;
    EXPECT_EQ(bitmap->BitsPerPixel, row.bits);
    EXPECT_EQ(bitmap->ViewPerspective, 0);
    EXPECT_EQ(bitmap->Order, row.bits == 24 ? T_ORDER_BGR : T_ORDER_RGB);
    EXPECT_EQ(pixels(bitmap.get()), row.pixels);
    EXPECT_EQ(info.StampWidth * info.StampHeight * row.bits / 8, row.pixels.size());
    const bool is_coded = row.pixels[0] == 77;
    const int green = bitmap->Info.Palette[3].Green;
    EXPECT_EQ(green, row.bits == 24 ? green : is_coded ? 3 : 252);
  }
}

TEST(JpegFile, StatusesOfStamps) {
  Disk disk;
  const Bytes stamp = small_stamp();
  const Bytes empty = jfxx_segment(0x13, {0, 1});
  disk.files["other.gif"] = saved_sample(T_FORMAT_GIF, 8, 4, 4);
  disk.files["noise"] = Bytes(100, 0x55);
  disk.files["empty"] = sample_stream({.segments = empty});
  disk.files["short"] = sample_stream({.segments = {0xFF, 0xE0, 0, 1}});
  disk.files["broken"] = sample_stream({.segments = jfxx_segment(0x10, {0xFF, 0xD8, 0, 0})});
  disk.files["depth"] = cmp_file(
      sample_stream(), {.stamp = {4, 2, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}});
  Bitmap none;
  EXPECT_EQ(T_GetCompressFileStamp("other.gif", none.get()), T_ERR_NO_STAMP);
  EXPECT_EQ(T_GetCompressFileStamp("short", none.get()), T_ERR_NO_STAMP);
  EXPECT_EQ(T_GetCompressFileStamp("absent", none.get()), T_ERR_OPEN);
  EXPECT_EQ(T_GetCompressFileStamp("broken", none.get()), T_ERR_READ);
  disk.files["tiny"] = {0xFF};
  // The stamp is enough.
  Bytes cut = cmp_file(sample_stream(), {.stamp = stamp});
  cut.resize(24 + stamp.size());
  disk.files["cut"] = cut;
  Bitmap whole;
  EXPECT_EQ(T_GetCompressFileStamp("cut", whole.get()), T_OK);
  disk.files["cut"].resize(300);
  EXPECT_EQ(T_GetCompressFileStamp("cut", none.get()), T_ERR_READ);
  for (const char* name : {"noise", "empty", "depth", "tiny"}) {
    EXPECT_EQ(T_GetCompressFileStamp(name, none.get()), T_ERR_BAD_DATA) << name;
  }
}

TEST(JpegFile, CodingIsDescribed) {
  Disk disk;
  JpegPicture picture(kWidth, kHeight, {{1, 2, 1}, {2, 1, 1}, {3, 1, 2}}, 5);
  picture.quantiser = 255;
  disk.files["p"] = jpeg_stream(picture, {.plan = ScanPlan::kProgressive, .restart_interval = 3});
  T_JPEGINFO info;
  ASSERT_EQ(T_GetJPEGInfo("p", &info), T_OK);
  EXPECT_EQ(info.Format, T_FORMAT_JPEG);
  EXPECT_EQ(info.Components, 3);
  EXPECT_EQ(info.Progressive, 1);
  EXPECT_EQ(info.RestartInterval, 3);
  EXPECT_EQ(info.Quality, 1);
  EXPECT_EQ(info.Factor, 255);
  EXPECT_EQ(info.HalfHeight, 0);
  EXPECT_EQ(info.HorizontalFactors[0], 2);
  EXPECT_EQ(info.VerticalFactors[2], 2);
  EXPECT_EQ(info.VerticalFactors[3], 0);

  EXPECT_EQ(T_GetJPEGInfo("p", nullptr), T_ERR_ARGUMENT);
  EXPECT_EQ(T_GetJPEGInfo("absent", &info), T_ERR_OPEN);
  EXPECT_EQ(info.Components, 0);
  EXPECT_EQ(T_GetJPEGInfo(nullptr, &info), T_ERR_NAME);
  disk.files["other.gif"] = saved_sample(T_FORMAT_GIF, 8, 4, 4);
  EXPECT_EQ(T_GetJPEGInfo("other.gif", &info), T_ERR_BAD_DATA);
  Bytes& file = disk.files["p"];
  file.resize(40);
  EXPECT_EQ(T_GetJPEGInfo("p", &info), T_ERR_READ);
}

// Factors come back as they were given.
TEST(JpegFile, FactorsAreFound) {
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 16, 16, 24);
  ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_OK);
  Disk disk;
  T_JPEGINFO info;
  for (int32_t factor = 1; factor <= 250; ++factor) {  // 251 gives the tables of 250
    T_CompressBitmap(bitmap.get(), "jpg", 3, factor, 0);
    ASSERT_EQ(T_GetJPEGInfo("jpg", &info), T_OK);
    ASSERT_EQ(info.Factor, factor);
    T_CompressBitmap(bitmap.get(), "cmp", 0, factor, 0);
    ASSERT_EQ(T_GetJPEGInfo("cmp", &info), T_OK);
    ASSERT_EQ(info.Factor, factor > 101 ? factor & ~1 : factor);
    ASSERT_EQ(info.HalfHeight, factor > 100 ? 1 : 0);
  }
  for (const auto& [given, told] :
       {std::pair(-1, -1), {-2, -2}, {-3, 9}, {-4, 24}, {-5, -5}, {-6, 84}, {-7, 110}, {-8, 186}}) {
    T_CompressBitmap(bitmap.get(), "cmp", 0, given, 0);
    ASSERT_EQ(T_GetJPEGInfo("cmp", &info), T_OK);
    EXPECT_EQ(info.Factor, told) << given;
  }
  T_CompressBitmap(bitmap.get(), "cmp", 0, 0, 0);
  ASSERT_EQ(T_GetJPEGInfo("cmp", &info), T_OK);
  EXPECT_EQ(info.Factor, 0);
  Bytes& cmp = disk.files["cmp"];
  cmp[22] = 3;  // no factor gives this
  ASSERT_EQ(T_GetJPEGInfo("cmp", &info), T_OK);
  EXPECT_EQ(info.Factor, T_FACTOR_NONE);
}

// ---- Pieces ----

Rows push(const Bytes& file, size_t piece, int32_t bits, int32_t order, int32_t want) {
  Rows rows;
  EXPECT_EQ(T_StartDecompressData(Rows::sink, bits, order, &rows), T_OK);
  for (size_t at = 0; at < file.size(); at += piece) {
    const Bytes part(file.begin() + at, file.begin() + std::min(file.size(), at + piece));
    EXPECT_EQ(T_DecompressData(part.data(), part.size()), T_OK);
  }
  EXPECT_EQ(T_EndDecompressData(), want);
  return rows;
}

TEST(JpegPush, AnyPiecesGiveThePicture) {
  for (const Bytes& file : {sample_stream(), refined_stream(),
                            sample_stream({.has_line_count = true}), cmp_file(sample_stream(), {}),
                            cmp_file(sample_stream(), {.flags = 0x90, .stamp = small_stamp()}),
                            sample_stream({}, true)}) {
    for (const int32_t bits : {8, 24, 16}) {
      const Rows want = decompress(file, bits, T_ORDER_RGB);
      for (const size_t piece : {size_t{1}, size_t{7}, size_t{200}, file.size()}) {
        const Rows got = push(file, piece, bits, T_ORDER_RGB, T_OK);
        EXPECT_EQ(got.bytes, want.bytes) << piece;
        EXPECT_EQ(got.record.BitsPerPixel, want.record.BitsPerPixel);
      }
    }
  }
}

// Rows come while data still arrive, and what is done with is not kept.
TEST(JpegPush, RowsComeEarlyAndMemoryStaysSmall) {
  JpegPicture picture(64, 20000, ycc(1, 1), 9);
  const Bytes file = jpeg_stream(picture, {});
  ASSERT_GT(file.size(), 1000000);
  Rows rows;
  ASSERT_EQ(T_StartDecompressData(Rows::sink, 24, 1, &rows), T_OK);
  const size_t half = file.size() / 2;
  for (size_t at = 0; at < half; at += 10000) {
    ASSERT_EQ(T_DecompressData(&file[at], std::min<size_t>(10000, half - at)), T_OK);
  }
  EXPECT_GT(rows.count, 5000);
  EXPECT_LT(rows.count, 10001);
  ASSERT_EQ(T_DecompressData(&file[half], file.size() - half), T_OK);
  EXPECT_EQ(T_EndDecompressData(), T_OK);
  EXPECT_EQ(rows.count, 20000);
  EXPECT_EQ(rows.bytes, decompress(file, 24, 1).bytes);
}

TEST(JpegPush, StatusesStick) {
  const Leftovers before = leftovers();
  const Bytes file = sample_stream();
  EXPECT_EQ(T_DecompressData(file.data(), 5), T_ERR_ARGUMENT);
  EXPECT_EQ(T_EndDecompressData(), T_ERR_ARGUMENT);
  EXPECT_EQ(T_StartDecompressData(nullptr, 24, 1, nullptr), T_ERR_ARGUMENT);
  Rows rows;
  EXPECT_EQ(T_StartDecompressData(Rows::sink, 5, 1, &rows), T_ERR_ARGUMENT);
  EXPECT_EQ(T_StartDecompressData(Rows::sink, 24, 2, &rows), T_ERR_ARGUMENT);

  ASSERT_EQ(T_StartDecompressData(Rows::sink, 24, 1, &rows), T_OK);
  EXPECT_EQ(T_DecompressData("no picture", 10), T_ERR_BAD_DATA);
  EXPECT_EQ(T_DecompressData(file.data(), file.size()), T_ERR_BAD_DATA);
  EXPECT_EQ(T_EndDecompressData(), T_ERR_BAD_DATA);

  const Bytes cut(file.begin(), file.begin() + file.size() * 3 / 4);
  EXPECT_EQ(push(cut, 50, 24, 1, T_ERR_READ).count, kHeight);
  EXPECT_EQ(push(Bytes(file.begin(), file.begin() + 30), 50, 24, 1, T_ERR_READ).count, 0);
  EXPECT_EQ(push({}, 50, 24, 1, T_ERR_READ).count, 0);

  rows.answer = 42;
  ASSERT_EQ(T_StartDecompressData(Rows::sink, 24, 1, &rows), T_OK);
  EXPECT_EQ(T_DecompressData(file.data(), file.size()), T_OK);  // too small to come early
  EXPECT_EQ(T_EndDecompressData(), 42);
  EXPECT_EQ(leftovers(), before);
}

}  // namespace

FormatCase jpeg_case() {
  return {.name = "JPEG",
          .samples = {{"baseline", sample_stream({.segments = jfif_segment(1, 300, 200)})},
                      {"grey", sample_stream({}, true)},
                      {"restarts", sample_stream({.restart_interval = 1})},
                      {"several scans", sample_stream({.plan = ScanPlan::kSeparate})},
                      {"progressive", refined_stream()},
                      {"height at the end", sample_stream({.has_line_count = true})}}};
}

FormatCase cmp_case() {
  return {.name = "CMP",
          .samples = {{"plain", cmp_file(sample_stream(), {})},
                      {"bottom row first", cmp_file(sample_stream(), {.row_order = 0})},
                      {"half height", cmp_file(sample_stream(), {.flags = 0x90})},
                      {"stamp", cmp_file(sample_stream(), {.stamp = small_stamp()})},
                      {"grey", cmp_file(sample_stream({}, true), {.flags = 0x60})}}};
}

}  // namespace tavo::test
