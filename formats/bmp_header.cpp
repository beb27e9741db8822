#include "formats/bmp_header.h"

#include <algorithm>
#include <bit>

#include "base/endian.h"
#include "core/bitmap.h"
#include "formats/plausible.h"

namespace tavo::bmp {

namespace {

using formats::Density;

constexpr uint32_t kNone = 0;
constexpr uint32_t kBitFields = 3;  // OS/2 2.x: Huffman coding
constexpr uint32_t kJpeg = 4;       // OS/2 2.x: RLE24
constexpr uint32_t kPng = 5;
constexpr uint32_t kAlphaBitFields = 6;

constexpr size_t kOs2ShortHeader = 16;
constexpr size_t kOs2FullHeader = 64;

Channel channel_of(uint32_t mask) {
  if (mask == 0) return {};
  const auto shift = static_cast<uint32_t>(std::countr_zero(mask));
  return {shift, static_cast<uint32_t>(std::bit_width(mask >> shift))};
}

bool same(Channel a, uint32_t shift, uint32_t width) {
  return a.shift == shift && a.width == width;
}

// Whether pixels with these masks are rows as bitmaps hold them.
bool masks_are_plain(const Header& header) {
  if (header.pixel_bits == 16) {
    return same(header.red, 10, 5) && same(header.green, 5, 5) && same(header.blue, 0, 5) &&
           header.alpha.width == 0;
  }
  return same(header.red, 16, 8) && same(header.green, 8, 8) && same(header.blue, 0, 8);
}

Status parse_masks(std::span<const uint8_t> masks, bool with_alpha, Header& header) {
  if (masks.size() < (with_alpha ? 16u : 12u)) return kBadData;
  header.red = channel_of(load_le32(masks.data()));
  header.green = channel_of(load_le32(masks.data() + 4));
  header.blue = channel_of(load_le32(masks.data() + 8));
  if (with_alpha) header.alpha = channel_of(load_le32(masks.data() + 12));
  header.has_masks = !masks_are_plain(header);
  return kOk;
}

bool is_pixel_depth(int32_t bits) {
  return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
}

// Of 4 and 8 bits the compression word only says that rows are coded; how follows from the depth.
// Otherwise its meaning depends on whose header it is.
Status parse_coding(uint32_t compression, size_t header_size, std::span<const uint8_t> bytes,
                    Header& header) {
  if (compression == kNone) return kOk;
  if (header.pixel_bits == 4 || header.pixel_bits == 8) {
    header.coding = header.pixel_bits == 8 ? Coding::kRle8 : Coding::kRle4;
    return kOk;
  }
  const bool is_os2 = header_size == kOs2ShortHeader || header_size == kOs2FullHeader;
  switch (compression) {
    case kBitFields:
    case kAlphaBitFields:
      if (is_os2) return kSubtype;  // Huffman-coded
      break;
    case kJpeg:
      if (!is_os2 || header.pixel_bits != 24) return kSubtype;
      header.coding = Coding::kRle24;
      return kOk;
    case kPng:
      return kSubtype;
    default:
      return kBadData;
  }
  if (header.pixel_bits != 16 && header.pixel_bits != 32) return kBadData;
  // Behind a header of 40 bytes, inside a longer one: the same place.
  const bool with_alpha = header_size >= 56 || compression == kAlphaBitFields;
  return parse_masks(bytes.subspan(std::min(bytes.size(), kFileHeaderSize + kInfoHeaderSize)),
                     with_alpha, header);
}

Status parse_core_header(const uint8_t* info, Header& header) {
  header.is_os2 = true;
  header.width = load_le16(info + 4);
  header.height = load_le16(info + 6);
  header.pixel_bits = load_le16(info + 10);
  return kOk;
}

Status parse_info_header(std::span<const uint8_t> bytes, size_t header_size, Header& header,
                         uint32_t& colors_used) {
  const uint8_t* info = bytes.data() + kFileHeaderSize;
  header.width = static_cast<int32_t>(load_le32(info + 4));
  const auto height = static_cast<int32_t>(load_le32(info + 8));
  if (height == INT32_MIN) return kBadData;
  header.is_top_down = height < 0;
  header.height = height < 0 ? -height : height;
  header.pixel_bits = load_le16(info + 14);
  if (header_size < kInfoHeaderSize) return kOk;

  header.has_resolution = true;
  header.x_per_meter = static_cast<int32_t>(load_le32(info + 24));
  header.y_per_meter = static_cast<int32_t>(load_le32(info + 28));
  colors_used = load_le32(info + 32);
  return parse_coding(load_le32(info + 16), header_size, bytes, header);
}

// The palette has 2^bits entries unless the header says fewer, and ends where pixels begin.
void locate_palette(size_t header_size, uint32_t colors_used, uint32_t masks_bytes,
                    Header& header) {
  const uint32_t entry_size = header.is_os2 ? 3 : 4;
  header.palette_offset = static_cast<uint32_t>(kFileHeaderSize + header_size) + masks_bytes;
  if (header.pixel_bits <= 8) {
    const uint32_t all = 1u << header.pixel_bits;
    header.palette_entries = colors_used > 0 && colors_used < all ? colors_used : all;
  }
  const uint32_t palette_end = header.palette_offset + header.palette_entries * entry_size;
  if (header.data_offset < header.palette_offset) {
    header.data_offset = palette_end;  // some writers leave the offset 0
  } else if (header.data_offset < palette_end) {
    header.palette_entries = (header.data_offset - header.palette_offset) / entry_size;
  }
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, uint64_t file_bytes, Header& header) {
  if (bytes.size() < kFileHeaderSize + kCoreHeaderSize) return kBadData;
  if (bytes[0] != 'B' || bytes[1] != 'M') return kBadData;
  header.data_offset = load_le32(bytes.data() + 10);
  const uint32_t header_size = load_le32(bytes.data() + kFileHeaderSize);
  const bool is_core = header_size == kCoreHeaderSize;
  const bool is_short = header_size == kOs2ShortHeader;
  if (!is_core && !is_short && (header_size < kInfoHeaderSize || header_size > 124)) {
    return kBadData;
  }
  if (!is_core && bytes.size() < kFileHeaderSize + (is_short ? kOs2ShortHeader : kInfoHeaderSize)) {
    return kBadData;
  }
  uint32_t colors_used = 0;
  if (is_core) {
    TRY(parse_core_header(bytes.data() + kFileHeaderSize, header));
  } else {
    TRY(parse_info_header(bytes, header_size, header, colors_used));
  }
  if (header.width <= 0 || header.height <= 0) return kBadData;
  if (!is_pixel_depth(header.pixel_bits)) {
    return header.pixel_bits == 64 ? kSubtype : kBadData;
  }
  const uint32_t line = core::bytes_per_line(header.width, header.pixel_bits);
  if (line == 0) return kBadSize;
  TRY(formats::check_plausible(header.coding == Coding::kNone ? Density::kPlain : Density::kRuns,
                               line, static_cast<uint32_t>(header.height), file_bytes));

  uint32_t masks_bytes = 0;
  if (header_size == kInfoHeaderSize && header.coding == Coding::kNone) {
    const uint32_t compression = load_le32(bytes.data() + kFileHeaderSize + 16);
    if (compression == kBitFields) masks_bytes = 12;
    if (compression == kAlphaBitFields) masks_bytes = 16;
  }
  locate_palette(header_size, colors_used, masks_bytes, header);
  return kOk;
}

process::SourcePicture describe(const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  // 2-bit pixels are delivered as 4-bit ones. Masked pixels of 16 bits become 24, so that no
  // channel loses bits; of 32 bits they stay 32.
  picture.bits = header.pixel_bits;
  if (header.pixel_bits == 2) picture.bits = 4;
  if (header.pixel_bits == 16 && header.has_masks) picture.bits = 24;
  picture.order = picture.bits > 8 ? T_ORDER_BGR : T_ORDER_RGB;
  picture.view_perspective = header.is_top_down ? 0 : 2;
  if (header.pixel_bits <= 8) {
    picture.flags = T_FLAG_PALETTE;
    picture.colors = 1u << picture.bits;
  }
  picture.has_resolution = header.has_resolution;
  picture.x_resolution = header.x_per_meter;
  picture.y_resolution = header.y_per_meter;
  return picture;
}

}  // namespace tavo::bmp
