#include "formats/jpeg_stamp.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "base/endian.h"
#include "color/palettes.h"
#include "compress/cmp_layout.h"
#include "core/bitmap.h"
#include "core/rows.h"

namespace tavo::jpeg {
namespace {

using Kind = StampPlace::Kind;

// JFIF 1.02. The JFIF segment ends with a thumbnail's sizes and its pixels, red first. Offsets
// count from behind the length: "JFIF" and a zero byte, version (2), units (1), densities (2 each),
// then Xthumbnail and Ythumbnail.
constexpr size_t kJfifSize = 14;
constexpr size_t kJfifWidth = 12, kJfifHeight = 13;

// The extension segment: "JFXX", a code, and what belongs to it.
constexpr size_t kJfxxSize = 6;  // without width and height, which coded stamps lack
constexpr size_t kJfxxCode = 5, kJfxxWidth = 6, kJfxxHeight = 7;
constexpr uint8_t kCodedStamp = 0x10, kPaletteStamp = 0x11, kColorStamp = 0x13;
constexpr uint32_t kMaxCodedSide = 1024;  // of a picture that came in one segment, below 64 KiB

struct Segment {
  int code = 0;
  uint64_t offset = 0;  // in the file, of what follows the length
  size_t size = 0;
  std::array<uint8_t, 32> head = {};  // its first bytes, then zeros; the library's COM fits whole

  bool begins(const char (&text)[5]) const { return std::memcmp(head.data(), text, 5) == 0; }
};

// The segments of a stream up to its frame header (ISO/IEC 10918-1, B.1.1.4). Markers may have fill
// bytes, 0xFF, in front (B.1.1.2). SOF and what comes with it end the search; DHT and DAC have
// codes among them.
class Segments {
 public:
  explicit Segments(ByteSource& source) : source_(source) {}

  // kNoStamp behind the last one.
  Status next(Segment& segment) {
    std::array<uint8_t, 2> pair;
    TRY(source_.skip(rest_));
    TRY(source_.read(pair));
    if (pair[0] != 0xFF) return kNoStamp;
    position_ += rest_ + 4;
    for (; pair[1] == 0xFF; ++position_) TRY(source_.read(std::span(pair).last(1)));
    segment.code = pair[1];
    const bool is_table = segment.code == marker::kDht || segment.code == marker::kDac;
    if (segment.code <= marker::kSos && !is_table) return kNoStamp;
    TRY(source_.read(pair));
    if (load_be16(pair.data()) < 2) return kNoStamp;
    segment.size = load_be16(pair.data()) - 2u;
    segment.offset = position_;
    segment.head.fill(0);
    const auto head = std::span(segment.head).first(std::min(segment.size, segment.head.size()));
    rest_ = segment.size - head.size();
    position_ += head.size();
    return source_.read(head);
  }

 private:
  ByteSource& source_;
  uint64_t position_ = 2;  // SOI is behind us
  size_t rest_ = 0;
};

// What a segment holds of a stamp, if anything.
bool read_place(const Segment& segment, StampPlace& stamp) {
  const auto& head = segment.head;
  if (segment.code != marker::kApp0) return false;
  if (segment.begins("JFIF") && segment.size > kJfifSize) {
    stamp = {Kind::kRgb, head[kJfifWidth], head[kJfifHeight], 24, segment.offset + kJfifSize, 0};
    return true;
  }
  if (!segment.begins("JFXX") || segment.size < kJfxxSize) return false;
  if (head[kJfxxCode] == kCodedStamp) {
    stamp = {Kind::kCoded, 0, 0, 0, segment.offset + kJfxxSize, segment.size - kJfxxSize};
    return true;
  }
  const bool is_indexed = head[kJfxxCode] == kPaletteStamp;
  stamp = {is_indexed ? Kind::kPalette : Kind::kRgb,
           head[kJfxxWidth],
           head[kJfxxHeight],
           is_indexed ? 8u : 24u,
           segment.offset + kJfxxSize + 2,
           0};
  return is_indexed || head[kJfxxCode] == kColorStamp;
}

// The first JFXX stamp, or else what the JFIF segment has. The format wants red first in both; this
// library, whose comment comes later, writes blue first.
Status find_in_segments(io::InputFile& file, StampPlace& stamp) {
  ByteSource source(file);
  TRY(file.seek(2));
  TRY(source.start(4096));
  Segments segments(source);
  Segment segment;
  bool is_found = false;
  bool is_final = false;
  Status status = segments.next(segment);
  for (; status.ok(); status = segments.next(segment)) {
    if (!is_final && read_place(segment, stamp)) {
      is_found = true;
      is_final = segment.begins("JFXX");
    }
    const bool is_comment = segment.code == marker::kCom && segment.size == cmp::kCommentSize;
    if (is_comment && is_found && stamp.kind == Kind::kRgb && is_final &&
        cmp::is_own_comment(std::span(segment.head).first(cmp::kCommentSize))) {
      stamp.kind = Kind::kBgr;
    }
  }
  return is_found ? kOk : status;
}

// A stamp that is a stream of its own.
class CodedStamp {
 public:
  Status open(io::InputFile& file, const StampPlace& stamp) {
    TRY(file.seek(stamp.offset));
    TRY(stream_.allocate(stamp.coded_size));
    TRY(file.read(stream_.bytes()));
    TRY(decoder.read_header(source_.emplace(stream_.bytes()), {}));
    const Frame& frame = decoder.frame();
    return std::max(frame.width, frame.height) <= kMaxCodedSide ? kOk : kBadData;
  }

  Decoder decoder;

 private:
  Buffer stream_;
  std::optional<ByteSource> source_;
};

// JFIF 1.02 and CMP alike: 256 triples, red first.
Status read_palette(io::InputFile& file, BitmapHandle& bitmap) {
  std::array<uint8_t, cmp::kStampPaletteSize> palette;
  TRY(file.read(palette));
  for (size_t i = 0; i < 256; ++i) {
    bitmap.Info.Palette[i] = color::rgb_entry(&palette[3 * i]);
  }
  bitmap.Colors = 256;
  bitmap.Flags |= T_FLAG_PALETTE;
  return kOk;
}

// Rows are not padded.
Status read_pixels(io::InputFile& file, const StampPlace& stamp, BitmapHandle& bitmap) {
  TRY(file.seek(stamp.offset));
  if (stamp.bits == 8) TRY(read_palette(file, bitmap));
  Buffer row;
  TRY(row.allocate(bitmap.BytesPerLine));
  const auto used = row.bytes().first(size_t{stamp.width} * (stamp.bits / 8));
  for (uint32_t y = 0; y < stamp.height; ++y) {
    TRY(file.read(used));
    if (stamp.kind == Kind::kRgb) {
      for (size_t x = 0; x < used.size(); x += 3) std::swap(used[x], used[x + 2]);
    }
    TRY(core::put_row(bitmap, y, row.bytes()));
  }
  return kOk;
}

Status decode_pixels(io::InputFile& file, const StampPlace& stamp, BitmapHandle& bitmap) {
  CodedStamp coded;
  TRY(coded.open(file, stamp));
  if (stamp.bits == 8) {
    color::fill_gray_ramp(bitmap.Info.Palette);
    bitmap.Colors = 256;
    bitmap.Flags |= T_FLAG_GRAY;
  }
  TRY(coded.decoder.start(stamp.bits == 8 ? PixelLayout::kGray8 : PixelLayout::kBgr24));
  Buffer row;
  TRY(row.allocate(bitmap.BytesPerLine));
  for (uint32_t y = 0; y < stamp.height; ++y) {
    uint32_t got = 0;
    TRY(coded.decoder.next_rows(row.bytes(), bitmap.BytesPerLine, 1, got));
    if (got == 0) break;
    TRY(core::put_row(bitmap, y, row.bytes()));
  }
  return coded.decoder.outcome();
}

}  // namespace

// A CMP file tells the size and depth of its stamp behind its header, a stream in its segments.
Status find_stamp(io::InputFile& file, const Container& container, StampPlace& stamp) {
  if (container.format == T_FORMAT_JPEG) {
    TRY(find_in_segments(file, stamp));
  } else {
    if (!container.has_stamp) return kNoStamp;
    TRY(file.seek(cmp::kHeaderSize));
    std::array<uint8_t, cmp::kStampHeaderSize> head;
    TRY(file.read(head));
    stamp = {head[2] == 8 ? Kind::kPalette : Kind::kBgr, head[0], head[1], head[2],
             cmp::kHeaderSize + cmp::kStampHeaderSize,   0};
  }
  if (stamp.kind == Kind::kCoded) {
    CodedStamp coded;
    TRY(coded.open(file, stamp));
    const Frame& frame = coded.decoder.frame();
    stamp.width = frame.width;
    stamp.height = frame.height;
    stamp.bits = frame.count < 3 ? 8 : 24;
  }
  const bool is_sound =
      stamp.width != 0 && stamp.height != 0 && (stamp.bits == 8 || stamp.bits == 24);
  return is_sound ? kOk : kBadData;
}

Status read_stamp(const char* name, BitmapHandle& bitmap) {
  io::InputFile file;
  Container container;
  StampPlace stamp;
  TRY(file.open(name));
  // Too short to be known.
  if (const Status status = read_container(file, container); !status.ok()) {
    return status == kReadError ? kBadData : status;
  }
  TRY(find_stamp(file, container, stamp));
  TRY(core::init_bitmap(bitmap, static_cast<int32_t>(stamp.width),
                        static_cast<int32_t>(stamp.height), static_cast<int32_t>(stamp.bits)));
  bitmap.ViewPerspective = 0;
  if (stamp.bits == 24) bitmap.Order = T_ORDER_BGR;
  TRY(core::allocate_quietly(bitmap));
  core::access_bitmap(bitmap);
  const Status status = stamp.kind == Kind::kCoded ? decode_pixels(file, stamp, bitmap)
                                                   : read_pixels(file, stamp, bitmap);
  core::release_bitmap(bitmap);
  if (!status.ok()) core::free_bitmap(bitmap);
  return status;
}

}  // namespace tavo::jpeg
