#include <gtest/gtest.h>

#include <string>

#include "support.h"

namespace tavo::test {
namespace {

Bytes record(const std::string& text) {
  Bytes bytes(text.begin(), text.end());
  bytes.resize(128);
  return bytes;
}

// A header of 16 records with one of them replaced (0: none), then ....#### in Group 4.
Bytes file_with(size_t number, const std::string& text) {
  std::vector<std::string> records = {
      "srcdocid: NONE\n",       "dstdocid: NONE\n",  "txtfilid: NONE\n", "figid: NONE\n",
      "srcgph: NONE\n",         "doccls: UNCLASS\n", "rtype: 1\n",       "rorient: 000,270\n",
      "rpelcnt: 00008,00001\n", "rdensity: 0200\n",  "notes: NONE\n"};
  records.resize(16);
  if (number > 0) records[number - 1] = text;
  Bytes file;
  for (const std::string& r : records) file = join({file, record(r)});
  return join({file, {0x36, 0xC0, 0x04, 0x00, 0x40}});  // 001 1011 011, end of block
}

TEST(Cals, WritesTheRecordsAndTheCodes) {
  Disk disk;
  Bitmap bitmap;
  ASSERT_EQ(T_InitBitmap(bitmap.get(), 8, 1, 1), T_OK);
  ASSERT_EQ(T_AllocateBitmap(bitmap.get(), 1), T_OK);
  for (const bool is_inverse : {false, true}) {
    const uint8_t row = is_inverse ? 0xF0 : 0x0F;
    const uint8_t level = is_inverse ? 0 : 255;
    bitmap->Info.Palette[0] = {level, level, level, 0};
    bitmap->Info.Palette[1] = {static_cast<uint8_t>(~level), static_cast<uint8_t>(~level),
                               static_cast<uint8_t>(~level), 0};
    T_AccessBitmap(bitmap.get());
    T_PutBitmapRow(bitmap.get(), &row, 0, 1);
    ASSERT_EQ(T_SaveCALSBitmap("a.cal", bitmap.get(), 1), T_OK);
    EXPECT_EQ(disk.files["a.cal"], file_with(0, "")) << is_inverse;
  }
  EXPECT_EQ(T_SaveCALSBitmap("a.cal", bitmap.get(), 8), T_ERR_DEPTH);
}

TEST(Cals, HeadersAreReadAsTheyShouldBe) {
  const struct {
    size_t record;
    const char* text;
    int32_t status;
  } cases[] = {
      {9, "rpelcnt: [8],[1]\n", T_OK},
      {9, "rpelcnt: 000008;000001 \t\n", T_OK},
      {10, "rdensty: 0300\n", T_OK},  // as ImageMagick writes it
      {11, "remarks: none\n", T_OK},
      {6, "docls: UNCLASS\n", T_OK},  // as GraphicsMagick writes it
      {8, "rorient: 090,000\n", T_OK},
      {9, "rpelcnt: -8,1\n", T_ERR_BAD_DATA},
      {9, "rpelcnt: 99999999999,1\n", T_ERR_BAD_DATA},
      {9, "rpelcnt: 8,0\n", T_ERR_BAD_DATA},
      {9, "Rpelcnt: 8,1\n", T_ERR_BAD_DATA},
      {2, "unknown: NONE\n", T_ERR_BAD_DATA},
  };
  for (const auto& c : cases) {
    Bitmap bitmap;
    ASSERT_EQ(load(file_with(c.record, c.text), bitmap), c.status) << c.text;
    if (c.status != T_OK) continue;
    EXPECT_EQ(pixels(bitmap.get()), Bytes{0x0F}) << c.text;
    EXPECT_EQ(bitmap->ViewPerspective, 0u);
    EXPECT_EQ(bitmap->XResolution, 150);
    EXPECT_EQ(rgb(bitmap.get())[0], 255);
  }
}

// Pel path and line progression, anticlockwise; the picture is delivered as it is stored.
TEST(Cals, TheViewingDirectionIsTold) {
  const struct {
    const char* text;
    uint32_t want;
  } cases[] = {{"000,270", 1}, {"180,090", 2}, {"180,270", 3}, {"000,090", 4}, {"270,090", 5},
               {"270,270", 6}, {"090,090", 7}, {"090,270", 8}, {"000,000", 1}, {"045,270", 1}};
  for (const auto& c : cases) {
    const Bytes file = file_with(8, std::string("rorient: ") + c.text + "\n");
    const FILEINFO info = info_of(file);
    EXPECT_EQ(info.Orientation, c.want) << c.text;
    EXPECT_EQ(info.ViewPerspective, 0u);
  }
}

// The reader's own statuses, which identification hides behind its own.
TEST(Cals, ReaderStatuses) {
  Disk disk;
  Bitmap bitmap;
  Rows rows;
  const auto read = [&](const Bytes& file, int32_t bits) {
    disk.files["a"] = file;
    return T_LoadCALSFile("a", bitmap.get(), Rows::sink, bits, &rows);
  };
  EXPECT_EQ(read(file_with(0, ""), 1), T_OK);
  EXPECT_EQ(bitmap->StorageKind, 3);
  EXPECT_EQ(bitmap->Colors, 2u);
  EXPECT_EQ(read(file_with(0, ""), 24), T_OK);
  EXPECT_EQ(bitmap->BitsPerPixel, 24);
  EXPECT_EQ(read(file_with(0, ""), 2), T_ERR_ARGUMENT);
  EXPECT_EQ(T_LoadCALSFile("none", bitmap.get(), Rows::sink, 1, &rows), T_ERR_OPEN);
  EXPECT_EQ(read(Bytes(1000, ' '), 1), T_ERR_READ);  // no token
  EXPECT_EQ(read(file_with(9, "rpelcnt: 8\n"), 1), T_ERR_READ);
  EXPECT_EQ(read(file_with(3, "other: 1\n"), 1), T_ERR_BAD_DATA);
  Bytes cut = file_with(0, "");
  cut.resize(2049);
  EXPECT_EQ(read(cut, 1), T_ERR_READ);
  // Type 2 is taken for Group 3: 1011 011.
  Bytes group3 = file_with(7, "rtype: 2\n");
  group3[2048] = 0xB6;
  EXPECT_EQ(read(group3, 1), T_OK);
}

}  // namespace
}  // namespace tavo::test
