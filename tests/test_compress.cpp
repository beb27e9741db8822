// Compression through the exports: the bytes around the coded data, the meaning of the quality
// factor, the ways to drive it, and what can go wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/settings.h"
#include "compress/coding_parameters.h"
#include "platform/platform.h"
#include "support.h"

namespace tavo::test {
namespace {

// The data of the first segment with this marker, behind its length; `order` gets all markers.
Bytes segment(const Bytes& stream, uint8_t marker, Bytes* order = nullptr) {
  Bytes found;
  for (size_t at = 2; at + 4 <= stream.size() && stream[at] == 0xFF;) {
    const size_t size = stream[at + 2] << 8 | stream[at + 3];
    if (stream[at + 1] == marker && found.empty()) found = part(stream, at + 4, size - 2);
    if (order != nullptr) order->push_back(stream[at + 1]);
    if (stream[at + 1] == 0xDA) break;
    at += 2 + size;
  }
  EXPECT_FALSE(found.empty()) << "no segment " << int{marker};
  return found;
}
Bytes stream_of(const Bytes& cmp) { return {cmp.begin() + 24, cmp.end() - 12}; }

void make_gray(Bitmap& bitmap, int32_t width, int32_t height, uint32_t perspective = 2) {
  T_FreeBitmap(bitmap.get());
  make_picture(bitmap, width, height, 8, 1, perspective);
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

  const Bytes begin = join(
      {hex("FFD8 FFE00010"), text("JFIF"), hex("000100 00 012C 0048 0000"),  // no unit, densities
       hex("FFFE001F"), text("TAVO Technologies Inc. V1.01"), hex("00 FFDB0043 00"),
       Bytes(64, 2),  // internal value 1 makes every entry 2
       // 2 + 17 + 12 + 17 + 162 bytes: tables 0 with the counts of K.3 and of K.5.
       hex("FFC400D2 00 00010501010101010100000000000000 000102030405060708090A0B"),
       hex("10 0002010303020403050504040000017D")});
  // SOF0: 8 bits, 8 x 8, 1 component, 1x1; SOS; 11110 1000000 1010; EOI.
  const Bytes end = hex("FFC0000B 08 0008 0008 01 011100 FFDA0008 01 0100 003F00 F40A FFD9");
  ASSERT_EQ(file.size(), begin.size() + 162 + end.size());
  EXPECT_EQ(part(file, 0, begin.size()), begin);
  EXPECT_EQ(part(file, file.size() - end.size()), end);
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
  Bytes order;
  const Bytes tables = segment(file, 0xDB, &order);
  EXPECT_EQ(order, hex("E0FEDBC4C0DA"));
  ASSERT_EQ(tables.size(), 130u);  // internal value 50 leaves tables K.1 and K.2 as they are
  EXPECT_EQ(part(tables, 0, 9), (Bytes{0, 16, 11, 12, 14, 12, 10, 16, 14}));
  EXPECT_EQ(part(tables, 65, 9), (Bytes{1, 17, 18, 18, 24, 21, 24, 47, 26}));
  // Tables K.3 to K.6, as other encoders write them.
  uint32_t sum = 0;
  for (const uint8_t byte : segment(file, 0xC4)) sum = sum * 31 + byte;
  EXPECT_EQ(sum, 0xDB6D6424u);
  EXPECT_EQ(segment(file, 0xC0), hex("08 0014 0028 03 012100 021101 031101"));
  EXPECT_EQ(segment(file, 0xDA), hex("03 0100 0211 0311 003F00"));
  EXPECT_EQ(part(file, file.size() - 2), hex("FFD9"));
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
  // Half height, 2x1; 300 wide, 21 / 2 rows, 24 bits, top first; factor 120 / 2.
  EXPECT_EQ(part(file, 0, 24),
            join({text("TAVO"), hex("0000 80"), Bytes(9), hex("2C01 0A00 18 20 3C 00")}));
  EXPECT_EQ(part(file, file.size() - 14),
            join({hex("FFD9"), text("TAVO"), hex("0302 4B00 00000000")}));
  const Bytes stream = stream_of(file);
  EXPECT_EQ(segment(stream, 0xE0), join({text("JFIF"), hex("000100 00 0000 0000 0000")}));
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
      {0, 7, false, 1, 13, false, 1, 1},    {0, 8, false, 1, 14, false, 2, 1},
      {0, 48, false, 1, 54, false, 2, 1},   {0, 49, false, 1, 55, false, 2, 2},
      {0, 94, false, 1, 100, false, 2, 2},  {0, 95, false, 1, 101, false, 2, 1},
      {0, 100, false, 1, 106, false, 2, 1}, {0, 101, false, 1, 50, true, 2, 1},
      {0, 255, false, 1, 127, true, 2, 1},  {0, -1, false, 1, 5, false, 1, 1},
      {0, -5, false, 1, 45, false, 2, 2},   {0, -7, false, 1, 55, true, 2, 1},
      {0, -9, false, 1, 93, true, 2, 1},    {0, -9, true, 1, 186, false, 1, 1},
      {0, -10, false, -21, 0, false, 0, 0}, {0, 256, false, -21, 0, false, 0, 0},
      {1, 0, false, 1, 0, false, 1, 1},     {3, 150, false, 1, 150, false, 2, 2},
      {6, 9, false, 1, 9, false, 2, 1},     {3, 9, true, 1, 9, false, 1, 1},
      {1, -1, false, -21, 0, false, 0, 0},  {7, 9, false, -9, 0, false, 0, 0},
  };
  for (const Case& c : cases) {
    compress::CodingParameters got;
    ASSERT_EQ(compress::choose_parameters(c.type, c.factor, c.gray, got).code(), c.status)
        << c.factor;
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

// Every depth comes out as its 24-bit picture does, black and white as grey.
TEST(Compress, DepthsAreConverted) {
  for (const int32_t bits : {1, 2, 4, 8, 16, 32}) {
    Bitmap bitmap, converted;
    make_picture(bitmap, 33, 18, bits);
    if (bits == 1) {
      bitmap->Info.Palette[0] = {0, 0, 0, 0};
      bitmap->Info.Palette[1] = {255, 255, 255, 0};
    }
    make_picture(converted, 33, 18, bits);
    std::memcpy(converted->Info.Palette, bitmap->Info.Palette, sizeof bitmap->Info.Palette);
    ASSERT_EQ(bits == 1 ? T_GrayScaleBitmap(converted.get())
                        : T_ColorResolution(converted.get(), 24, T_PALETTE_NONE, nullptr, 0),
              T_OK);
    EXPECT_EQ(compress(bitmap.get(), 3, 20), compress(converted.get(), 3, 20)) << bits;
  }
}

// ---- The ways to drive a compression ----

struct Written {
  Bytes bytes;
  std::vector<uint32_t> sizes;
  uint32_t limit = UINT32_MAX;  // bytes taken before it refuses

  static uint32_t T_CALL write(const void* bytes, uint32_t size, void* user) {
    auto& self = *static_cast<Written*>(user);
    const uint32_t taken = std::min(size, self.limit);
    self.limit -= taken;
    const auto* from = static_cast<const uint8_t*>(bytes);
    self.bytes.insert(self.bytes.end(), from, from + taken);
    self.sizes.push_back(size);
    return taken;
  }
};

// The picture's rows top first as strips take them: blue, green, red, or grey levels.
Bytes strip_rows(BitmapHandle* bitmap) {
  const Bytes colors = rgb(bitmap);
  Bytes rows;
  for (size_t i = 0; i < colors.size(); i += 3) {
    rows.insert(rows.end(), {colors[i + 2], colors[i + 1], colors[i]});
    if ((bitmap->Flags & T_FLAG_GRAY) != 0) rows.resize(rows.size() - 2);
  }
  return rows;
}

Bytes compress_strips(BitmapHandle* bitmap, uint32_t rows_per_strip, int32_t type, Written& out) {
  Bytes rows = strip_rows(bitmap);
  const size_t stride = rows.size() / bitmap->Height;
  rows.resize(rows.size() + stride * rows_per_strip);
  const uint32_t perspective = std::exchange(bitmap->ViewPerspective, 0);
  EXPECT_EQ(
      T_StartCompressBuffer(bitmap, Written::write, static_cast<uint32_t>(rows_per_strip * stride),
                            100, nullptr, type, 20, &out),
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
        Written out;
        EXPECT_TRUE(compress_strips(bitmap, rows, type, out) == want) << rows;
        EXPECT_LE(*std::max_element(out.sizes.begin(), out.sizes.end()), 100u);
        if (type != 0) continue;
        EXPECT_EQ(out.sizes[0], 24u);  // the header alone, the trailer byte by byte
        EXPECT_EQ(std::vector<uint32_t>(out.sizes.end() - 12, out.sizes.end()),
                  std::vector<uint32_t>(12, 1));
      }
    }
  }
}

// Rows through the data interface and through the sink that compresses.
TEST(Compress, RowsGiveWhatTheBitmapGives) {
  for (const int32_t bits : {4, 8, 16, 24, 32}) {
    Bitmap bitmap;
    make_picture(bitmap, 31, 40, bits, 1, 0);
    if (bits == 8) make_gray(bitmap, 31, 40, 0);
    if (bits > 8) bitmap->Order = T_ORDER_BGR;
    const Bytes want = compress(bitmap.get(), 0, 20), rows = pixels(bitmap.get());
    Written out;
    ASSERT_EQ(T_StartCompressData(31, 40, bits, Written::write, 0, 20, &out),
              bits == 4 ? T_ERR_NOT_COMPRESSIBLE : T_OK);
    for (int32_t y = 0; const int32_t count : {0, 1, 16, 7, 16}) {
      if (bits == 4) break;
      EXPECT_EQ(T_CompressData(&rows[y * rows.size() / 40], count), T_OK);
      y += count;
    }
    EXPECT_EQ(T_EndCompressData(), bits == 4 ? T_ERR_INCOMPLETE : T_OK);
    EXPECT_TRUE(bits == 4 || out.bytes == want) << bits;
    if (bits == 32) continue;

    Disk disk;
    const intptr_t file = settings.files.Open("got", 0x8302, 128);
    Bytes strip(16 * 3 * 31);
    T_CompressContext context = {0, 20, strip.data(), reinterpret_cast<void*>(file)};
    T_AccessBitmap(bitmap.get());
    for (uint32_t y = 0; y < 40; y += 4) {
      Bytes some(4 * bitmap->BytesPerLine);
      T_GetBitmapRow(bitmap.get(), some.data(), y, some.size());
      EXPECT_EQ(CompressCallBack(bitmap.get(), some.data(), 4, &context), T_OK);
    }
    EXPECT_EQ(T_CompressBuffer(strip.data()), T_OK);
    EXPECT_EQ(T_EndCompressBuffer(), T_OK);
    settings.files.Close(static_cast<int32_t>(file));
    EXPECT_TRUE(disk.files["got"] == want) << bits;
  }
}

TEST(Compress, HalfHeightCodesEvenRowsOfStrips) {
  Bitmap bitmap, even;
  make_picture(bitmap, 24, 34, 24, 1, 0);
  make_picture(even, 24, 17, 24, 1, 0);
  const Bytes rows = pixels(bitmap.get());
  T_AccessBitmap(even.get());
  for (uint32_t y = 0; y < 17; ++y) T_PutBitmapRow(even.get(), &rows[144 * y], y, 72);
  T_ReleaseBitmap(even.get());
  const Bytes half = stream_of(compress(bitmap.get(), 0, 101));
  EXPECT_EQ(half, stream_of(compress(even.get(), 0, 44)));  // internal value 50, 2x1

  // Each strip begins anew, those of an odd number of rows too.
  Bitmap five;
  make_picture(five, 24, 5, 24, 1, 0);
  T_AccessBitmap(five.get());
  const uint32_t coded[] = {0, 2, 4, 5, 7};
  for (uint32_t y = 0; y < 5; ++y) T_PutBitmapRow(five.get(), &rows[72 * coded[y]], y, 72);
  T_ReleaseBitmap(five.get());
  Written out;
  bitmap->Height = 10;
  bitmap->ViewPerspective = five->ViewPerspective = 0;
  ASSERT_EQ(T_StartCompressBuffer(bitmap.get(), Written::write, 360, 0, nullptr, 0, 101, &out),
            T_OK);
  EXPECT_EQ(T_CompressBuffer(rows.data()), T_OK);
  EXPECT_EQ(T_CompressBuffer(&rows[360]), T_OK);
  EXPECT_EQ(T_EndCompressBuffer(), T_OK);
  EXPECT_EQ(stream_of(out.bytes), stream_of(compress(five.get(), 0, 44)));
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
    // No rows, more than the picture has, and a target that cannot be: nothing stays behind.
    const Leftovers before = leftovers();
    context.Format = 49;
    Bytes rows(15 * bitmap->BytesPerLine);
    EXPECT_EQ(sink(bitmap.get(), rows.data(), 0, &context), T_OK);
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
    Written out;
    const int32_t status =
        T_StartCompressBuffer(&b, Written::write, strip_bytes, 0, nullptr, type, quality, &out);
    T_EndCompressBuffer();
    return status;
  };
  const struct {
    int32_t width, height, bits;
    uint32_t strip_bytes;
    int32_t type, quality, want;
  } cases[] = {
      {20, 20, 24, 960, 0, 9, T_OK},
      {0, 20, 24, 960, 0, 9, T_ERR_NOT_COMPRESSIBLE},
      {20, 0, 24, 960, 0, 9, T_ERR_NOT_COMPRESSIBLE},
      {20, 20, 4, 960, 0, 9, T_ERR_NOT_COMPRESSIBLE},
      {20, 20, 33, 960, 0, 9, T_ERR_NOT_COMPRESSIBLE},
      {21845, 20, 24, 65535, 1, 9, T_OK},
      {21846, 20, 24, 65538, 1, 9, T_ERR_NOT_COMPRESSIBLE},
      {20, 65536, 24, 960, 1, 9, T_ERR_NOT_COMPRESSIBLE},
      {20, 1, 24, 960, 0, 101, T_ERR_NOT_COMPRESSIBLE},  // half height leaves no row
      {20, 20, 24, 960, 7, 9, T_ERR_BAD_DATA},
      {20, 20, 24, 960, 0, -10, T_ERR_QUALITY},
      {20, 20, 24, 960, 1, -1, T_ERR_QUALITY},
      {20, 20, 24, 960, 1, 0, T_ERR_MULTIPLIER},
      {20, 20, 24, 480, 3, 9, T_ERR_SIZE},  // 8 rows a strip with 2x2
      {20, 20, 24, 59, 1, 9, T_ERR_SIZE},   // no row a strip
  };
  for (const auto& c : cases) {
    EXPECT_EQ(start(c.width, c.height, c.bits, c.strip_bytes, c.type, c.quality), c.want)
        << "case " << &c - cases;
  }
  EXPECT_EQ(T_StartCompressData(0, 9, 8, Written::write, 0, 9, nullptr), T_ERR_NOT_COMPRESSIBLE);
  EXPECT_EQ(T_CompressData("", 1), T_ERR_NO_MEMORY);

  EXPECT_EQ(T_CompressBuffer("x"), T_ERR_NO_MEMORY);
  EXPECT_EQ(T_EndCompressBuffer(), T_ERR_INCOMPLETE);
  Written out;
  ASSERT_EQ(T_StartCompressBuffer(bitmap.get(), Written::write, 960, 0, nullptr, 0, 9, &out), T_OK);
  EXPECT_EQ(T_CompressBuffer(nullptr), T_ERR_NO_MEMORY);
  EXPECT_EQ(T_CompressBuffer(Bytes(960).data()), T_OK);
  EXPECT_EQ(T_EndCompressBuffer(), T_ERR_INCOMPLETE);
  // Ended properly all the same.
  EXPECT_EQ(part(out.bytes, out.bytes.size() - 14, 6), join({hex("FFD9"), text("TAVO")}));

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
    Written out;
    out.limit = limit;
    int32_t status =
        T_StartCompressBuffer(bitmap.get(), Written::write, 1440, 16, nullptr, 0, 9, &out);
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
    if (!disk.fault_hit()) break;
    EXPECT_EQ(status, n == 0 ? T_ERR_CREATE : T_ERR_WRITE);
  }
}

TEST(Compress, SurvivesRefusedMemory) {
  Disk disk;
  const auto prepare = [](Bitmap& bitmap) { make_picture(bitmap, 30, 40, 8); };
  refuse_each([](BitmapHandle* b) { return T_CompressBitmap(b, "out", 0, 9, 0); }, prepare);
  refuse_each([](BitmapHandle* b) { return T_SaveBitmap("out", b, T_FORMAT_JPEG, 24, 9); },
              prepare);
  const Bytes strip(16 * 90);
  refuse_each(
      [&](BitmapHandle* bitmap) {
        Written out;
        int32_t status =
            T_StartCompressBuffer(bitmap, Written::write, 1440, 16, nullptr, 0, 9, &out);
        for (int i = 0; i < 3 && status == T_OK; ++i) status = T_CompressBuffer(strip.data());
        const int32_t end = T_EndCompressBuffer();
        return status == T_OK ? end : status;
      },
      prepare);
  refuse_each([](BitmapHandle*) {
    Written out;
    int32_t status = T_StartCompressData(30, 40, 16, Written::write, 0, 9, &out);
    if (status == T_OK) status = T_CompressData(Bytes(60 * 40).data(), 40);
    const int32_t end = T_EndCompressData();
    return status == T_OK ? end : status;
  });
}

}  // namespace
}  // namespace tavo::test
