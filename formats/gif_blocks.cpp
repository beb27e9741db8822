#include "formats/gif_blocks.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "color/palettes.h"

namespace tavo::gif {

namespace {

constexpr int kGraphicControl = 0xF9;  // 23
// Packed fields, delay time (2 bytes, in hundredths of a second, of no use here), index.
constexpr size_t kControlSize = 4;
constexpr size_t kControlPacked = 0, kControlTransparent = 3;
constexpr uint8_t kIsTransparent = 1;

// The size fields of 18 and 20: n stands for 2^(n + 1) colours of red, green, blue, 768 bytes at
// most. The image's table takes the place of the screen's, whichever is longer.
Status read_table(ByteSource& bytes, uint8_t packed, ColorTable& table) {
  table = {};
  if ((packed & kHasTable) == 0) return kOk;
  std::array<uint8_t, 3 * 256> rgb = {};
  table.colors = 2u << (packed & 7);
  TRY(bytes.read({rgb.data(), 3 * table.colors}));
  for (uint32_t i = 0; i < 256; ++i) table.entries[i] = color::rgb_entry(&rgb[3 * i]);
  return kOk;
}

// 0 says nothing and means that the image stays. Some encoders took the third bit for "restore to
// previous", so 4 counts as 3; 5 to 7 are not defined and leave it, as browsers have it.
Disposal disposal_of(uint8_t packed) {
  const int method = packed >> 2 & 7;
  if (method == 2) return Disposal::kBackground;
  return method == 3 || method == 4 ? Disposal::kPrevious : Disposal::kKeep;
}

// The last one before an image counts. 23 has a block of 4 bytes: of a shorter one the missing
// fields are 0, of a longer one the others are passed over.
Status read_graphic_control(ByteSource& bytes, Image& image) {
  const int length = bytes.get();
  if (length <= 0) return length < 0 ? bytes.shortage() : kOk;
  std::array<uint8_t, kControlSize> control = {};
  const size_t used = std::min(control.size(), static_cast<size_t>(length));
  TRY(bytes.read(std::span(control).first(used)));
  TRY(bytes.skip(static_cast<size_t>(length) - used));
  const bool is_transparent = (control[kControlPacked] & kIsTransparent) != 0;
  image.transparent = is_transparent ? control[kControlTransparent] : -1;
  image.disposal = disposal_of(control[kControlPacked]);
  return skip_blocks(bytes);
}

// Past any extensions to the image separator. All but the graphic control are skipped: comments
// (24), plain text (25), loops (application, 26), and unknown ones, which have the same form: a
// label, then data sub-blocks. Anything but an image means that there is none: a trailer, or bytes
// that are no block, where browsers stop, too.
Status find_image(ByteSource& bytes, Image& image) {
  int introducer = bytes.get();
  while (introducer == kExtension) {
    const int label = bytes.get();
    if (label < 0) return bytes.shortage();
    TRY(label == kGraphicControl ? read_graphic_control(bytes, image) : skip_blocks(bytes));
    introducer = bytes.get();
  }
  return introducer == kImageSeparator ? kOk : bytes.shortage();
}

}  // namespace

Status read_screen(ByteSource& bytes, Screen& screen) {
  std::array<uint8_t, kScreenSize> head;
  size_t got = 0;
  TRY(bytes.read_some(head, got));
  // Versions other than 87a and 89a are read as these.
  if (got < kScreenSize || std::memcmp(head.data(), "GIF", 3) != 0) return kBadData;
  screen.width = load_le16(&head[kScreenWidth]);
  screen.height = load_le16(&head[kScreenHeight]);
  screen.packed = head[kScreenPacked];
  screen.background = head[kScreenBackground];
  return read_table(bytes, screen.packed, screen.table);
}

Status read_image(ByteSource& bytes, Image& image) {
  image.transparent = -1;
  image.disposal = Disposal::kKeep;
  TRY(find_image(bytes, image));
  std::array<uint8_t, kImageSize> head;
  TRY(bytes.read(head));
  image.left = load_le16(&head[kImageLeft]);
  image.top = load_le16(&head[kImageTop]);
  image.width = load_le16(&head[kImageWidth]);
  image.height = load_le16(&head[kImageHeight]);
  image.packed = head[kImagePacked];
  TRY(read_table(bytes, image.packed, image.table));
  // Section 22: the image data begin with the code size, 2 for bilevel pictures.
  return bytes.read({&image.minimum_code_size, 1});
}

Status skip_blocks(ByteSource& bytes) {
  int length = bytes.get();
  while (length > 0) {
    TRY(bytes.skip(static_cast<uint64_t>(length)));
    length = bytes.get();
  }
  return length < 0 ? bytes.shortage() : kOk;
}

int32_t count_images(ByteSource& bytes, int32_t count) {
  Image image;
  while (count < T_MAX_PAGES && skip_blocks(bytes).ok() && read_image(bytes, image).ok()) ++count;
  return count;
}

}  // namespace tavo::gif
