#include "formats/png_header.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/crc32.h"
#include "base/endian.h"
#include "base/limits.h"
#include "color/palettes.h"
#include "formats/plausible.h"

namespace tavo::png {
namespace {

// A colour profile (11.3.2), Exif data and text in UTF-8; CgBI is in no public standard.
constexpr uint32_t kICCP = chunk_type("iCCP"), kEXIF = chunk_type("eXIf");
constexpr uint32_t kITXT = chunk_type("iTXt"), kCGBI = chunk_type("CgBI");

// Bit 5 of a type's first letter (5.4): such a chunk may be passed over.
bool is_ancillary(uint32_t type) { return (type >> 29 & 1) != 0; }

struct Chunk {
  uint32_t type = 0;
  uint32_t size = 0;
  // Its first bytes, as far as anything wants them: the 256 colours of PLTE. Of profiles, Exif data
  // and XMP it matters only that they are there.
  std::array<uint8_t, 768> data;

  std::span<const uint8_t> bytes() const {
    return {data.data(), std::min<size_t>(size, data.size())};
  }
};

Status read_head(ByteSource& bytes, Chunk& chunk) {
  std::array<uint8_t, kHeadBytes> head;
  TRY(bytes.read(head));
  chunk.size = load_be32(&head[0]);
  chunk.type = load_be32(&head[4]);
  // 5.3: no length exceeds 2^31 - 1.
  return chunk.size > INT32_MAX ? kBadData : kOk;
}

// The data, and whether their checksum is right (5.3).
Status read_data(ByteSource& bytes, Chunk& chunk, bool& is_whole) {
  std::array<uint8_t, 4> type;
  store_be32(type.data(), chunk.type);
  const size_t held = chunk.bytes().size();
  TRY(bytes.read(std::span(chunk.data).first(held)));
  uint32_t sum = crc32(crc32(0, type), chunk.bytes());
  // What `data` does not hold, by windows: a length takes time only as far as the file goes.
  for (uint32_t left = chunk.size - static_cast<uint32_t>(held); left > 0;) {
    if (bytes.window().empty()) TRY(bytes.refill());
    if (bytes.window().empty()) return kReadError;
    const size_t part = std::min<size_t>(left, bytes.window().size());
    sum = crc32(sum, bytes.window().first(part));
    bytes.consume(part);
    left -= static_cast<uint32_t>(part);
  }
  std::array<uint8_t, kCheckBytes> check;
  TRY(bytes.read(check));
  is_whole = load_be32(check.data()) == sum;
  return kOk;
}

// ---- Chunks ----

// Which depths a colour type has (11.2.1, table 12).
bool go_together(uint32_t color, uint32_t bits) {
  // 0 is grey and 3 indices; 2, colours, 4 and 6, grey and colours with opacity, have 8 or 16 bits.
  if (color == 0) return bits == 1 || bits == 2 || bits == 4 || bits == 8 || bits == 16;
  if (color == (kIsColor | kIsIndexed)) return bits == 1 || bits == 2 || bits == 4 || bits == 8;
  const bool is_known = color == kIsColor || color == kHasAlpha || color == (kIsColor | kHasAlpha);
  return is_known && (bits == 8 || bits == 16);
}

// IHDR (11.2.1): width and height in 4 bytes each; then depth, colour type, compression, filter and
// interlace method in a byte each. Compression and filter method are 0, the interlace method is 0
// or Adam7.
Status parse_ihdr(const Chunk& chunk, Header& header) {
  const std::span<const uint8_t> data = chunk.bytes();
  if (chunk.type != kIHDR || data.size() != kHeaderBytes) return kBadData;
  header.width = load_be32(&data[0]);
  header.height = load_be32(&data[4]);
  header.bits = data[8];
  header.color = data[9];
  header.is_interlaced = data[12] == 1;
  if (header.width == 0 || header.width > INT32_MAX) return kBadData;
  if (header.height == 0 || header.height > INT32_MAX) return kBadData;
  if (!go_together(header.color, header.bits)) return kBadData;
  if (data[10] != 0 || data[11] != 0 || data[12] > 1) return kSubtype;
  header.background.fill(header.is_indexed() ? 255 : (1u << header.bits) - 1);
  return kOk;
}

// PLTE (11.2.2): red, green and blue of each entry; a length that 3 does not divide is an error.
// kept: one with more colours than the depth can name is cut, as other programs have it.
Status parse_palette(const Chunk& chunk, Header& header) {
  if (!header.is_indexed()) return kOk;  // a suggestion for displays of few colours
  const std::span<const uint8_t> data = chunk.bytes();
  if (chunk.size == 0 || chunk.size % 3 != 0 || chunk.size > 768) return kBadData;
  header.colors = std::min(chunk.size / 3, 1u << header.bits);
  for (size_t i = 0; i < header.colors; ++i) header.palette[i] = color::rgb_entry(&data[3 * i]);
  return kOk;
}

// Samples of tRNS and bKGD (11.3.1.1, 11.3.4.1): 16 bits each, the low ones count, the others are
// to be masked. False where the chunk is too short for them.
bool parse_samples(const Chunk& chunk, const Header& header, std::array<uint32_t, 3>& samples) {
  const size_t count = header.is_color() ? 3 : 1;
  if (chunk.size < 2 * count) return false;
  for (size_t i = 0; i < 3; ++i) {
    samples[i] = load_be16(&chunk.data[count == 3 ? 2 * i : 0]) & ((1u << header.bits) - 1);
  }
  return true;
}

// tRNS (11.3.1.1): the opacity of each palette entry, where those behind the ones that are told are
// opaque, or the one colour that is transparent. Beside an opacity of each pixel it is not allowed,
// and says nothing.
void parse_transparency(const Chunk& chunk, Header& header) {
  if (header.has_alpha()) return;
  if (!header.is_indexed()) {
    header.has_transparency = parse_samples(chunk, header, header.transparent);
    return;
  }
  // What goes beyond the palette, an error, is the opacity of indices that have no colour.
  const auto told = chunk.bytes().first(std::min<size_t>(chunk.bytes().size(), 256));
  header.opacity.fill(255);
  std::ranges::copy(told, header.opacity.begin());
  header.has_transparency = true;
}

// Of the palette's own colours, once all of it is known: what tRNS tells beyond says nothing.
bool is_seen_through(const Header& header) {
  const auto used = std::span(header.opacity).first(header.colors);
  return std::ranges::any_of(used, [](uint8_t value) { return value != 255; });
}

// bKGD (11.3.4.1): of palettes an index. One beyond the palette, or in front of it, says nothing.
void parse_background(const Chunk& chunk, Header& header) {
  if (!header.is_indexed()) {
    parse_samples(chunk, header, header.background);
    return;
  }
  if (chunk.size == 0 || chunk.data[0] >= header.colors) return;
  const T_PaletteEntry& entry = header.palette[chunk.data[0]];
  header.background = {entry.Red, entry.Green, entry.Blue};
}

// An inch has 0.0254 m. Rounded: 300 dots per inch are stored as 11811 per metre.
int64_t per_inch(uint32_t per_meter) { return (int64_t{per_meter} * 254 + 5000) / 10000; }

// pHYs (11.3.4.3): numbers for x and y, then a unit, without which the two are an aspect ratio;
// that is not kept, as bitmaps have no place for it.
void parse_size(const Chunk& chunk, Header& header) {
  if (chunk.size < 9 || chunk.data[8] != kDotsPerMeter) return;
  header.x_per_inch = per_inch(load_be32(&chunk.data[0]));
  header.y_per_inch = per_inch(load_be32(&chunk.data[4]));
}

// XMP, volume 3, 1.1.5: the keyword of an iTXt chunk.
bool is_xmp(const Chunk& chunk) {
  constexpr std::string_view kKeyword("XML:com.adobe.xmp", 18);  // with the zero behind it
  return chunk.size >= kKeyword.size() &&
         std::memcmp(chunk.data.data(), kKeyword.data(), kKeyword.size()) == 0;
}

void parse_ancillary(const Chunk& chunk, Header& header) {
  switch (chunk.type) {
    case kTRNS:
      return parse_transparency(chunk, header);
    case kBKGD:
      return parse_background(chunk, header);
    case kPHYS:
      return parse_size(chunk, header);
    case kICCP:
      header.extras |= T_EXTRA_ICC;
      return;
    case kEXIF:
      header.extras |= T_EXTRA_EXIF;
      return;
    case kITXT:
      if (is_xmp(chunk)) header.extras |= T_EXTRA_XMP;
      return;
    default:
      return;
  }
}

// What no chunk may be missing for; tRNS and bKGD that come before PLTE, where they must not, are
// taken as they are.
Status check(const Header& header, uint64_t file_bytes) {
  if (header.is_indexed() && header.colors == 0) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  return formats::check_plausible(formats::Density::kDeflate, 1 + header.row_bytes(header.width),
                                  header.height, file_bytes);
}

Status parse_chunk(const Chunk& chunk, bool is_whole, Header& header) {
  if (is_ancillary(chunk.type)) {  // of damaged ones nothing is believed
    if (is_whole) parse_ancillary(chunk, header);
    return kOk;
  }
  // IHDR is the first chunk only, and IEND the last (5.6).
  if (!is_whole || chunk.type == kIHDR || chunk.type == kIEND) return kBadData;
  return chunk.type == kPLTE ? parse_palette(chunk, header) : kSubtype;
}

}  // namespace

Status parse_header(ByteSource& bytes, uint64_t file_bytes, Header& header, uint32_t& data_bytes) {
  std::array<uint8_t, kSignature.size()> signature;
  TRY(bytes.read(signature));
  if (signature != kSignature) return kBadData;
  Chunk chunk;
  bool is_whole = false;
  TRY(read_head(bytes, chunk));
  if (chunk.type == kCGBI) return kSubtype;  // Apple's: another order and wrapper of the data
  // Such a chunk is no IHDR, and shall not be read to its end to find that out.
  if (chunk.size > kHeaderBytes) return kBadData;
  TRY(read_data(bytes, chunk, is_whole));
  TRY(parse_ihdr(chunk, header));
  if (!is_whole) return kBadData;
  // Ends with the file at the latest: each turn takes 12 bytes of it or more.
  for (;;) {
    TRY(read_head(bytes, chunk));
    if (chunk.type == kIDAT) break;
    TRY(read_data(bytes, chunk, is_whole));
    TRY(parse_chunk(chunk, is_whole, header));
  }
  data_bytes = chunk.size;
  if (header.is_indexed() && header.has_transparency) {
    header.has_transparency = is_seen_through(header);
  }
  if (!header.is_opaque()) header.extras |= T_EXTRA_ALPHA;
  return check(header, file_bytes);
}

}  // namespace tavo::png
