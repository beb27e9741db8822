#include "formats/gem.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/buffer.h"
#include "base/byte_source.h"
#include "base/checked.h"
#include "base/endian.h"
#include "base/limits.h"
#include "color/palettes.h"
#include "core/bitmap.h"
#include "formats/bit_planes.h"
#include "formats/equal_rows.h"
#include "formats/gem_runs.h"
#include "formats/listed_colors.h"
#include "formats/plausible.h"
#include "formats/two_levels.h"
#include "process/row_delivery.h"

namespace tavo::gem {

namespace {

// Words of the header, the high byte first.
// The header's length is in words, a pattern's in bytes, sizes of pixels are microns of the device
// that the image came from.
constexpr size_t kVersionAt = 0, kHeaderWordsAt = 2, kPlanesAt = 4, kPatternAt = 6;
constexpr size_t kPixelWidthAt = 8, kPixelHeightAt = 10, kWidthAt = 12, kHeightAt = 14;
constexpr size_t kGemHeader = 16;

// What programs put behind them: GEM Paint whether colours are greys, others a tag.
constexpr size_t kGrayAt = 16;  // 1: greys
constexpr size_t kTagAt = 16;
constexpr size_t kColorModelAt = 20;  // XIMG: 0 RGB, 1 CMY, 2 HLS
constexpr size_t kEntriesAt = 20;     // STTT
constexpr size_t kTaggedPaletteAt = 22;
// TIMG, which is rare, is read as XIMG.
constexpr uint32_t kXimg = 0x58494D47, kTimg = 0x54494D47, kSttt = 0x53545454;
// Hyperpaint ends its header of 25 words with 16 colours.
constexpr uint32_t kHyperpaintWords = 25, kHyperpaintMark = 0x0080;
constexpr size_t kHyperpaintPaletteAt = 18;

constexpr formats::ZeroIs kZeroIs = formats::ZeroIs::kWhite;
constexpr uint32_t kMicronsPerInch = 25400;

// The colours of GEM's palette, which two and three planes have the first of.
constexpr uint8_t kGemColors[16][3] = {
    {255, 255, 255}, {255, 0, 0},     {0, 255, 0},   {255, 255, 0}, {0, 0, 255}, {255, 0, 255},
    {0, 255, 255},   {170, 170, 170}, {85, 85, 85},  {170, 0, 0},   {0, 170, 0}, {170, 170, 0},
    {0, 0, 170},     {170, 0, 170},   {0, 170, 170}, {0, 0, 0}};

bool is_planes(uint32_t planes) {
  return (planes >= 1 && planes <= 8) || planes == 15 || planes == 16 || planes == 24 ||
         planes == 32;
}

// Whole pixels lose what bitmaps do not have: the spare byte of 32 bits, of 5-6-5 a bit of green.
int32_t delivered_bits(uint32_t planes) {
  return planes == 1 ? 1 : planes <= 4 ? 4 : planes <= 8 ? 8 : planes <= 16 ? 16 : 24;
}

// Of one plane, or of whole pixels, of which those of 24 bits are padded to 16 pixels a row, as
// FFmpeg reads them.
size_t row_bytes(const Header& header) {
  constexpr size_t kPaddedPlanes = 24;
  const size_t width = header.width;
  if (header.planes <= 8) return (width + 7) / 8;
  const size_t padded = header.planes == kPaddedPlanes ? round_up<size_t>(width, 16) : width;
  return padded * ((header.planes + 7) / 8);
}

// A palette that the header has no room for is none: some XIMG files end theirs before it.
void find_palette(std::span<const uint8_t> head, Header& header) {
  const uint32_t colors = header.planes <= 8 ? 1u << header.planes : 0;
  const uint32_t tag = header.data >= kTaggedPaletteAt ? load_be32(&head[kTagAt]) : 0;
  header.has_tag = true;
  if (tag == kXimg || tag == kTimg) {
    // XaAES of FreeMiNT has such files, 8 planes in a header of 11 words; FFmpeg takes pixels for
    // colours there.
    if (colors == 0 || header.data < kTaggedPaletteAt + 6 * colors) return;
    const uint32_t model = load_be16(&head[kColorModelAt]);
    header.palette = model == 0   ? Palette::kThousandths
                     : model == 1 ? Palette::kInverseThousandths
                                  : Palette::kUnsupported;
    header.palette_at = kTaggedPaletteAt;
    header.palette_entries = colors;
  } else if (tag == kSttt) {
    // Colours that the header has no room for, or planes no index, do not count.
    const auto room = static_cast<uint32_t>((header.data - kTaggedPaletteAt) / 2);
    header.palette_entries = std::min({colors, uint32_t{load_be16(&head[kEntriesAt])}, room});
    if (header.palette_entries != 0) header.palette = Palette::kAtari;
    header.palette_at = kTaggedPaletteAt;
  } else if (header.data == 2 * kHyperpaintWords && load_be16(&head[kTagAt]) == kHyperpaintMark) {
    header.palette = Palette::kAtari;
    header.palette_at = kHyperpaintPaletteAt;
    header.palette_entries = std::min(colors, 16u);
  } else {
    header.has_tag = false;
    const bool says_gray = header.data >= kGrayAt + 2 && load_be16(&head[kGrayAt]) == 1;
    if (says_gray) header.palette = Palette::kGrays;
  }
}

uint8_t from_thousandths(uint32_t value, bool is_inverse) {
  value = std::min(value, 1000u);
  return static_cast<uint8_t>(((is_inverse ? 1000 - value : value) * 255 + 500) / 1000);
}

// Three bits of each colour; of later machines four, the fourth being the lowest.
void read_atari_palette(const uint8_t* words, std::span<T_PaletteEntry> palette) {
  // Which machine it was, nothing says: one entry with a fourth bit makes all of them have four.
  bool has_four_bits = false;
  for (size_t i = 0; i < palette.size(); ++i) {
    has_four_bits = has_four_bits || (load_be16(words + 2 * i) & 0x0888) != 0;
  }
  const auto level = [has_four_bits](uint32_t field) {
    const uint32_t three = field & 7;
    const uint32_t four = three << 1 | (field >> 3 & 1);
    return static_cast<uint8_t>(has_four_bits ? four * 17 : (three * 255 + 3) / 7);
  };
  for (size_t i = 0; i < palette.size(); ++i) {
    const uint32_t word = load_be16(words + 2 * i);
    palette[i] = {level(word), level(word >> 4), level(word >> 8), 0};
  }
}

void set_palette(std::span<const uint8_t> head, const Header& header,
                 std::span<T_PaletteEntry> palette) {
  const uint8_t* at = head.data() + header.palette_at;
  const auto listed = palette.first(header.palette_entries);
  switch (header.palette) {
    case Palette::kThousandths:
    case Palette::kInverseThousandths:
      for (T_PaletteEntry& entry : listed) {
        const auto component = [&](size_t i) {
          return from_thousandths(load_be16(at + 2 * i),
                                  header.palette == Palette::kInverseThousandths);
        };
        entry = {component(2), component(1), component(0), 0};
        at += 6;
      }
      return;
    case Palette::kAtari:
      return read_atari_palette(at, listed);
    case Palette::kOfFormat:
      // Kept: without a word about greys 2 to 4 planes are in colour, as netpbm has them; deark
      // shows greys.
      if (palette.size() <= 2 || palette.size() > 16) break;
      for (size_t i = 0; i < palette.size(); ++i) palette[i] = color::rgb_entry(kGemColors[i]);
      return;
    default:
      break;
  }
  // 0 is white, in one plane as in eight.
  color::fill_gray_ramp(palette);
  std::ranges::reverse(palette);
}

process::SourcePicture describe(std::span<const uint8_t> head, const Header& header) {
  process::SourcePicture picture;
  picture.width = header.width;
  picture.height = header.height;
  picture.bits = delivered_bits(header.planes);
  if (picture.bits == 16) picture.order = T_ORDER_BGR;
  picture.storage_kind = T_FORMAT_IMG;
  const auto dots = [](uint32_t microns) {
    return microns == 0 ? 0 : (kMicronsPerInch + microns / 2) / microns;
  };
  process::set_resolution(dots(header.pixel_width), dots(header.pixel_height), picture);
  if (picture.bits > 8) return picture;
  picture.colors = 1u << header.planes;
  const auto palette = std::span(picture.palette).first(picture.colors);
  set_palette(head, header, palette);
  if (header.palette_entries != 0) picture.flags |= T_FLAG_PALETTE;
  // Of fewer planes than bits the palette has gaps, which are no ramp.
  const bool has_all = picture.bits > 1 && static_cast<uint32_t>(picture.bits) == header.planes;
  if (has_all && color::is_gray_ramp(palette)) picture.flags |= T_FLAG_GRAY;
  return picture;
}

}  // namespace

Status parse_header(std::span<const uint8_t> head, uint32_t file_bytes, Header& header) {
  // 1 is the guide's. Files of 0 and 2 have the same fields; who writes them is not known, and
  // strictly they would be lost.
  constexpr uint32_t kLastVersion = 2;
  if (head.size() < kGemHeader || load_be16(&head[kVersionAt]) > kLastVersion) return kBadData;
  header.data = 2 * load_be16(&head[kHeaderWordsAt]);
  header.planes = load_be16(&head[kPlanesAt]);
  header.pattern_bytes = load_be16(&head[kPatternAt]);
  header.pixel_width = load_be16(&head[kPixelWidthAt]);
  header.pixel_height = load_be16(&head[kPixelHeightAt]);
  header.width = load_be16(&head[kWidthAt]);
  header.height = load_be16(&head[kHeightAt]);
  if (header.data < kGemHeader || header.data > file_bytes) return kBadData;
  if (!is_planes(header.planes) || header.pattern_bytes > 8) return kBadData;
  if (header.width == 0 || header.height == 0) return kBadData;
  TRY(limits::check_picture(header.width, header.height));
  find_palette(head, header);
  return formats::check_repeating(header.width, header.height, file_bytes);
}

Status probe(const io::ProbeInput& input, FILEINFO& info) {
  Header header;
  TRY(parse_header(input.head, input.file_size, header));
  // GEM's own headers have 8 words, or 9 with that of greys; longer ones bring a tag.
  const bool is_plain = header.data <= kGemHeader + 2 && header.planes <= 4;
  if ((!is_plain && !header.has_tag) || header.pattern_bytes == 0) return kBadData;
  process::describe(describe(input.head, header), T_FORMAT_IMG, "Run Length", info);
  return kOk;
}

namespace {

// One row of the file at a time as pixels.
class RowMaker {
 public:
  RowMaker(ByteSource& bytes, const Header& header)
      : runs_(bytes, std::max(header.pattern_bytes, 1u)),
        planes_count_(header.planes),
        width_(header.width),
        row_bytes_(row_bytes(header)) {}

  Status start() {
    // Planes are combined by fours or eights: those that the file does not have stay zero.
    TRY(coded_.allocate(row_bytes_ * (planes_count_ <= 8 ? 8 : 1)));
    // Three bytes for a pixel at most, and whole groups of eight.
    return pixels_.allocate((width_ + 8) * size_t{3});
  }

  // Decodes a row, which is to be used `repeats` times.
  Status decode(uint32_t& repeats) {
    repeats = 1;
    const uint32_t planes = planes_count_ <= 8 ? planes_count_ : 1;
    for (uint32_t i = 0; i < planes; ++i) {
      // A row's count stands in front of its first plane and is that of all.
      TRY(runs_.decode(coded_.bytes().subspan(i * row_bytes_, row_bytes_),
                       i == 0 ? &repeats : nullptr));
    }
    combine();
    return kOk;
  }

  const uint8_t* pixels() const { return is_as_stored() ? coded_.data() : pixels_.data(); }
  size_t size() const { return is_as_stored() ? row_bytes_ : pixels_.size(); }

 private:
  bool is_as_stored() const { return planes_count_ == 1 || planes_count_ == 24; }

  void combine() {
    const uint8_t* from = coded_.data();
    uint8_t* to = pixels_.data();
    if (is_as_stored()) return;
    if (planes_count_ <= 4) return formats::combine_4_planes(from, row_bytes_, width_, to);
    if (planes_count_ <= 8) return formats::combine_8_planes(from, row_bytes_, width_, to);
    for (uint32_t x = 0; x < width_; ++x) {
      if (planes_count_ == 32) {  // a spare byte, red, green, blue
        std::memcpy(to + size_t{3} * x, from + size_t{4} * x + 1, 3);
        continue;
      }
      const uint32_t word = load_be16(from + size_t{2} * x);
      // 5-6-5, the high byte first, to 5-5-5.
      const uint32_t without_green_bit = (word >> 1 & 0x7FE0) | (word & 0x1F);
      store_le16(to + size_t{2} * x,
                 static_cast<uint16_t>(planes_count_ == 15 ? word & 0x7FFF : without_green_bit));
    }
  }

  RunDecoder runs_;
  uint32_t planes_count_;
  uint32_t width_;
  size_t row_bytes_;  // of a plane
  Buffer coded_;
  Buffer pixels_;
};

Status read_rows(ByteSource& bytes, const Header& header, process::RowDelivery& rows) {
  RowMaker maker(bytes, header);
  TRY(maker.start());
  uint32_t left = header.height;
  while (left > 0) {
    uint32_t repeats = 0;
    const Status status = maker.decode(repeats);
    if (!status.ok()) return rows.finish_early(status);
    // A count that goes beyond the last row is cut.
    for (repeats = std::min(repeats, left); repeats > 0; --repeats, --left) {
      const std::span<uint8_t> row = rows.next_row();
      std::memcpy(row.data(), maker.pixels(), std::min(row.size(), maker.size()));
      TRY(rows.commit());
    }
  }
  return rows.finish();
}

}  // namespace

Status read(const char* name, BitmapHandle* bitmap, T_RowSink sink, int32_t bits_per_pixel,
            void* context) {
  io::InputFile file;
  TRY(io::open_for_rows(file, name, bits_per_pixel));
  std::array<uint8_t, kHeadBytes> head;
  size_t got = 0;
  TRY(file.read_up_to(head, got));
  uint32_t file_bytes = 0;
  TRY(file.size(file_bytes));
  Header header;
  TRY(parse_header({head.data(), got}, file_bytes, header));
  if (header.palette == Palette::kUnsupported) return kSubtype;

  const process::SourcePicture picture = describe(head, header);
  process::RowDelivery rows(picture, *bitmap, sink, bits_per_pixel, context);
  TRY(rows.start());
  TRY(file.seek(header.data));
  ByteSource bytes(file);
  TRY(bytes.start());
  return read_rows(bytes, header, rows);
}

namespace {

// 0 where the resolution is not known.
uint16_t microns(int32_t dots_per_inch) {
  if (dots_per_inch <= 0) return 0;
  const auto dots = static_cast<uint32_t>(dots_per_inch);
  return static_cast<uint16_t>(std::max((kMicronsPerInch + dots / 2) / dots, 1u));
}

class Writer final : public io::RowWriter {
 public:
  Writer() : RowWriter(this) {}

  Status prepare(const io::SaveRequest& request, const BitmapHandle& picture,
                 io::RowLayout& layout) {
    if (!io::has_16_bit_size(picture)) return kBadSize;
    depth_ = request.depth;
    width_ = static_cast<uint32_t>(picture.Width);
    plane_bytes_ = (width_ + 7) / 8;
    // Whole groups of eight pixels, as the planes have them.
    layout.row_bytes = plane_bytes_ * static_cast<size_t>(depth_);
    if (depth_ == 1) {
      formats::ask_two_levels(kZeroIs, picture, layout);
    } else {
      formats::list_colors(picture, depth_, palette_);
      layout.palette = palette_;
    }
    // A row's count is a byte.
    TRY(rows_.start(layout.row_bytes, 255));
    TRY(planes_.allocate(layout.row_bytes));
    return coded_.allocate(most_coded(plane_bytes_));
  }

  Status begin(const io::SaveRequest& request, const BitmapHandle& picture) {
    TRY(file_.create(request.name));
    std::array<uint8_t, kHeadBytes> head = {};
    const size_t colors = depth_ == 1 ? 0 : size_t{1} << depth_;
    const size_t size = colors == 0 ? kGemHeader : kTaggedPaletteAt + 6 * colors;
    const size_t words[] = {1,         // version
                            size / 2,  // words of the header
                            static_cast<size_t>(depth_),
                            1,  // bytes of a pattern
                            microns(picture.XResolution),
                            microns(picture.YResolution),
                            width_,
                            static_cast<size_t>(picture.Height)};
    for (size_t i = 0; i < std::size(words); ++i) {
      store_be16(&head[2 * i], static_cast<uint16_t>(words[i]));
    }
    // Colour model 0, RGB, is left at kColorModelAt.
    if (colors != 0) store_be32(&head[kTagAt], kXimg);
    for (size_t i = 0; i < colors; ++i)
      put_thousandths(palette_[i], &head[kTaggedPaletteAt + 6 * i]);
    return file_.write(std::span(head).first(size));
  }

  Status put_group(std::span<const uint8_t> row, uint32_t count) {
    if (count > 1) TRY(file_.write(repeat_code(count)));
    if (depth_ == 1) return put_plane(row);
    formats::split_planes(depth_, row.data(), width_, planes_.data(), plane_bytes_);
    for (size_t at = 0; at < planes_.size(); at += plane_bytes_) {
      TRY(put_plane(planes_.bytes().subspan(at, plane_bytes_)));
    }
    return kOk;
  }

  Status put_row(std::span<const uint8_t> row) { return rows_.add(row, *this); }

  Status finish() {
    TRY(rows_.finish(*this));
    return file_.finish();
  }

 private:
  static void put_thousandths(const T_PaletteEntry& color, uint8_t* words) {
    const auto put = [&](size_t i, uint32_t value) {
      store_be16(words + 2 * i, static_cast<uint16_t>((value * 1000 + 127) / 255));
    };
    put(0, color.Red);
    put(1, color.Green);
    put(2, color.Blue);
  }

  Status put_plane(std::span<const uint8_t> plane) {
    return file_.write(coded_.bytes().first(encode(plane, coded_.data())));
  }

  io::OutputFile file_;
  int32_t depth_ = 0;
  uint32_t width_ = 0;
  size_t plane_bytes_ = 0;
  T_PaletteEntry palette_[256] = {};
  formats::EqualRows rows_;
  Buffer planes_;
  Buffer coded_;
};

}  // namespace

Status write(io::WriterUse use) {
  Writer writer;
  return use(writer);
}

}  // namespace tavo::gem
