#include "formats/cmp_bilevel.h"

#include <algorithm>

#include "base/byte_source.h"
#include "base/endian.h"
#include "base/limits.h"
#include "codec/ccitt_decoder.h"
#include "color/gray.h"
#include "color/palettes.h"
#include "compress/cmp_layout.h"
#include "formats/fax_rows.h"
#include "formats/plausible.h"
#include "process/row_delivery.h"
#include "process/source_picture.h"

namespace tavo::bilevel {

namespace {

// Offsets in the header, where bytes 0 to 3 are the magic that CMP files have too. Sizes and
// resolutions take 4 bytes each, the two colours 3, the checksum 2; bytes 5 and 7 mean nothing.
constexpr size_t kKind = 4, kFlags = 6, kWidth = 8, kHeight = 12, kXResolution = 16;
constexpr size_t kYResolution = 20, kColors = 24, kChecksum = 30;

constexpr uint8_t kBilevelKind = 1;  // 0 is CMP's, so that the two probes never meet
constexpr uint8_t kInverted = 0x01;  // of kFlags; files with any other bit are refused

// So that damage to a few bytes does not turn into a picture of gigabytes. Bytes count by their
// places, so that two that have changed places are noticed; the sum is below 2^17, of which the
// lower 16 bits are kept.
uint16_t checksum(const uint8_t* header) {
  uint32_t sum = 0;
  for (uint32_t i = 0; i < kChecksum; ++i) sum += header[i] * (i + 1);
  return static_cast<uint16_t>(sum);
}

int32_t load_signed(const uint8_t* bytes) { return static_cast<int32_t>(load_le32(bytes)); }

// Two colours of the bitmap's own, in the order of its indices, and top row first whatever it was.
// Resolutions are taken as they stand, in dots per inch; 0 is that of a bitmap that had none.
process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = 1;
  picture.order = T_ORDER_BGR;
  picture.flags = T_FLAG_PALETTE;
  picture.colors = 2;
  picture.x_resolution = header.x_resolution;
  picture.y_resolution = header.y_resolution;
  picture.has_resolution = true;
  std::ranges::copy(header.palette, picture.palette);
  return picture;
}

// Words are little-endian, colours red, green, blue; what is not named is 0.
std::array<uint8_t, kHeaderSize> make_header(const BitmapHandle& bitmap,
                                             const T_PaletteEntry* palette, bool is_inverted) {
  std::array<uint8_t, kHeaderSize> bytes = {};
  std::ranges::copy(cmp::kMagic, bytes.begin());
  bytes[kKind] = kBilevelKind;
  bytes[kFlags] = is_inverted ? kInverted : uint8_t{0};
  store_le32(&bytes[kWidth], static_cast<uint32_t>(bitmap.Width));
  store_le32(&bytes[kHeight], static_cast<uint32_t>(bitmap.Height));
  store_le32(&bytes[kXResolution], static_cast<uint32_t>(bitmap.XResolution));
  store_le32(&bytes[kYResolution], static_cast<uint32_t>(bitmap.YResolution));
  for (size_t i = 0; i < 2; ++i) color::put_rgb(palette[i], &bytes[kColors + 3 * i]);
  store_le16(&bytes[kChecksum], checksum(bytes.data()));
  return bytes;
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header) {
  if (bytes.size() < kHeaderSize || !std::ranges::equal(bytes.first(4), cmp::kMagic)) {
    return kBadData;
  }
  const uint8_t* b = bytes.data();
  if (b[kKind] != kBilevelKind || (b[kFlags] & ~kInverted) != 0) return kBadData;
  if (load_le16(b + kChecksum) != checksum(b)) return kBadData;
  header.width = load_signed(b + kWidth);
  header.height = load_signed(b + kHeight);
  if (header.width < 1 || header.height < 1) return kBadData;
  // What the caller forbids is kLimit before the file's size may make it kBadData.
  TRY(limits::check_picture(header.width, header.height));
  header.x_resolution = load_signed(b + kXResolution);
  header.y_resolution = load_signed(b + kYResolution);
  header.is_inverted = (b[kFlags] & kInverted) != 0;
  for (size_t i = 0; i < 2; ++i) {
    header.palette[i] = color::rgb_entry(b + kColors + 3 * i);
  }
  // Every row of T.6 takes a bit at least: behind the header there must be room for them all.
  return formats::check_plausible(formats::Density::kGroup4, static_cast<uint32_t>(header.width),
                                  static_cast<uint32_t>(header.height),
                                  file_bytes - std::min<uint64_t>(file_bytes, kHeaderSize));
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  TRY(parse_header(input.head, input.file_size, header));
  process::describe(describe(header), T_FORMAT_CMP_1BIT, "CCITT Group 4 Fax", info);
  return kOk;
}

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  std::array<uint8_t, kHeaderSize> bytes;
  TRY(file.read(bytes));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  TRY(parse_header(bytes, file_bytes, header));
  const process::SourcePicture picture = describe(header);
  process::RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());

  ByteSource source(file);
  TRY(source.start());
  // T.6 with the highest bit first; what follows the last row, the end-of-block code, is not read.
  ccitt::Decoder decoder;
  TRY(decoder.start(ccitt::Coding::kGroup4, static_cast<uint32_t>(header.width), false));
  return formats::deliver_fax_rows(file, source, decoder, header.height, header.is_inverted, rows);
}

namespace {

class Writer final : public formats::Group4Writer {
 public:
  Writer() : Group4Writer(this) {}

  Status prepare(const io::SaveRequest&, const BitmapHandle& picture, io::RowLayout& layout) {
    static constexpr T_PaletteEntry kBlackWhite[2] = {{0, 0, 0, 0}, {255, 255, 255, 0}};
    // Other depths are brought to these two; a 1-bit bitmap keeps its colours and its indices.
    if (picture.BitsPerPixel != 1) layout.palette = kBlackWhite;
    // The lighter colour is the background, which the code treats as white.
    layout.inverts = color::gray_level(layout.palette[1]) > color::gray_level(layout.palette[0]);
    header_ = make_header(picture, layout.palette, layout.inverts);
    return kOk;
  }

  // No field depends on the rows, so nothing has to be written a second time.
  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    TRY(file_.write(header_));
    return start_rows(picture);
  }

 private:
  std::array<uint8_t, kHeaderSize> header_ = {};
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::bilevel
