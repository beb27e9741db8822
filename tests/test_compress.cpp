// Compression through the exports: the bytes around the coded data, the meaning of the quality
// factor, the ways to drive it, and what can go wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include "base/settings.h"
#include "compress/coding.h"
#include "platform/platform.h"
#include "support.h"

namespace tavo::test {
namespace {

Bytes text(const char* s) { return {s, s + std::strlen(s)}; }

// The marker segments of a JPEG stream up to SOS, with their markers and lengths.
struct Segment {
  uint8_t marker;
  Bytes data;  // behind the length
};
std::vector<Segment> segments(const Bytes& stream) {
  std::vector<Segment> found;
  size_t at = 2;
  while (at + 4 <= stream.size() && stream[at] == 0xFF) {
    const size_t size = stream[at + 2] << 8 | stream[at + 3];
    if (at + 2 + size > stream.size()) break;
    found.push_back({stream[at + 1], {&stream[at + 4], &stream[at] + 2 + size}});
    at += 2 + size;
    if (found.back().marker == 0xDA) break;
  }
  return found;
}
Bytes segment(const Bytes& stream, uint8_t marker) {
  for (const Segment& s : segments(stream)) {
    if (s.marker == marker) return s.data;
  }
  ADD_FAILURE() << "no segment " << int{marker};
  return {};
}
std::vector<int> markers(const Bytes& stream) {
  std::vector<int> found;
  for (const Segment& s : segments(stream)) found.push_back(s.marker);
  return found;
}
Bytes stream_of(const Bytes& cmp) { return {cmp.begin() + 24, cmp.end() - 12}; }

void make_gray(Bitmap& bitmap, int32_t width, int32_t height) {
  make_picture(bitmap, width, height, 8);
  bitmap->Flags |= T_FLAG_GRAY;
  for (int i = 0; i < 256; ++i) {
    const auto level = static_cast<uint8_t>(i);
    bitmap->Info.Palette[i] = {level, level, level, 0};
  }
}

Bytes compress(BitmapHandle* bitmap, int32_t type, int32_t quality) {
  Disk disk;
  EXPECT_EQ(T_CompressBitmap(bitmap, "out", type, quality, 0), T_OK);
  EXPECT_EQ(disk.open_count, 0);
  return disk.files["out"];
}

TEST(Compress, GrayStreamByteForByte) {
  // 8 x 8 of level 144: DC (144 - 128) * 8 / 2 = 64, 7 bits: code 11110 (category 7, table K.3),
  // 1000000, end of block 1010 (table K.5), no padding needed.
  Bitmap bitmap;
  T_InitBitmap(bitmap.get(), 8, 8, 8);
  ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_OK);
  bitmap->Flags |= T_FLAG_GRAY;
  bitmap->Info.Palette[5] = {1, 2, 144, 0};  // the red part counts
  T_AccessBitmap(bitmap.get());
  for (uint32_t y = 0; y < 8; ++y) T_PutBitmapRow(bitmap.get(), Bytes(8, 5).data(), y, 8);
  T_ReleaseBitmap(bitmap.get());
  bitmap->XResolution = 300;
  bitmap->YResolution = 72;
  const Bytes file = compress(bitmap.get(), 1, 1);

  const Bytes begin = join({
      {0xFF, 0xD8},           // SOI
      {0xFF, 0xE0, 0, 16},    // APP0
      text("JFIF"),           //
      {0, 1, 0, 0},           // version 1.00, no unit
      {300 >> 8, 300 & 255},  // densities
      {0, 72, 0, 0},          // and no thumbnail
      {0xFF, 0xFE, 0, 31},    // COM
      text("TAVO Technologies Inc. V1.01"),
      {0},
      {0xFF, 0xDB, 0, 67, 0},  // DQT, table 0
      Bytes(64, 2),            // internal value 1 makes every entry 2
      {0xFF, 0xC4, 0, 210},    // DHT: 2 + 17 + 12 + 17 + 162
      {0x00, 0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0},  // DC table 0, counts of K.3
      {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11},
      {0x10, 0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7D},  // AC table 0, counts of K.5
  });
  const Bytes end = {0xFF, 0xC0, 0, 11, 8, 0, 8,    0, 8,  1,
                     1,    0x11, 0,  // SOF0: 8 bits, 8 x 8, 1 component, 1x1
                     0xFF, 0xDA, 0, 8,  1, 1, 0x00, 0, 63, 0,  // SOS
                     0xF4, 0x0A,                               // 11110 1000000 1010
                     0xFF, 0xD9};                              // EOI
  ASSERT_EQ(file.size(), begin.size() + 162 + end.size());
  EXPECT_EQ(Bytes(file.begin(), file.begin() + begin.size()), begin);
  EXPECT_EQ(Bytes(file.end() - end.size(), file.end()), end);
}

TEST(Compress, JfifUnit) {
  Bitmap bitmap;
  make_picture(bitmap, 8, 8, 24);
  EXPECT_EQ(T_SetJFIFUnit(2), T_ERR_ARGUMENT);
  EXPECT_EQ(segment(compress(bitmap.get(), 1, 9), 0xE0)[7], 0);
  ASSERT_EQ(T_SetJFIFUnit(1), T_OK);
  EXPECT_EQ(segment(compress(bitmap.get(), 1, 9), 0xE0)[7], 1);
  EXPECT_EQ(segment(stream_of(compress(bitmap.get(), 0, 9)), 0xE0)[7], 0) << "CMP";
  EXPECT_EQ(T_SetJFIFUnit(0), T_OK);
}

TEST(Compress, ColorStreamSegments) {
  Bitmap bitmap;
  make_picture(bitmap, 40, 20, 24);
  const Bytes file = compress(bitmap.get(), 5, 50);
  EXPECT_EQ(markers(file), (std::vector<int>{0xE0, 0xFE, 0xDB, 0xC4, 0xC0, 0xDA}));
  const Bytes tables = segment(file, 0xDB);
  ASSERT_EQ(tables.size(), 130u);  // internal value 50 leaves tables K.1 and K.2 as they are
  EXPECT_EQ(Bytes(tables.begin(), tables.begin() + 9), (Bytes{0, 16, 11, 12, 14, 12, 10, 16, 14}));
  EXPECT_EQ(Bytes(tables.begin() + 65, tables.begin() + 74),
            (Bytes{1, 17, 18, 18, 24, 21, 24, 47, 26}));
  // Tables K.3 to K.6, as other encoders write them.
  uint32_t sum = 0;
  for (const uint8_t byte : segment(file, 0xC4)) sum = sum * 31 + byte;
  EXPECT_EQ(sum, 0xDB6D6424u);
  EXPECT_EQ(segment(file, 0xC0), (Bytes{8, 0, 20, 0, 40, 3, 1, 0x21, 0, 2, 0x11, 1, 3, 0x11, 1}));
  EXPECT_EQ(segment(file, 0xDA), (Bytes{3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0}));
  EXPECT_EQ(Bytes(file.end() - 2, file.end()), (Bytes{0xFF, 0xD9}));
  // Equal tables are written once, and all components name table 0.
  const Bytes fine = compress(bitmap.get(), 5, 1);
  EXPECT_EQ(segment(fine, 0xDB).size(), 65u);
  EXPECT_EQ(segment(fine, 0xC0)[14], 0);
}

TEST(Compress, CmpFile) {
  Bitmap bitmap;
  make_picture(bitmap, 300, 21, 24);
  bitmap->XResolution = 0x10203;
  bitmap->YResolution = 75;
  const Bytes file = compress(bitmap.get(), 0, 120);
  Bytes header(24);
  std::memcpy(header.data(), "TAVO", 4);
  header[6] = 0x80;        // half height, 2x1
  header[16] = 300 & 255;  // width
  header[17] = 300 >> 8;
  header[18] = 10;  // 21 / 2 rows
  header[20] = 24;
  header[21] = 0x20;  // top first
  header[22] = 60;    // 120 / 2
  EXPECT_EQ(Bytes(file.begin(), file.begin() + 24), header);
  EXPECT_EQ(Bytes(file.end() - 14, file.end()),
            join({{0xFF, 0xD9}, text("TAVO"), {0x03, 0x02, 75, 0, 0, 0, 0, 0}}));
  const Bytes stream = stream_of(file);
  EXPECT_EQ(segment(stream, 0xE0), join({text("JFIF"), Bytes{0, 1, 0, 0, 0, 0, 0, 0, 0, 0}}));
  EXPECT_EQ(segment(stream, 0xC0)[2], 10);
}

TEST(Compress, QualityFactors) {
  struct Case {
    int32_t type, factor;
    bool gray;
    int32_t status, value;
    bool half;
    uint32_t h, v;
  };
  const Case cases[] = {
      {0, 0, false, 1, 6, false, 1, 1},     {0, 7, false, 1, 13, false, 1, 1},
      {0, 8, false, 1, 14, false, 2, 1},    {0, 48, false, 1, 54, false, 2, 1},
      {0, 49, false, 1, 55, false, 2, 2},   {0, 94, false, 1, 100, false, 2, 2},
      {0, 95, false, 1, 101, false, 2, 1},  {0, 100, false, 1, 106, false, 2, 1},
      {0, 101, false, 1, 50, true, 2, 1},   {0, 255, false, 1, 127, true, 2, 1},
      {0, -1, false, 1, 5, false, 1, 1},    {0, -2, false, 1, 5, false, 2, 1},
      {0, -3, false, 1, 15, false, 2, 1},   {0, -4, false, 1, 30, false, 2, 1},
      {0, -5, false, 1, 45, false, 2, 2},   {0, -6, false, 1, 90, false, 2, 2},
      {0, -7, false, 1, 55, true, 2, 1},    {0, -8, false, 1, 93, true, 2, 1},
      {0, -9, false, 1, 93, true, 2, 1},    {0, 150, true, 1, 150, false, 1, 1},
      {0, 60, true, 1, 66, false, 1, 1},    {0, -9, true, 1, 186, false, 1, 1},
      {0, -10, false, -21, 0, false, 0, 0}, {0, 256, false, -21, 0, false, 0, 0},
      {1, 0, false, 1, 0, false, 1, 1},     {2, 255, false, 1, 255, false, 1, 1},
      {3, 150, false, 1, 150, false, 2, 2}, {4, 9, false, 1, 9, false, 2, 2},
      {5, 9, false, 1, 9, false, 2, 1},     {6, 9, false, 1, 9, false, 2, 1},
      {3, 9, true, 1, 9, false, 1, 1},      {1, -1, false, -21, 0, false, 0, 0},
      {7, 9, false, -9, 0, false, 0, 0},    {-1, 300, false, -9, 0, false, 0, 0},
  };
  for (const Case& c : cases) {
    compress::Coding got;
    ASSERT_EQ(compress::choose_coding(c.type, c.factor, c.gray, got).code(), c.status) << c.factor;
    if (c.status != T_OK) continue;
    EXPECT_EQ(got.value, c.value) << c.factor;
    EXPECT_EQ(got.is_half_height, c.half) << c.factor;
    EXPECT_EQ(got.horizontal * 10 + got.vertical, c.h * 10 + c.v) << c.factor;
  }
  jpeg::QuantiserTable luminance, chrominance;
  ASSERT_TRUE(compress::build_tables(255, luminance, chrominance).ok());
  EXPECT_EQ(luminance[0], 81);    // 16 * 255 / 50
  EXPECT_EQ(luminance[15], 204);  // 40 * 255 / 50
  EXPECT_EQ(luminance[31], 255);  // 51 * 255 / 50 = 260
}

TEST(Compress, CustomTable) {
  Bitmap bitmap;
  make_picture(bitmap, 20, 20, 24);
  uint32_t table[64];
  for (uint32_t i = 0; i < 64; ++i) table[i] = 0xABCDEF00 | (i + 1);
  ASSERT_EQ(T_LoadCustomQTable(table), T_OK);
  const Bytes file = compress(bitmap.get(), 1, 0);  // the internal value 0 is not looked at
  Bytes want = {0};
  for (uint8_t i = 1; i <= 64; ++i) want.push_back(i);
  EXPECT_EQ(segment(file, 0xDB), want);
  table[63] = 0x100;
  EXPECT_EQ(T_LoadCustomQTable(table), T_ERR_ARGUMENT);
  EXPECT_EQ(compress(bitmap.get(), 1, 0), file);
  EXPECT_EQ(T_LoadCustomQTable(nullptr), T_OK);
  Disk disk;
  EXPECT_EQ(T_CompressBitmap(bitmap.get(), "out", 1, 0, 0), T_ERR_MULTIPLIER);
  EXPECT_TRUE(disk.files.empty());
}

TEST(Compress, StoredOrderDoesNotMatter) {
  for (const int32_t bits : {24, 8}) {
    Bitmap up, down;
    make_picture(up, 37, 29, bits, 1, 2);
    make_picture(down, 37, 29, bits, 1, 0);
    const Bytes rows = pixels(up.get());
    const size_t size = rows.size() / 29;
    T_AccessBitmap(down.get());
    for (uint32_t y = 0; y < 29; ++y) {
      T_PutBitmapRow(down.get(), &rows[(28 - y) * size], y, static_cast<uint32_t>(size));
    }
    T_ReleaseBitmap(down.get());
    EXPECT_EQ(compress(up.get(), 0, 30), compress(down.get(), 0, 30));
    EXPECT_EQ(up->ViewPerspective, 2u);
  }
}

// Every depth comes out as its 24-bit or grey picture does.
TEST(Compress, DepthsAreConverted) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 32}) {
    Bitmap bitmap, converted;
    make_picture(bitmap, 33, 18, bits);
    if (bits == 1) {
      bitmap->Info.Palette[0] = {0, 0, 0, 0};
      bitmap->Info.Palette[1] = {255, 255, 255, 0};
    }
    const Bytes picture = rgb(bitmap.get());
    T_InitBitmap(converted.get(), 33, 18, bits == 1 ? 8 : 24);
    ASSERT_EQ(T_AllocateBitmap(converted.get(), 1), T_OK);
    converted->ViewPerspective = 0;
    converted->Order = T_ORDER_RGB;
    if (bits == 1) converted->Flags |= T_FLAG_GRAY;
    for (int i = 0; i < 256; ++i) converted->Info.Palette[i].Red = static_cast<uint8_t>(i);
    T_AccessBitmap(converted.get());
    for (uint32_t y = 0; y < 18; ++y) {
      Bytes row(&picture[99 * y], &picture[99 * y] + 99);
      for (int x = 0; bits == 1 && x < 33; ++x) row[x] = row[3 * x];
      T_PutBitmapRow(converted.get(), row.data(), y, bits == 1 ? 33 : 99);
    }
    T_ReleaseBitmap(converted.get());
    EXPECT_EQ(compress(bitmap.get(), 3, 20), compress(converted.get(), 3, 20)) << bits;
  }
}

// ---- The ways to drive a compression ----

struct Collector {
  Bytes bytes;
  std::vector<uint32_t> sizes;
  uint32_t limit = UINT32_MAX;  // bytes taken before it refuses

  static uint32_t T_CALL write(const void* bytes, uint32_t size, void* user) {
    auto& self = *static_cast<Collector*>(user);
    const uint32_t taken = std::min(size, self.limit);
    self.limit -= taken;
    const auto* from = static_cast<const uint8_t*>(bytes);
    self.bytes.insert(self.bytes.end(), from, from + taken);
    self.sizes.push_back(size);
    return taken;
  }
};

// The picture's rows top first as strips take them.
Bytes strip_rows(BitmapHandle* bitmap) {
  if (bitmap->BitsPerPixel == 8) {
    Bytes rows = pixels(bitmap);
    Bytes out;
    for (int32_t y = bitmap->Height - 1; y >= 0; --y) {
      out.insert(out.end(), &rows[y * bitmap->Width], &rows[y * bitmap->Width] + bitmap->Width);
    }
    return out;
  }
  Bytes rows = rgb(bitmap);
  for (size_t i = 0; i < rows.size(); i += 3) std::swap(rows[i], rows[i + 2]);
  return rows;
}

Bytes compress_strips(BitmapHandle* bitmap, uint32_t rows_per_strip, uint32_t buffer, int32_t type,
                      int32_t quality, Collector& out) {
  Bytes rows = strip_rows(bitmap);
  const size_t stride = rows.size() / bitmap->Height;
  rows.resize(rows.size() + stride * rows_per_strip);
  const uint32_t perspective = std::exchange(bitmap->ViewPerspective, 0);
  EXPECT_EQ(T_StartCompressBuffer(bitmap, Collector::write,
                                  static_cast<uint32_t>(rows_per_strip * stride), buffer, nullptr,
                                  type, quality, &out),
            T_OK);
  bitmap->ViewPerspective = perspective;
  for (int32_t y = 0; y < bitmap->Height; y += rows_per_strip) {
    EXPECT_EQ(T_CompressBuffer(&rows[y * stride]), T_OK);
  }
  EXPECT_EQ(T_CompressBuffer(rows.data()), T_OK);  // one more than there are rows: ignored
  EXPECT_EQ(T_EndCompressBuffer(), T_OK);
  return out.bytes;
}

TEST(Compress, StripsGiveWhatTheBitmapGives) {
  Bitmap color, gray;
  make_picture(color, 50, 45, 24);
  make_gray(gray, 50, 45);
  for (BitmapHandle* bitmap : {color.get(), gray.get()}) {
    for (const int32_t type : {0, 1, 5}) {
      const Bytes want = compress(bitmap, type, 20);
      for (const uint32_t rows : {1u, 5u, 8u, 16u, 45u}) {
        Collector out;
        EXPECT_TRUE(compress_strips(bitmap, rows, 100, type, 20, out) == want) << rows;
        EXPECT_LE(*std::max_element(out.sizes.begin(), out.sizes.end()), 100u);
        if (type != 0) continue;
        EXPECT_EQ(out.sizes[0], 24u);  // the header alone, the trailer byte by byte
        EXPECT_EQ(std::vector<uint32_t>(out.sizes.end() - 12, out.sizes.end()),
                  std::vector<uint32_t>(12, 1));
      }
    }
  }
}

TEST(Compress, HalfHeightCodesEvenRowsOfStrips) {
  Bitmap bitmap, even;
  make_picture(bitmap, 24, 34, 24);
  make_picture(even, 24, 17, 24);
  T_AccessBitmap(even.get());
  T_AccessBitmap(bitmap.get());
  for (uint32_t y = 0; y < 17; ++y) {  // bottom row first: picture row 2 i is stored row 33 - 2 i
    Bytes row(72);
    T_GetBitmapRow(bitmap.get(), row.data(), 33 - 2 * y, 72);
    T_PutBitmapRow(even.get(), row.data(), 16 - y, 72);
  }
  const Bytes half = stream_of(compress(bitmap.get(), 0, 101));
  EXPECT_EQ(half, stream_of(compress(even.get(), 0, 44)));  // internal value 50, 2x1
}

TEST(Compress, DataInterfaceGivesWhatTheBitmapGives) {
  for (const int32_t bits : {8, 16, 24, 32}) {
    Bitmap bitmap;
    if (bits == 8) {
      make_gray(bitmap, 31, 40);
    } else {
      make_picture(bitmap, 31, 40, bits, 1, 0);
      bitmap->Order = T_ORDER_BGR;
    }
    const Bytes rows = bits == 8 ? strip_rows(bitmap.get()) : pixels(bitmap.get());
    for (const int32_t quality : {20, 130}) {
      Collector out;
      ASSERT_EQ(T_StartCompressData(31, 40, bits, Collector::write, 0, quality, &out), T_OK);
      int32_t y = 0;
      for (const int32_t count : {0, 1, 16, 7, 16}) {
        EXPECT_EQ(T_CompressData(&rows[y * rows.size() / 40], count), T_OK);
        y += count;
      }
      EXPECT_EQ(T_EndCompressData(), T_OK);
      EXPECT_TRUE(out.bytes == compress(bitmap.get(), 0, quality)) << bits;
    }
  }
  EXPECT_EQ(T_StartCompressData(9, 9, 4, Collector::write, 0, 9, nullptr), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(T_StartCompressData(0, 9, 8, Collector::write, 0, 9, nullptr), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(T_CompressData("", 1), T_ERR_NO_MEMORY);
  EXPECT_EQ(T_EndCompressData(), T_ERR_INCOMPLETE);
}

TEST(Compress, RowSinkGivesWhatTheBitmapGives) {
  for (const int32_t bits : {4, 8, 16, 24}) {
    Disk disk;
    Bitmap bitmap;
    if (bits == 8) {
      make_gray(bitmap, 21, 36);
    } else {
      make_picture(bitmap, 21, 36, bits);
    }
    ASSERT_EQ(T_CompressBitmap(bitmap.get(), "want", 0, 10, 0), T_OK);
    BitmapHandle source = *bitmap.get();
    source.ViewPerspective = 0;
    const int32_t file = settings.files.Open("got", 0x8302, 128);
    Bytes strip(16 * 3 * 21);
    T_CompressContext context = {0, 10, strip.data(),
                                 reinterpret_cast<void*>(static_cast<intptr_t>(file))};
    T_AccessBitmap(bitmap.get());
    for (uint32_t y = 0; y < 36; y += 3) {
      Bytes rows;
      for (uint32_t i = 0; i < 3; ++i) {
        Bytes row(source.BytesPerLine);
        T_GetBitmapRow(bitmap.get(), row.data(), 35 - y - i, source.BytesPerLine);
        rows.insert(rows.end(), row.begin(), row.end());
      }
      EXPECT_EQ(CompressCallBack(&source, rows.data(), 3, &context), T_OK);
    }
    EXPECT_EQ(T_CompressBuffer(strip.data()), T_OK);
    EXPECT_EQ(T_EndCompressBuffer(), T_OK);
    settings.files.Close(file);
    EXPECT_TRUE(disk.files["got"] == disk.files["want"]) << bits;
  }
}

// ---- Saves and streamed saves ----

TEST(Compress, SaveFormats) {
  struct Case {
    int32_t format, depth;
    Bytes components;  // number, then the first one's sampling
  };
  const Case cases[] = {
      {T_FORMAT_JPEG, 24, {3, 0x11}},       {T_FORMAT_JPEG, 8, {1, 0x11}},
      {T_FORMAT_JPEG_24, 8, {3, 0x11}},     {T_FORMAT_JPEG_2X1, 24, {3, 0x21}},
      {T_FORMAT_JPEG_2X1_24, 8, {3, 0x21}}, {T_FORMAT_JPEG_2X2, 24, {3, 0x22}},
      {T_FORMAT_JPEG_2X2, 8, {1, 0x11}},    {T_FORMAT_JPEG_2X2_24, 24, {3, 0x22}},
      {T_FORMAT_CMP_SAVE, 24, {3, 0x22}},   {T_FORMAT_CMP_SAVE, 8, {1, 0x11}},
  };
  Bitmap bitmap;
  make_picture(bitmap, 40, 30, 8);
  for (const Case& c : cases) {
    Disk disk;
    ASSERT_EQ(T_SaveBitmap("out", bitmap.get(), c.format, c.depth, 60), T_OK) << c.format;
    Bytes stream = disk.files["out"];
    if (c.format == T_FORMAT_CMP_SAVE) stream = stream_of(stream);
    const Bytes frame = segment(stream, 0xC0);
    EXPECT_EQ((Bytes{frame[5], frame[7]}), c.components) << c.format << " at " << c.depth;
  }
  Disk disk;
  EXPECT_EQ(T_SaveBitmap("out", bitmap.get(), T_FORMAT_CMP, 24, 60), T_ERR_FORMAT);
  EXPECT_EQ(T_SaveBitmap("out", bitmap.get(), T_FORMAT_JPEG, 24, 0), T_ERR_MULTIPLIER);
  EXPECT_EQ(T_SaveBitmap("out", bitmap.get(), T_FORMAT_CMP_SAVE, 24, 256), T_ERR_QUALITY);
}

TEST(Compress, StreamedSaves) {
  Bitmap bitmap;
  make_picture(bitmap, 25, 14, 8);
  bitmap->XResolution = 99;
  T_AccessBitmap(bitmap.get());
  for (const bool converts : {true, false}) {
    Disk disk;
    T_FormatWriteContext context = {};
    context.Name = "got";
    context.Format = T_FORMAT_BMP;
    context.BitsPerPixel = 24;
    const T_RowSink sink = converts ? FileFormatWrite : FileNoConvertWrite;
    for (uint32_t y = 0; y < 14; y += 7) {
      EXPECT_EQ(disk.files.count("got"), 0u);
      Bytes rows(7 * bitmap->BytesPerLine);
      T_GetBitmapRow(bitmap.get(), rows.data(), y, static_cast<uint32_t>(rows.size()));
      ASSERT_EQ(sink(bitmap.get(), rows.data(), 7, &context), T_OK);
    }
    Bitmap loaded;
    ASSERT_EQ(T_LoadBitmap("got", loaded.get(), 0, T_ORDER_BGR), T_OK);
    EXPECT_EQ(loaded->BitsPerPixel, converts ? 24 : 8);
    EXPECT_EQ(loaded->XResolution, (99 * 10000 + 127) / 254) << "BMP counts by the metre";
    EXPECT_EQ(rgb(loaded.get()), rgb(bitmap.get()));
    // More rows than the picture has, and a target that cannot be: nothing stays behind.
    const Leftovers before = leftovers();
    context.Format = 49;
    Bytes rows(15 * bitmap->BytesPerLine);
    EXPECT_EQ(sink(bitmap.get(), rows.data(), 14, &context), T_ERR_FORMAT);
    EXPECT_EQ(sink(bitmap.get(), rows.data(), 15, &context), T_ERR_BAD_DATA);
    EXPECT_EQ(leftovers(), before);
  }
}

// ---- What can go wrong ----

TEST(Compress, Statuses) {
  Bitmap bitmap;
  make_picture(bitmap, 20, 20, 24);
  const auto start = [&](int32_t width, int32_t height, int32_t bits, uint32_t strip_bytes,
                         int32_t type, int32_t quality) {
    BitmapHandle b = *bitmap.get();
    b.Width = width;
    b.Height = height;
    b.BitsPerPixel = bits;
    Collector out;
    const int32_t status =
        T_StartCompressBuffer(&b, Collector::write, strip_bytes, 0, nullptr, type, quality, &out);
    T_EndCompressBuffer();
    return status;
  };
  EXPECT_EQ(start(20, 20, 24, 960, 0, 9), T_OK);
  EXPECT_EQ(start(0, 20, 24, 960, 0, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(20, 0, 24, 960, 0, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(20, 20, 4, 960, 0, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(20, 20, 33, 960, 0, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(21845, 20, 24, 65535, 1, 9), T_OK);
  EXPECT_EQ(start(21846, 20, 24, 65538, 1, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(20, 65536, 24, 960, 1, 9), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(start(20, 1, 24, 960, 0, 101), T_ERR_NOT_COMPRESSIBLE) << "half height leaves no row";
  EXPECT_EQ(start(20, 20, 24, 960, 7, 9), T_ERR_BAD_DATA);
  EXPECT_EQ(start(20, 20, 24, 960, 0, -10), T_ERR_QUALITY);
  EXPECT_EQ(start(20, 20, 24, 960, 1, -1), T_ERR_QUALITY);
  EXPECT_EQ(start(20, 20, 24, 960, 1, 0), T_ERR_MULTIPLIER);
  EXPECT_EQ(start(20, 20, 24, 480, 3, 9), T_ERR_SIZE) << "8 rows a strip with 2x2";
  EXPECT_EQ(start(20, 20, 24, 59, 1, 9), T_ERR_SIZE) << "no row a strip";

  EXPECT_EQ(T_CompressBuffer("x"), T_ERR_NO_MEMORY);
  EXPECT_EQ(T_EndCompressBuffer(), T_ERR_INCOMPLETE);
  Collector out;
  ASSERT_EQ(T_StartCompressBuffer(bitmap.get(), Collector::write, 960, 0, nullptr, 0, 9, &out),
            T_OK);
  EXPECT_EQ(T_CompressBuffer(nullptr), T_ERR_NO_MEMORY);
  EXPECT_EQ(T_CompressBuffer(Bytes(960).data()), T_OK);
  EXPECT_EQ(T_EndCompressBuffer(), T_ERR_INCOMPLETE);
  EXPECT_EQ(Bytes(out.bytes.end() - 14, out.bytes.end() - 8), join({{0xFF, 0xD9}, text("TAVO")}))
      << "ended properly all the same";

  Disk disk;
  EXPECT_EQ(T_CompressBitmap(bitmap.get(), nullptr, 0, 9, 0), T_ERR_NAME);
  EXPECT_EQ(T_CompressBitmap(bitmap.get(), "out", 9, 9, 0), T_ERR_BAD_DATA);
  bitmap->Flags |= T_FLAG_GRAY;
  EXPECT_EQ(T_CompressBitmap(bitmap.get(), "out", 0, 9, 0), T_OK) << "the mark counts at 8 bits";
  BitmapHandle empty = {};
  T_InitBitmap(&empty, 8, 8, 24);
  EXPECT_EQ(T_CompressBitmap(&empty, "out", 0, 9, 0), T_ERR_NO_STORAGE);
  T_InitBitmap(&empty, 0, 8, 24);
  EXPECT_EQ(T_CompressBitmap(&empty, "out", 0, 9, 0), T_ERR_NOT_COMPRESSIBLE);
  Bitmap four;
  make_picture(four, 20, 20, 4);
  four->Flags |= T_FLAG_GRAY;
  EXPECT_EQ(T_CompressBitmap(four.get(), "out", 0, 9, 0), T_ERR_FORMAT);
}

TEST(Compress, FilesAreCreatedForWritingOnlyWhenNothingIsWrong) {
  constexpr int32_t kCreateWriteOnly = 0x8301;
  Bitmap bitmap;
  make_picture(bitmap, 20, 20, 24);
  Disk disk;
  ASSERT_EQ(T_SaveBMPBitmap("in", bitmap.get(), 24), T_OK);
  const auto compress = [&](int way, int32_t quality) {
    if (way == 0) return T_CompressBitmap(bitmap.get(), "out", 1, quality, 0);
    if (way == 1) return T_CompressBitmapWithStamp(bitmap.get(), "out", 1, quality, 8, 8, 8, 0);
    return way == 2 ? T_CompressBMP("in", "out", 1, quality, 0)
                    : T_CompressALL("in", "out", 1, quality, 0);
  };
  for (int way = 0; way < 4; ++way) {
    EXPECT_EQ(compress(way, 256), T_ERR_QUALITY) << way;
    EXPECT_EQ(disk.files.count("out"), 0u) << way;
    EXPECT_EQ(compress(way, 25), T_OK) << way;
    EXPECT_EQ(disk.created_with, kCreateWriteOnly) << way;
    disk.files.erase("out");
  }
}

TEST(Compress, FailedWritesAreReported) {
  Bitmap bitmap;
  make_picture(bitmap, 30, 40, 24);
  const size_t whole = compress(bitmap.get(), 0, 9).size();
  const Bytes strip(16 * 90, 0x55);
  for (uint32_t limit = 0; limit < whole; limit += limit < 60 ? 1 : 37) {
    Collector out;
    out.limit = limit;
    int32_t status =
        T_StartCompressBuffer(bitmap.get(), Collector::write, 1440, 16, nullptr, 0, 9, &out);
    for (int i = 0; i < 3 && status == T_OK; ++i) status = T_CompressBuffer(strip.data());
    EXPECT_EQ(status == T_ERR_WRITE, limit < 24 || status != T_OK);
    const int32_t end = T_EndCompressBuffer();
    if (out.limit == 0 && out.bytes.size() < whole) {
      EXPECT_NE(status == T_OK ? end : status, T_OK);
    }
  }
  for (int n = 0;; ++n) {
    Disk disk;
    disk.fail_at = n;
    const int32_t status = T_CompressBitmap(bitmap.get(), "out", 0, 9, 0);
    EXPECT_EQ(disk.open_count, 0);
    if (!disk.fault_hit()) break;
    EXPECT_EQ(status, n == 0 ? T_ERR_CREATE : T_ERR_WRITE);
    ASSERT_LT(n, 100);
  }
}

// Runs `work` with each allocation refused in turn until none is.
void refuse_each(const std::function<int32_t()>& work) {
  const Leftovers before = leftovers();
  for (int64_t n = 0;; ++n) {
    platform::refuse_allocation(n, false);
    const int32_t status = work();
    const bool refused = platform::allocation_was_refused();
    platform::refuse_allocation(-1, false);
    EXPECT_TRUE(is_documented(status)) << "request " << n;
    EXPECT_EQ(leftovers(), before) << "request " << n;
    if (!refused) {
      EXPECT_EQ(status, T_OK);
      break;
    }
    ASSERT_LT(n, 100);
  }
}

TEST(Compress, SurvivesRefusedMemory) {
  Disk disk;
  Bitmap bitmap;
  make_picture(bitmap, 30, 40, 8);
  refuse_each([&] { return T_CompressBitmap(bitmap.get(), "out", 0, 9, 0); });
  refuse_each([&] { return T_SaveBitmap("out", bitmap.get(), T_FORMAT_JPEG, 24, 9); });
  const Bytes strip(16 * 90);
  refuse_each([&] {
    Collector out;
    int32_t status =
        T_StartCompressBuffer(bitmap.get(), Collector::write, 1440, 16, nullptr, 0, 9, &out);
    for (int i = 0; i < 3 && status == T_OK; ++i) status = T_CompressBuffer(strip.data());
    const int32_t end = T_EndCompressBuffer();
    return status == T_OK ? end : status;
  });
  refuse_each([&] {
    Collector out;
    int32_t status = T_StartCompressData(30, 40, 16, Collector::write, 0, 9, &out);
    if (status == T_OK) status = T_CompressData(Bytes(60 * 40).data(), 40);
    const int32_t end = T_EndCompressData();
    return status == T_OK ? end : status;
  });
}

}  // namespace
}  // namespace tavo::test
