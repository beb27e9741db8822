#include "formats/gif.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/endian.h"
#include "base/settings.h"
#include "codec/lzw.h"
#include "color/index_rows.h"
#include "color/palettes.h"
#include "formats/plausible.h"
#include "platform/platform.h"
#include "process/row_delivery.h"

namespace tavo::gif {

namespace {

using process::RowDelivery;

// Sections are those of "Graphics Interchange Format", version 89a.

// Header (17) and logical screen descriptor (18).
constexpr size_t kScreenSize = 13;
constexpr size_t kScreenWidth = 6, kScreenHeight = 8, kScreenPacked = 10;

// Image descriptor (20), without its separator.
constexpr size_t kImageDescriptorSize = 9;
constexpr size_t kImageWidth = 4, kImageHeight = 6, kImagePacked = 8;

// What a block begins with.
constexpr uint8_t kExtension = 0x21;       // 23 to 26
constexpr uint8_t kImageSeparator = 0x2C;  // 20
constexpr uint8_t kTrailer = 0x3B;         // 27

// Bits of both packed fields; the low three are the size of the table that follows.
constexpr uint8_t kHasTable = 0x80;
constexpr uint8_t kInterlaced = 0x40;  // of the image's only

// Bytes of a written data sub-block (15), which can have 255.
constexpr size_t kPacket = 254;

// Sections 18 and 20: "size of global color table", "size of local color table".
uint32_t table_entries(uint8_t packed) { return 2u << (packed & 7); }

// Data sub-blocks (15) as one stream: what stands between length bytes, up to the block terminator
// (16), which is an empty one. A file that ends before counts as terminated.
class SubBlocks {
 public:
  explicit SubBlocks(ByteSource& bytes) : bytes_(bytes) {}

  Status read_some(std::span<uint8_t> into, size_t& got) {
    got = 0;
    while (got < into.size() && !at_end_) {
      if (left_ == 0) {
        const int length = bytes_.get();
        at_end_ = length <= 0;
        left_ = at_end_ ? 0 : static_cast<size_t>(length);
        continue;
      }
      const size_t part = std::min(left_, into.size() - got);
      size_t came = 0;
      TRY(bytes_.read_some(into.subspan(got, part), came));
      got += came;
      left_ -= came;
      at_end_ = came < part;
    }
    return bytes_.failure();
  }

 private:
  ByteSource& bytes_;
  size_t left_ = 0;  // of the current block
  bool at_end_ = false;
};

// Past any extensions to the image separator. Their contents have no place in a bitmap: timing and
// transparency (graphic control, 23), comments (24), plain text (25), loops (application, 26).
// Unknown ones are skipped the same way: a label, then data sub-blocks. A trailer means that there
// is no image.
Status find_image(ByteSource& bytes) {
  int introducer = bytes.get();
  while (introducer == kExtension) {
    if (bytes.get() < 0) return bytes.shortage();  // its label
    int length = bytes.get();
    while (length > 0) {
      TRY(bytes.skip(static_cast<uint64_t>(length)));
      length = bytes.get();
    }
    if (length < 0) return bytes.shortage();
    introducer = bytes.get();
  }
  return introducer == kImageSeparator ? kOk : bytes.shortage();
}

// Sections 19 and 21. The image's table takes the place of the screen's, whichever is longer.
Status read_table(ByteSource& bytes, uint8_t packed, process::SourcePicture& picture) {
  std::array<uint8_t, 3 * 256> rgb = {};
  picture.colors = table_entries(packed);
  TRY(bytes.read({rgb.data(), 3 * picture.colors}));
  for (uint32_t i = 0; i < 256; ++i) picture.palette[i] = color::rgb_entry(&rgb[3 * i]);
  return kOk;
}

// Kept: the size field of the global table decides, even when the image brings a table of its own
// and there is no global one, unless the setting lets the image's table decide.
int32_t depth_of(uint8_t screen_packed, uint8_t image_packed) {
  const bool by_image = settings.gif_image_depth && (image_packed & kHasTable) != 0;
  const int color_bits = ((by_image ? image_packed : screen_packed) & 7) + 1;
  if (color_bits == 1) return 1;
  return color_bits <= 4 ? 4 : 8;
}

}  // namespace

Status parse_header(ByteSource& bytes, uint64_t file_bytes, Header& header) {
  process::SourcePicture& picture = header.picture;
  std::array<uint8_t, kScreenSize> screen;
  size_t got = 0;
  TRY(bytes.read_some(screen, got));
  if (got < kScreenSize) return kBadData;
  if (std::memcmp(screen.data(), "GIF", 3) != 0) return kBadData;
  // Versions other than 87a and 89a are read as these. The screen's size, background and aspect
  // ratio mean nothing to a single picture, nor does the image's place on it.
  const uint8_t packed = screen[kScreenPacked];
  if ((packed & kHasTable) != 0) TRY(read_table(bytes, packed, picture));

  TRY(find_image(bytes));
  std::array<uint8_t, kImageDescriptorSize> image;
  TRY(bytes.read(image));
  picture.width = load_le16(&image[kImageWidth]);
  picture.height = load_le16(&image[kImageHeight]);
  const uint8_t image_packed = image[kImagePacked];
  picture.bits = depth_of(packed, image_packed);
  if ((image_packed & kHasTable) != 0) TRY(read_table(bytes, image_packed, picture));
  // Without any table a decoder uses one of its own: grey levels.
  if (((packed | image_packed) & kHasTable) == 0) {
    color::fill_gray_ramp(std::span(picture.palette).first(size_t{1} << picture.bits));
  }
  // Section 22: the image data begin with the code size, 2 for bilevel pictures.
  TRY(bytes.read({&header.minimum_code_size, 1}));

  if (picture.width == 0 || picture.height == 0) return kBadData;
  TRY(formats::check_plausible(formats::Density::kLzw, static_cast<uint32_t>(picture.width),
                               static_cast<uint32_t>(picture.height), file_bytes));
  picture.storage_kind = T_FORMAT_GIF;
  picture.flags = (image_packed & kInterlaced) != 0 ? T_FLAG_INTERLACED : 0;  // appendix E
  return kOk;
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  if (input.head.size() < kScreenSize || std::memcmp(input.head.data(), "GIF", 3) != 0) {
    return kBadData;
  }
  ByteSource bytes(input.file);
  TRY(bytes.start(2048));
  Header header;
  TRY(parse_header(bytes, input.file_size, header));
  process::describe(header.picture, T_FORMAT_GIF, "LZW", info);
  return kOk;
}

namespace {

// Section 22 and appendix F. Decodes one row of index bytes; one that is cut is filled up with
// index 0. `got`: pixels that came. Kept: a row that the end code cuts counts as read; otherwise
// the stream must not end in a row. Data behind the last row are of no interest.
Status decode_row(lzw::LowFirstDecoder& decoder, ByteSource& stream, std::span<uint8_t> indices,
                  size_t& got) {
  const Status status = decoder.decode(stream, indices, got);
  if (got == indices.size()) return kOk;
  std::ranges::fill(indices.subspan(got), uint8_t{0});
  if (got > 0 && decoder.saw_end_code()) return kOk;
  return status.ok() ? kBadData : status;
}

// Indices that the depth cannot hold lose their high bits.
Status decode_rows(const process::SourcePicture& picture, lzw::LowFirstDecoder& decoder,
                   ByteSource& stream, RowDelivery& rows) {
  const auto width = static_cast<size_t>(picture.width);
  Buffer line;  // a row as index bytes, zeros behind it
  if (picture.bits < 8) TRY(line.allocate(width + 8));
  const auto padded = line.bytes().first(picture.bits < 8 ? (width + 7) / 8 * 8 : 0);
  for (int32_t y = 0; y < picture.height; ++y) {
    const std::span<uint8_t> row = rows.next_row();
    const std::span<uint8_t> indices =
        picture.bits < 8 ? line.bytes().first(width) : row.first(width);
    size_t got = 0;
    const Status status = decode_row(decoder, stream, indices, got);
    if (picture.bits < 8) color::pack_indices(picture.bits, padded, row.data());
    if (got > 0) TRY(rows.commit());  // of a cut row, what there is
    if (!status.ok()) return rows.finish_early(status);
  }
  return rows.finish();
}

}  // namespace

// The first image is the picture; all that follows it is left unread.
Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  ByteSource bytes(file);
  TRY(bytes.start());
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  TRY(parse_header(bytes, file_bytes, header));

  SubBlocks blocks(bytes);
  ByteSource stream(blocks);
  TRY(stream.start());
  lzw::LowFirstDecoder decoder;
  TRY(decoder.start(header.minimum_code_size));
  RowDelivery rows(header.picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  return decode_rows(header.picture, decoder, stream, rows);
}

namespace {

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

  std::array<uint8_t, 1 + kImageDescriptorSize + 1> image = {kImageSeparator};
  store_le16(&image[1 + kImageWidth], static_cast<uint16_t>(bitmap.Width));
  store_le16(&image[1 + kImageHeight], static_cast<uint16_t>(bitmap.Height));
  image[1 + kImagePacked] = bitmap.BitsPerPixel == kBits ? kBits - 1 : 0;
  image[10] = kBits;
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
