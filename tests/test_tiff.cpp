#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"
#include "jpeg_streams.h"

namespace tavo::test {
namespace {

// Replaces a tag of `tags`, or puts it where it belongs.
std::vector<TiffTag> with(std::vector<TiffTag> tags, const TiffTag& tag) {
  std::erase_if(tags, [&tag](const TiffTag& t) { return t.tag == tag.tag; });
  const auto at = std::ranges::find_if(tags, [&tag](const TiffTag& t) { return t.tag > tag.tag; });
  tags.insert(at, tag);
  return tags;
}

std::vector<TiffTag> without(std::vector<TiffTag> tags, uint32_t number) {
  std::erase_if(tags, [number](const TiffTag& t) { return t.tag == number; });
  return tags;
}

TEST(Tiff, SamplesBecomeThePixelsThatTheyMean) {
  const auto tags = [](uint32_t bits, uint32_t samples, uint32_t photometric, size_t bytes) {
    return tiff_tags(2, 1, bits, samples, 1, photometric, static_cast<uint32_t>(bytes));
  };
  std::vector<uint32_t> map(3 * 4, 0);
  for (uint32_t i = 0; i < 4; ++i) map[i] = i * 0x1100;  // reds
  const struct {
    const char* what;
    std::vector<TiffTag> tags;
    Bytes data;
    int32_t bits;
    Bytes rgb;
    bool is_big_endian = false;
  } cases[] = {
      {"2-bit palette", with(tags(2, 1, 3, 1), {320, 3, map}), {0x70}, 4, {0x11, 0, 0, 0x33, 0, 0}},
      {"palette without a map", tags(8, 1, 3, 2), {7, 9}, 8, {7, 7, 7, 9, 9, 9}},
      {"12 bits", tags(12, 1, 1, 3), {0xFF, 0xF8, 0x00}, 8, {255, 255, 255, 128, 128, 128}},
      {"16 bits, high byte first", tags(16, 1, 1, 4), {1, 2, 3, 4}, 8, {1, 1, 1, 3, 3, 3}, true},
      {"4-bit RGB", tags(4, 3, 2, 3), {0xF0, 0x12, 0x34}, 24, {255, 0, 17, 34, 51, 68}},
      {"YCbCr",
       with(tags(8, 3, 6, 6), {530, 3, {1, 1}}),
       {76, 85, 255, 255, 128, 128},
       24,
       {254, 0, 0, 255, 255, 255}},
      // One unit of two pixels and two lines, of which the picture has one.
      {"YCbCr, shared colours",
       with(tags(8, 3, 6, 6), {530, 3, {2, 2}}),
       {10, 200, 0, 0, 128, 128},
       24,
       {10, 10, 10, 200, 200, 200}},
      // Two units of four pixels, of which the picture has six.
      {"YCbCr, units wider than what is left",
       with(with(tags(8, 3, 6, 12), {256, 3, {6}}), {530, 3, {4, 1}}),
       {10, 20, 30, 40, 128, 128, 50, 60, 200, 201, 128, 128},
       24,
       {10, 10, 10, 20, 20, 20, 30, 30, 30, 40, 40, 40, 50, 50, 50, 60, 60, 60}},
      {"planes",
       with(with(tags(8, 3, 2, 2), {284, 3, {2}}), {273, 4, {8, 10, 12}}),
       {1, 2, 3, 4, 5, 6},
       24,
       {1, 3, 5, 2, 4, 6}},
      // White runs of 2; then of 0, black ones of 2: the second row at the next even byte.
      {"runs in words",
       with(with(with(tags(1, 1, 0, 4), {259, 3, {32771}}), {257, 3, {2}}), {278, 3, {2}}),
       {0x70, 0x00, 0x35, 0xC0},
       1,
       {255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0}},
      {"runs called Group 3",
       with(with(with(with(tags(1, 1, 0, 3), {259, 3, {3}}), {257, 3, {2}}), {278, 3, {2}}),
            {292, 4, {5}}),
       {0x70, 0x35, 0xC0},
       1,
       {255, 255, 255, 255, 255, 255, 0, 0, 0, 0, 0, 0}},
      {"bits reversed", with(tags(1, 1, 1, 1), {266, 3, {2}}), {0x02}, 1, {0, 0, 0, 255, 255, 255}},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    auto described = c.tags;
    if (std::string(c.what) == "planes") described = with(described, {279, 4, {2, 2, 2}});
    ASSERT_EQ(load(tiff_file(described, c.data, c.is_big_endian), bitmap), T_OK) << c.what;
    EXPECT_EQ(bitmap->BitsPerPixel, c.bits) << c.what;
    EXPECT_EQ(rgb(bitmap.get()), c.rgb) << c.what;
  }
}

TEST(Tiff, CodingsAndHabitsOfWriters) {
  const Bytes want = {10, 20, 30, 40};
  const auto tags = [](uint32_t compression, size_t bytes) {
    return tiff_tags(4, 1, 8, 1, compression, 1, static_cast<uint32_t>(bytes));
  };
  const Bytes packed = {3, 10, 20, 30, 40};
  // Clear, 10, 20, 30, 40, end: 9 bits each, highest bit first; the old order, lowest first.
  const Bytes lzw = {0x80, 0x02, 0x82, 0x81, 0xE1, 0x44, 0x04};
  const Bytes old_lzw = {0x00, 0x15, 0x50, 0xF0, 0x80, 0x22, 0x20};
  const Bytes differences = deflate_stored({10, 10, 10, 10});
  const auto raw = tags(1, 4);
  const struct {
    const char* what;
    Bytes file;
  } cases[] = {
      {"PackBits", tiff_file(tags(32773, 5), packed)},
      {"LZW", tiff_file(tags(5, 7), lzw)},
      {"LZW of old writers", tiff_file(tags(5, 7), old_lzw)},
      {"Deflate, predictor", tiff_file(with(tags(8, 15), {317, 3, {2}}), differences)},
      {"no StripByteCounts", tiff_file(without(raw, 279), want)},
      {"StripByteCounts 0", tiff_file(with(raw, {279, 4, {0}}), want)},
      {"no RowsPerStrip", tiff_file(without(raw, 278), want)},
      {"no BitsPerSample value for 3", tiff_file(with(raw, {278, 3, {0}}), want)},
      {"no photometric", tiff_file(without(raw, 262), want)},
      {"tags out of order", tiff_file({raw.rbegin(), raw.rend()}, want)},
      {"tags in place of a directory of strips",
       tiff_file(with(with(without(raw, 278), {322, 3, {4}}), {323, 3, {1}}), want)},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(c.file, bitmap), T_OK) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), want) << c.what;
  }
}

TEST(Tiff, BadDirectoriesAreStatuses) {
  const auto raw = tiff_tags(4, 1, 8, 1, 1, 1, 4);
  const Bytes data = {1, 2, 3, 4};
  const struct {
    const char* what;
    std::vector<TiffTag> tags;
    int32_t status;
  } cases[] = {
      {"no width", without(raw, 256), T_ERR_BAD_DATA},
      {"no height, no size", without(without(raw, 257), 279), T_ERR_BAD_DATA},
      {"no height, no whole row", with(with(raw, {257, 3, {0}}), {279, 4, {3}}), T_ERR_BAD_DATA},
      {"no height, tiles", with(with(without(raw, 257), {322, 3, {16}}), {323, 3, {16}}),
       T_ERR_BAD_DATA},
      {"a row beyond the data", with(raw, {256, 4, {600000000}}), T_ERR_BAD_DATA},
      {"no strips", without(raw, 273), T_ERR_BAD_DATA},
      {"strip behind the file", with(raw, {273, 4, {0x7FFFFFFF}}), T_ERR_READ},
      {"strip cut", with(raw, {273, 4, {0xB0}}), T_ERR_READ},
      {"LZW strip of one byte", with(with(raw, {259, 3, {5}}), {279, 4, {1}}), T_ERR_READ},
      {"fewer strips than rows", with(with(raw, {257, 3, {2}}), {278, 3, {1}}), T_ERR_BAD_DATA},
      {"tile width 0", with(with(raw, {322, 3, {0}}), {324, 4, {8}}), T_ERR_BAD_DATA},
      {"tile height huge", with(with(raw, {322, 3, {16}}), {323, 4, {0xFFFFFFFF}}), T_ERR_BAD_DATA},
      {"65,535 samples", with(raw, {277, 3, {65535}}), T_ERR_SUBTYPE},
      {"unequal samples", with(with(raw, {277, 3, {3}}), {258, 3, {8, 8, 1}}), T_ERR_SUBTYPE},
      {"17 bits", with(raw, {258, 3, {17}}), T_ERR_SUBTYPE},
      {"floating point", with(raw, {339, 3, {3}}), T_ERR_SUBTYPE},
      {"unknown coding", with(raw, {259, 3, {34676}}), T_ERR_SUBTYPE},
      {"unknown colours", with(raw, {262, 3, {8}}), T_ERR_SUBTYPE},
      {"planar shared colours",
       with(with(tiff_tags(2, 2, 8, 3, 1, 6, 4), {284, 3, {2}}), {530, 3, {2, 2}}), T_ERR_SUBTYPE},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    EXPECT_EQ(load(tiff_file(c.tags, data), bitmap), c.status) << c.what;
  }
  // A value behind the end of the file makes another picture, unless it only describes it.
  const auto read_cut = [&](const TiffTag& last) {
    Bytes file = tiff_file(with(raw, last), data);
    file.resize(file.size() - 6);
    return read_directly(T_LoadTIFFile, file);
  };
  EXPECT_EQ(read_cut({282, 5, {300, 1}}), T_OK);
  EXPECT_EQ(read_cut({339, 3, {1, 1, 1}}), T_OK);
  EXPECT_EQ(read_cut({279, 4, {4, 4}}), T_OK);
  EXPECT_EQ(read_cut({258, 3, {8, 8, 8}}), T_ERR_READ);
  // A tag of one value, photometric, with a count of more than there can be.
  Bytes miscounted = tiff_file(raw, data);
  miscounted[8 + data.size() + 2 + 4 * 12 + 7] = 0x77;
  EXPECT_EQ(read_directly(T_LoadTIFFile, miscounted), T_OK);
  // A page that is its own successor counts once; one that follows nothing is no page.
  Bytes ring = tiff_file(raw, data);
  const Bytes here(ring.begin() + 4, ring.begin() + 8);
  std::copy(here.begin(), here.end(), ring.end() - 4);
  FILEINFO info = info_of(ring);
  EXPECT_EQ(info.PageCount, 1);
}

TEST(Tiff, ADamagedBlockCostsItsOwnRows) {
  const Bytes row = {3, 10, 20, 30, 40};
  const Bytes cut = {3, 50};
  JpegPicture flat(8, 1, {{1, 1, 1}}, std::vector{50});
  const Bytes stream = jpeg_stream(flat, {});
  // Blocks of one row; the middle one is damaged, or the last one is not there.
  const auto file = [](std::vector<TiffTag> tags, const std::vector<Bytes>& blocks, bool is_tiled) {
    std::vector<uint32_t> offsets;
    std::vector<uint32_t> sizes;
    Bytes data;
    for (const Bytes& block : blocks) {
      offsets.push_back(block.empty() ? 0xFFFF : 8 + static_cast<uint32_t>(data.size()));
      sizes.push_back(static_cast<uint32_t>(block.size()));
      data = join({data, block});
    }
    tags = without(without(without(tags, 273), 278), 279);
    tags = with(tags, {is_tiled ? 323u : 278u, 3, {1}});
    if (is_tiled) tags = with(tags, {322, 3, {4}});
    tags =
        with(with(tags, {is_tiled ? 324u : 273u, 4, offsets}), {is_tiled ? 325u : 279u, 4, sizes});
    return tiff_file(tags, data);
  };
  const auto gray = tiff_tags(4, 3, 8, 1, 32773, 1, 0);
  const auto jpeg = tiff_tags(8, 3, 8, 1, 7, 1, 0);
  const auto planes = with(tiff_tags(4, 1, 8, 3, 32773, 2, 0), {284, 3, {2}});
  const struct {
    const char* what;
    Bytes file;
    int32_t status;
    int32_t whole_rows;
    Bytes pixels;
  } cases[] = {
      {"strips",
       file(gray, {row, cut, row}, false),
       T_ERR_READ,
       1,
       {10, 20, 30, 40, 0, 0, 0, 0, 10, 20, 30, 40}},
      {"tiles",
       file(gray, {row, cut, row}, true),
       T_ERR_READ,
       1,
       {10, 20, 30, 40, 0, 0, 0, 0, 10, 20, 30, 40}},
      {"nothing behind",
       file(gray, {row, row, {}}, false),
       T_ERR_READ,
       2,
       {10, 20, 30, 40, 10, 20, 30, 40, 0, 0, 0, 0}},
      {"a plane",
       file(planes, {row, {}, row}, false),
       T_ERR_READ,
       0,
       {10, 0, 10, 20, 0, 20, 30, 0, 30, 40, 0, 40}},
      {"JPEG", file(jpeg, {stream, row, stream}, false), T_ERR_BAD_DATA, 1,
       join({Bytes(8, 50), Bytes(8, 128), Bytes(8, 50)})},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    EXPECT_EQ(load(c.file, bitmap), c.status) << c.what;
    EXPECT_EQ(T_GetRowsRead(), c.whole_rows) << c.what;
    EXPECT_EQ(pixels(bitmap.get()), c.pixels) << c.what;
  }
}

// Strips of one row that share data, most of which make no pixel.
TEST(Tiff, SharedDataAreNotDecodedOverAndOver) {
  constexpr uint32_t kStrips = 500;
  const auto repeated = [](size_t times, const Bytes& unit, const Bytes& end) {
    Bytes all;
    for (size_t i = 0; i < times; ++i) all.insert(all.end(), unit.begin(), unit.end());
    return join({all, end});
  };
  Bytes last_block = deflate_stored(Bytes(8, 5));
  last_block.erase(last_block.begin(), last_block.begin() + 2);
  JpegPicture flat(8, 1, {{1, 1, 1}}, std::vector{50});
  const struct {
    const char* what;
    uint32_t compression;
    uint32_t bits;
    Bytes data;
  } cases[] = {
      {"no packet", 32773, 8, repeated(8000, {0x80}, {7, 1, 2, 3, 4, 5, 6, 7, 8})},
      // Eight clear codes of 9 bits; eight literals, the last of 0.
      {"clear codes", 5, 8, repeated(900, {0x80, 0x40, 0x20, 0x10, 8, 4, 2, 1, 0}, Bytes(9))},
      {"empty blocks", 8, 8, join({{0x78, 1}, repeated(1600, {0, 0, 0, 0xFF, 0xFF}, last_block)})},
      {"fill bits", 3, 1, repeated(8000, {0}, {0x01, 0x98})},
      {"comments", 7, 8, jpeg_stream(flat, {.segments = jpeg_segment(0xFE, Bytes(8000))})},
  };
  for (const auto& c : cases) {
    auto tags = tiff_tags(8, kStrips, c.bits, 1, c.compression, 1, 0);
    tags = with(tags, {273, 4, std::vector<uint32_t>(kStrips, 8)});
    tags = with(tags, {278, 4, {1}});
    tags = with(tags, {279, 4, std::vector<uint32_t>(kStrips, uint32_t(c.data.size()))});
    Disk disk;
    disk.files["in"] = tiff_file(tags, c.data);
    Bitmap bitmap;
    EXPECT_EQ(T_LoadBitmap("in", bitmap.get(), 0, -1), T_ERR_BAD_DATA) << c.what;
    EXPECT_LT(disk.bytes_read, 500000u) << c.what;
    // One such strip is none too many.
    tags =
        with(with(with(tags, {257, 3, {1}}), {273, 4, {8}}), {279, 4, {uint32_t(c.data.size())}});
    Bitmap one;
    EXPECT_EQ(load(tiff_file(tags, c.data), one), T_OK) << c.what;
  }
  // Empty tiles share theirs.
  const Bytes tile = deflate_stored(Bytes(256, 7));
  auto tags = tiff_tags(512, 512, 8, 1, 8, 1, 0);
  tags = with(with(without(without(without(tags, 273), 278), 279), {322, 3, {16}}), {323, 3, {16}});
  tags = with(tags, {324, 4, std::vector<uint32_t>(1024, 8)});
  tags = with(tags, {325, 4, std::vector<uint32_t>(1024, uint32_t(tile.size()))});
  Bitmap bitmap;
  EXPECT_EQ(load(tiff_file(tags, tile), bitmap), T_OK);
}

// Fax programs do not know the height when they write the directory.
TEST(Tiff, MissingHeightsAreCounted) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 90, 41, 1);
  for (const int32_t format :
       {T_FORMAT_TIFF, T_FORMAT_TIFF_PACKBITS, T_FORMAT_TIFF_LZW, T_FORMAT_TIFF_GROUP3,
        T_FORMAT_TIFF_GROUP3_2D, T_FORMAT_TIFF_GROUP4}) {
    for (const uint32_t strip_rows : {0u, 20u, 41u}) {
      picture->WriterDefaults[0] = strip_rows;
      ASSERT_EQ(T_SaveBitmap("a", picture.get(), format, 1, 0), T_OK);
      Bytes file = disk.files["a"];
      Bitmap whole;
      ASSERT_EQ(load(file, whole), T_OK);
      const Bytes height = {1, 1, 4, 0, 1, 0, 0, 0};
      const auto at = std::search(file.begin(), file.end(), height.begin(), height.end());
      ASSERT_NE(at, file.end());
      at[8] = 0;
      Bitmap counted;
      ASSERT_EQ(load(file, counted), T_OK) << format << ", " << strip_rows;
      EXPECT_EQ(pixels(counted.get()), pixels(whole.get())) << format << ", " << strip_rows;
      const FILEINFO info = info_of(file);
      EXPECT_EQ(info.Height, 41);
    }
  }
  // Three white rows of 1728 pixels; then nothing, an end-of-line code, a return to control.
  const Bytes rows = {0x00, 0x14, 0xD9, 0xA8, 0x00, 0xA6, 0xCD, 0x40, 0x05, 0x36, 0x6A};
  for (const Bytes& end :
       {Bytes{}, Bytes{0x00, 0x08}, Bytes{0x00, 0x10, 0x01, 0x00, 0x10, 0x01, 0x00, 0x10, 0x01}}) {
    const Bytes data = join({rows, end});
    const auto tags = tiff_tags(1728, 1, 1, 1, 3, 0, static_cast<uint32_t>(data.size()));
    const Bytes file = tiff_file(without(without(tags, 257), 278), data);
    const FILEINFO info = info_of(file);
    EXPECT_EQ(info.Height, 3) << end.size();
  }
}

TEST(Tiff, ResolutionsAndOrientationAreReported) {
  const auto plain = tiff_tags(4, 1, 8, 1, 1, 1, 4);
  const auto tags = with(with(with(plain, {282, 5, {100, 1}}), {283, 5, {591, 10}}), {296, 3, {3}});
  const Bytes file = tiff_file(tags, {1, 2, 3, 4});
  FILEINFO info = info_of(file);
  EXPECT_EQ(info.XResolution, 254);
  EXPECT_EQ(info.YResolution, 150);
  EXPECT_STREQ(info.Compression, "None");
  for (const uint32_t orientation : {0u, 1u, 2u, 4u, 8u, 9u}) {
    const Bytes turned = tiff_file(with(plain, {274, 3, {orientation}}), {1, 2, 3, 4});
    info = info_of(turned);
    const bool needs_turning = orientation == 2 || orientation == 8;
    EXPECT_EQ(info.Orientation, needs_turning ? orientation : 1) << orientation;
    EXPECT_EQ(info.ViewPerspective, orientation == 4 ? 2u : 0u) << orientation;
  }
  for (const int32_t wrong : {0, 9}) EXPECT_EQ(T_SetSaveOrientation(wrong), T_ERR_ARGUMENT);
  // A fraction that is not there: nothing is read in its stead, the default stands.
  Bytes none = file;
  const Bytes entry = {0x1A, 1, 5, 0, 1};
  const auto at = std::search(none.begin(), none.end(), entry.begin(), entry.end());
  ASSERT_NE(at, none.end());
  std::ranges::copy(Bytes{0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F}, at + 4);
  info = info_of(none);
  EXPECT_EQ(info.XResolution, 150);
}

TEST(Tiff, StripsBeginAtEvenPlaces) {
  Disk disk;
  Bitmap picture;
  make_picture(picture, 3, 3, 8);
  picture->WriterDefaults[0] = 1;
  ASSERT_EQ(T_SaveBitmap("a", picture.get(), T_FORMAT_TIFF, 8, 0), T_OK);
  const Bytes& file = disk.files["a"];
  const Bytes offsets = {0x11, 1, 4, 0, 3, 0, 0, 0};
  const auto entry = std::search(file.begin(), file.end(), offsets.begin(), offsets.end());
  ASSERT_NE(entry, file.end());
  const size_t list = entry[8] + entry[9] * 256u;
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(file.at(list + 4 * i) % 2, 0) << i;
}

class TiffPages : public ::testing::Test {
 protected:
  void SetUp() override { make_picture(picture_, 90, 40, 1); }
  void TearDown() override { T_SetPageNumber(1); }

  int32_t append(const char* name, int32_t format = T_FORMAT_TIFF_GROUP4) {
    return T_SaveFile(name, picture_.get(), format, 1, 0, T_SAVE_APPEND, 0, 0);
  }

  Disk disk_;
  Bitmap picture_;
};

TEST_F(TiffPages, AreAddedInPlaceAndReadByNumber) {
  const int32_t formats[] = {T_FORMAT_TIFF, T_FORMAT_TIFF_LZW, T_FORMAT_TIFF_GROUP3_2D};
  Bytes before;
  for (const int32_t format : formats) {
    ASSERT_EQ(append("a.tif", format), T_OK);
    const Bytes& file = disk_.files["a.tif"];
    EXPECT_TRUE(before.empty() ||
                std::equal(before.begin() + 8, before.begin() + 400, file.begin() + 8));
    before = file;
  }
  const char* const texts[] = {"None", "LZW", "CCITT Group 3 Fax", "CCITT Group 3 Fax"};
  for (int32_t page = 1; page <= 4; ++page) {
    T_SetPageNumber(page);
    FILEINFO info;
    ASSERT_EQ(T_FileInfo("a.tif", &info), T_OK);
    EXPECT_EQ(info.PageCount, 3);
    EXPECT_EQ(info.Page, std::min(page, 3));
    EXPECT_STREQ(info.Compression, texts[page - 1]);
    Bitmap bitmap;
    EXPECT_EQ(T_LoadBitmap("a.tif", bitmap.get(), 0, -1), T_OK);
  }
}

TEST_F(TiffPages, AreNotAddedToAFileThatIsCut) {
  ASSERT_EQ(append("a.tif"), T_OK);
  const Bytes whole = disk_.files["a.tif"];
  for (size_t size = whole.size(); size-- > 4;) {
    disk_.files["a.tif"].assign(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
    const Bytes cut = disk_.files["a.tif"];
    EXPECT_NE(append("a.tif"), T_OK) << size;
    EXPECT_TRUE(disk_.files["a.tif"] == cut) << size;
  }
}

TEST_F(TiffPages, AreNotAddedToARing) {
  Bytes ring = tiff_file(tiff_tags(4, 1, 8, 1, 1, 1, 4), {1, 2, 3, 4});
  std::copy(ring.begin() + 4, ring.begin() + 8, ring.end() - 4);
  disk_.files["a.tif"] = ring;
  EXPECT_EQ(append("a.tif"), T_ERR_BAD_DATA);
  EXPECT_EQ(disk_.files["a.tif"], ring);
}

TEST(Tiff, WriterTakesTheDepthsThatItsCodingsHave) {
  Bitmap picture;
  make_picture(picture, 20, 30, 24);
  EXPECT_EQ(T_SaveBitmap("a", picture.get(), T_FORMAT_TIFF_GROUP4, 8, 0), T_ERR_DEPTH);
  EXPECT_EQ(T_SaveBitmap("a", picture.get(), T_FORMAT_TIFF, 16, 0), T_ERR_DEPTH);
}

}  // namespace
}  // namespace tavo::test
