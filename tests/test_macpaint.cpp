// MacPaint: where the page is in a file, what is missing of it, the header of what is written.
#include <gtest/gtest.h>

#include <algorithm>

#include "format_cases.h"

namespace tavo::test {
namespace {

constexpr size_t kRow = 72;

Bytes mac_binary(uint32_t data_bytes) {
  Bytes head(128);
  head[1] = 1;
  head[2] = 'a';
  const Bytes type = text("PNTGMPNT");
  std::copy(type.begin(), type.end(), head.begin() + 65);
  const Bytes size = be32(data_bytes);
  std::copy(size.begin(), size.end(), head.begin() + 83);
  return head;
}

Bytes document(uint32_t version, const Bytes& packed) {
  return join({be32(version), Bytes(508), packed});
}

// A page in packets that cross its rows, with one that is none, and some bytes behind it.
Bytes page_of_long_packets() {
  Bytes packed = {0x80};
  for (int i = 0; i < 405; ++i) packed = join({packed, {0x81, static_cast<uint8_t>(i)}});
  return join({packed, Bytes(3)});
}

// The page's bytes as bits that are 1 for black.
Bytes page(const Bytes& file) {
  Bitmap bitmap;
  EXPECT_EQ(load(file, bitmap), T_OK);
  EXPECT_EQ(bitmap->XResolution, 72);
  EXPECT_EQ(rgb(bitmap.get())[0], (pixels(bitmap.get())[0] & 0x80) != 0 ? 0 : 255);
  return pixels(bitmap.get());
}

TEST(MacPaint, PacketsCrossRowsAndWhatIsMissingIsWhite) {
  const Bytes crossing = page(document(3, page_of_long_packets()));
  for (size_t i = 0; i < crossing.size(); ++i) ASSERT_EQ(crossing[i], uint8_t(i / 128)) << i;

  // 100 black bytes, and a packet that breaks off; no resource fork goes on with the picture.
  const Bytes begun = document(0, {0x9D, 0xFF, 5, 0xAB, 0xCD});
  const auto fork = static_cast<uint32_t>(begun.size());
  Bytes want(kRow * 720);
  std::fill_n(want.begin(), 100, uint8_t{0xFF});
  want[100] = 0xAB;
  want[101] = 0xCD;
  EXPECT_EQ(page(join({mac_binary(fork), begun})), want);
  EXPECT_EQ(page(join({mac_binary(fork), begun, Bytes(200, 0x11)})), want);
  EXPECT_EQ(page(join({mac_binary(fork + 128), begun})), want);  // the whole file's length
}

TEST(MacPaint, DirectLoadsTakeWhatIdentificationCannotTell) {
  const Bytes blank_row = {0xB9, 0};
  const auto direct = [](const Bytes& file) { return read_directly(T_LoadMACFile, file); };
  EXPECT_EQ(direct(document(2, blank_row)), T_OK);
  EXPECT_EQ(direct(document(0, {0xBA, 0})), T_ERR_READ);  // 71 bytes are no row
  EXPECT_EQ(direct(document(0, {})), T_ERR_READ);
  EXPECT_EQ(direct(join({mac_binary(0), Bytes(512)})), T_ERR_READ);
  EXPECT_EQ(info_of(join({mac_binary(0), Bytes(512)})).Format, T_FORMAT_MAC);
  EXPECT_EQ(direct(document(1, blank_row)), T_ERR_BAD_DATA);
  Bytes changed = document(0, page_of_long_packets());
  ASSERT_EQ(info_of(changed).Format, T_FORMAT_MAC);
  FILEINFO info;
  for (const auto& [at, value] : {std::pair{400, 1}, {513, 0x84}, {512, 0}, {3, 1}}) {
    Bytes file = changed;
    file[at] = static_cast<uint8_t>(value);
    EXPECT_EQ(T_FileInfoMemory(file.data(), &info, file.size()), T_ERR_BAD_DATA) << at;
  }
  changed.resize(changed.size() + 509);
  EXPECT_EQ(T_FileInfoMemory(changed.data(), &info, changed.size()), T_ERR_BAD_DATA);
}

TEST(MacPaint, ThePictureStandsOnItsPageUnderTheFilesName) {
  const struct {
    const char* path;
    const char* name;
  } cases[] = {{"a.b/my picture.2.mac", "my picture.2"},
               {"c\\d:e", "d_e"},
               {"B\xC3\xA4r.mac", "B__r"},
               {"folder/", "untitled"},
               {".hidden.mac", "untitled"}};
  for (const auto& c : cases) {
    Disk disk;
    Bitmap picture;
    make_picture(picture, 17, 3, 1);
    ASSERT_EQ(T_SaveMACBitmap(c.path, picture.get(), 1), T_OK);
    const Bytes& file = disk.files[c.path];
    EXPECT_EQ(file.size() % 128, 0u);
    EXPECT_EQ(part(file, 1, 1 + file[1]), join({{uint8_t(strlen(c.name))}, text(c.name)}));
    const Bytes want = page(file);
    Bytes rest = part(want, 3 * kRow);
    EXPECT_EQ(std::ranges::count(rest, 0), 717 * int(kRow));
  }
  Bitmap wide, high;
  make_picture(wide, 577, 1, 1);
  make_picture(high, 1, 721, 1);
  Disk disk;
  EXPECT_EQ(T_SaveMACBitmap("a", wide.get(), 1), T_ERR_SIZE);
  EXPECT_EQ(T_SaveMACBitmap("a", high.get(), 1), T_ERR_SIZE);
  EXPECT_TRUE(disk.files.empty());
}

}  // namespace

FormatCase macpaint_case() {
  FormatCase macpaint{"MacPaint", {}, T_FORMAT_MAC, {1}, kLossy, true};  // a page, black and white
  macpaint.samples = {{"MacBinary", join({mac_binary(0), document(2, {2, 1, 2, 3, 0xB0, 7})})},
                      {"data fork", document(0, page_of_long_packets())}};
  return macpaint;
}

}  // namespace tavo::test
