#include "process/dib_header.h"

#include <algorithm>
#include <bit>

#include "base/depths.h"
#include "base/endian.h"
#include "color/palettes.h"
#include "core/bitmap.h"

namespace tavo::dib {

namespace {

// biSize where a header is neither the core nor an information header.
constexpr size_t kOs2ShortSize = 16;  // BITMAPINFOHEADER2, cut behind cBitCount
constexpr size_t kOs2FullSize = 64;
constexpr size_t kV3Size = 56;  // BITMAPV3INFOHEADER: from here on alpha has a mask in the header
constexpr size_t kV5Size = 124;

// Offsets in BITMAPCOREHEADER.
constexpr size_t kBcWidth = 4, kBcHeight = 6, kBcBitCount = 10;

// Offsets in BITMAPINFOHEADER and all that is longer. BITMAPV4HEADER has its masks where a header
// of 40 bytes is followed by them.
constexpr size_t kBiWidth = 4, kBiHeight = 8, kBiBitCount = 14, kBiCompression = 16;
constexpr size_t kBiXPelsPerMeter = 24, kBiYPelsPerMeter = 28, kBiClrUsed = 32, kMasks = 40;
constexpr size_t kBV5CSType = 56;

// Values of biCompression ([MS-WMF] 2.1.1.7 lists them); OS/2 2.x has others than Windows. BI_RLE8
// (1) and BI_RLE4 (2) are known by the depth.
constexpr uint32_t kRgb = 0;
constexpr uint32_t kBitFields = 3;  // OS/2: Huffman coding
constexpr uint32_t kJpeg = 4;       // OS/2: RLE24
constexpr uint32_t kPng = 5;
constexpr uint32_t kAlphaBitFields = 6;  // Windows CE

// The bits of a mask are together (BITMAPINFOHEADER); of one with gaps the outermost bits count.
Channel channel_of(uint32_t mask) {
  if (mask == 0) return {};
  const auto shift = static_cast<uint32_t>(std::countr_zero(mask));
  return {shift, static_cast<uint32_t>(std::bit_width(mask >> shift))};
}

// A header of 40 bytes has its three masks behind it, of Windows CE four, and the colour table
// comes after them. The longer ones include them.
Status parse_masks(std::span<const uint8_t> bytes, size_t header_size, bool with_alpha,
                   Header& header) {
  const uint32_t size = with_alpha ? 16 : 12;
  if (bytes.size() < kMasks + size) return kBadData;
  const uint8_t* masks = bytes.data() + kMasks;
  header.red = channel_of(load_le32(masks));
  header.green = channel_of(load_le32(masks + 4));
  header.blue = channel_of(load_le32(masks + 8));
  if (with_alpha) header.alpha = channel_of(load_le32(masks + 12));
  // The highest of 16 bits is nobody's.
  header.has_masks = !has_plain_colors(header) || (header.bits == 16 && header.alpha.width != 0);
  if (header_size == kInfoHeaderSize) header.table_offset += size;
  return kOk;
}

// Kept: of 4 and 8 bits the compression word only says that rows are coded; how follows from the
// depth. Otherwise its meaning depends on whose header it is: 3 is BI_BITFIELDS, and in OS/2's full
// header Huffman 1D; 4 is BI_JPEG, and there RLE24.
Status parse_coding(std::span<const uint8_t> bytes, size_t header_size, Header& header) {
  const uint32_t compression = load_le32(&bytes[kBiCompression]);
  if (compression == kRgb) return kOk;
  if (header.bits == 4 || header.bits == 8) {
    header.coding = header.bits == 8 ? Coding::kRle8 : Coding::kRle4;
    return kOk;
  }
  const bool is_os2 = header_size == kOs2FullSize;
  switch (compression) {
    case kBitFields:
    case kAlphaBitFields:
      if (is_os2) return kSubtype;
      if (header.bits != 16 && header.bits != 32) return kBadData;
      return parse_masks(bytes, header_size,
                         header_size >= kV3Size || compression == kAlphaBitFields, header);
    case kJpeg:
      if (!is_os2 || header.bits != 24) return kSubtype;
      header.coding = Coding::kRle24;
      return kOk;
    case kPng:
      return kSubtype;
    default:
      return kBadData;
  }
}

// BITMAPCOREHEADER: unsigned sizes of 16 bits, always bottom-up, never coded.
void parse_core_header(std::span<const uint8_t> bytes, Header& header) {
  header.entry_bytes = 3;
  header.width = load_le16(&bytes[kBcWidth]);
  header.height = load_le16(&bytes[kBcHeight]);
  header.bits = load_le16(&bytes[kBcBitCount]);
}

// BITMAPINFOHEADER and what begins like it. A negative height means top-down. biPlanes is not
// looked at: there is one.
Status parse_info_header(std::span<const uint8_t> bytes, size_t header_size, Header& header) {
  header.width = static_cast<int32_t>(load_le32(&bytes[kBiWidth]));
  const auto height = static_cast<int32_t>(load_le32(&bytes[kBiHeight]));
  if (height == INT32_MIN) return kBadData;
  header.is_top_down = height < 0;
  header.height = height < 0 ? -height : height;
  header.bits = load_le16(&bytes[kBiBitCount]);
  if (header_size < kInfoHeaderSize) return kOk;  // all later fields of OS/2's count as 0

  header.has_resolution = true;
  header.x_per_meter = static_cast<int32_t>(load_le32(&bytes[kBiXPelsPerMeter]));
  header.y_per_meter = static_cast<int32_t>(load_le32(&bytes[kBiYPelsPerMeter]));
  header.colors_used = load_le32(&bytes[kBiClrUsed]);
  if (header_size == kV5Size && bytes.size() >= kV5Size) {
    constexpr uint32_t kLinked = 0x4C494E4B, kEmbedded = 0x4D424544;
    const uint32_t space = load_le32(&bytes[kBV5CSType]);
    header.has_profile = space == kLinked || space == kEmbedded;
  }
  return parse_coding(bytes, header_size, header);
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, Header& header) {
  if (bytes.size() < kCoreHeaderSize) return kBadData;
  const uint32_t size = load_le32(bytes.data());
  const bool is_core = size == kCoreHeaderSize;
  const bool is_info = size >= kInfoHeaderSize && size <= kV5Size;
  if (!is_core && !is_info && size != kOs2ShortSize) return kBadData;
  if (bytes.size() < std::min<size_t>(size, kInfoHeaderSize)) return kBadData;
  header.table_offset = size;
  if (is_core) {
    parse_core_header(bytes, header);
  } else {
    TRY(parse_info_header(bytes, size, header));
  }
  if (header.width <= 0 || header.height <= 0) return kBadData;
  // 64 bits are GDI+'s, in fixed point.
  if (!is_bitmap_depth(header.bits)) return header.bits == 64 ? kSubtype : kBadData;
  header.line_bytes = core::bytes_per_line(header.width, header.bits);
  if (header.line_bytes == 0) return kBadSize;
  // biClrUsed 0 stands for all, and so does more than there can be. Above 8 bits the table is a
  // hint for displays of 256 colours, which nobody needs.
  if (header.bits <= 8) {
    const uint32_t all = 1u << header.bits;
    header.table_entries =
        header.colors_used > 0 && header.colors_used < all ? header.colors_used : all;
  }
  return kOk;
}

bool has_plain_colors(const Header& header) {
  if (header.bits == 16) {
    return header.red == Channel{10, 5} && header.green == Channel{5, 5} &&
           header.blue == Channel{0, 5};
  }
  return header.red == Channel{16, 8} && header.green == Channel{8, 8} &&
         header.blue == Channel{0, 8};
}

process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  // 2-bit pixels (Windows CE) become 4-bit ones. Masked pixels of 16 bits become 24, so that no
  // channel loses bits; of 32 bits they stay 32.
  picture.bits = request_depth(header.bits);
  if (header.bits == 16 && header.has_masks) picture.bits = 24;
  picture.order = picture.bits > 8 ? T_ORDER_BGR : T_ORDER_RGB;
  picture.view_perspective = header.is_top_down ? 0 : 2;
  picture.extras = header.alpha.width != 0 ? T_EXTRA_ALPHA : 0;
  if (header.has_profile) picture.extras |= T_EXTRA_ICC;
  if (header.bits <= 8) {
    picture.flags = T_FLAG_PALETTE;
    picture.colors = 1u << picture.bits;
  }
  // Kept: they stand as they are, dots per metre.
  picture.has_resolution = header.has_resolution;
  picture.x_resolution = header.x_per_meter;
  picture.y_resolution = header.y_per_meter;
  return picture;
}

void read_table(const Header& header, const uint8_t* table, T_PaletteEntry (&palette)[256]) {
  for (uint32_t i = 0; i < header.table_entries; ++i, table += header.entry_bytes) {
    palette[i] = color::bgr_entry(table);
  }
}

}  // namespace tavo::dib
