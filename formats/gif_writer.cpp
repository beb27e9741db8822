#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "base/settings.h"
#include "codec/lzw.h"
#include "color/palettes.h"
#include "formats/gif.h"
#include "formats/gif_blocks.h"
#include "io/output_file.h"
#include "platform/platform.h"

namespace tavo::gif {

namespace {

// Bytes of a written data sub-block (15), which can have 255.
constexpr size_t kPacket = 254;

// Cuts a stream into data sub-blocks (15).
class PacketWriter {
 public:
  explicit PacketWriter(io::OutputFile& file) : file_(file) {}

  Status write(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
      const size_t part = std::min(bytes.size(), kPacket - used_);
      std::memcpy(packet_.data() + 1 + used_, bytes.data(), part);
      used_ += part;
      bytes = bytes.subspan(part);
      if (used_ == kPacket) TRY(finish());
    }
    return kOk;
  }

  // Writes a packet that is not full yet.
  Status finish() {
    if (used_ == 0) return kOk;
    packet_[0] = static_cast<uint8_t>(used_);
    const size_t size = 1 + used_;
    used_ = 0;
    return file_.write({packet_.data(), size});
  }

 private:
  io::OutputFile& file_;
  std::array<uint8_t, 1 + kPacket> packet_;
  size_t used_ = 0;
};

// Screen descriptor (18), global table (19), image descriptor (20), minimum code size (22). The
// screen is the display's, and the size field of a local table is filled in without one: both kept,
// programs compare files. Background 0, no aspect ratio, the image at 0, 0.
Status write_headers(io::OutputFile& file, const BitmapHandle& bitmap) {
  constexpr int kBits = 8;
  platform::ScreenSize screen{settings.screen_width, settings.screen_height};
  if (screen.width == 0 && screen.height == 0) screen = platform::screen_size();
  std::array<uint8_t, kScreenSize> head = {'G', 'I', 'F', '8', '7', 'a'};
  if (settings.gif89a) head[4] = '9';
  store_le16(&head[kScreenWidth], static_cast<uint16_t>(screen.width));
  store_le16(&head[kScreenHeight], static_cast<uint16_t>(screen.height));
  // A global table of 256 colours, not sorted. Kept: "color resolution" says 7 bits.
  head[kScreenPacked] = static_cast<uint8_t>(((kBits - 1) | 4) << 5 | (kBits - 1));
  TRY(file.write(head));

  std::array<uint8_t, 3 * 256> table;
  for (size_t i = 0; i < 256; ++i) color::put_rgb(bitmap.Info.Palette[i], &table[3 * i]);
  TRY(file.write(table));

  std::array<uint8_t, 1 + kImageSize + 1> image = {kImageSeparator};
  store_le16(&image[1 + kImageWidth], static_cast<uint16_t>(bitmap.Width));
  store_le16(&image[1 + kImageHeight], static_cast<uint16_t>(bitmap.Height));
  image[1 + kImagePacked] = bitmap.BitsPerPixel == kBits ? kBits - 1 : 0;
  image[10] = kBits;  // minimum code size (22)
  return file.write(image);
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this), packets_(file_), encoder_(packets_) {}
  // A picture that breaks off is closed all the same: what there is of it can be read.
  ~Writer() {
    if (is_begun_) (void)close();
  }

  Status prepare(const io::SaveRequest&, const BitmapHandle& picture, io::RowLayout&) {
    if (!io::has_16_bit_size(picture)) return kBadSize;
    width_ = static_cast<size_t>(picture.Width);
    return encoder_.start(8);
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    is_begun_ = true;
    return write_headers(file_, picture);
  }

  Status put_row(std::span<const uint8_t> row) { return encoder_.encode(row.first(width_)); }

  Status finish() {
    TRY(encoder_.finish());
    TRY(packets_.finish());
    return close();
  }

 private:
  Status close() {
    is_begun_ = false;
    constexpr std::array<uint8_t, 2> kEnd = {0, kTrailer};  // block terminator (16), trailer (27)
    TRY(file_.write(kEnd));
    return file_.finish();
  }

  io::OutputFile file_;
  PacketWriter packets_;
  lzw::LowFirstEncoder encoder_;
  size_t width_ = 0;
  bool is_begun_ = false;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::gif
