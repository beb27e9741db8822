#include "formats/pict_records.h"

#include <algorithm>

#include "base/endian.h"
#include "formats/pict_quicktime.h"

namespace tavo::pict {

namespace {

// The head: two bytes of size, which large pictures outgrow, the frame, the version opcode.
constexpr size_t kFrameAt = 2, kVersionAt = kFrameAt + kRectBytes, kPreamble = 512;
constexpr uint32_t kVersion1 = 0x1101, kVersion2 = 0x001102FF;

// Clip, BkPixPat to FillPixPat, OpEndPic, HeaderOp, CompressedQuickTime, UncompressedQuickTime.
constexpr uint32_t kClip = 0x0001, kPatternFirst = 0x0012, kPatternLast = 0x0014,
                   kEndOfPicture = 0x00FF, kHeader = 0x0C00, kQuickTime = 0x8200,
                   kUncompressedQuickTime = 0x8201;

// How the length of a record's data is known.
enum class Length : uint8_t {
  kFixed,       // `bytes`
  kWordInAll,   // a word at the beginning counts everything, itself too
  kByteBehind,  // the last of `bytes` counts what is behind
  kWordBehind,  // the last two do
  kLongBehind,  // the last four do
};

struct Rule {
  uint32_t last;  // opcode, the first one being behind the rule before
  Length length;
  uint8_t bytes;
};

// Apple, "Inside Macintosh: Imaging With QuickDraw", table A-2, and for what is reserved A-3.
constexpr Rule kRules[] = {
    {0x0000, Length::kFixed, 0},      // no operation
    {0x0001, Length::kWordInAll, 2},  // clip region
    {0x0002, Length::kFixed, 8},      // background pattern
    {0x0003, Length::kFixed, 2},      // font
    {0x0004, Length::kFixed, 1},      // face
    {0x0005, Length::kFixed, 2},      // text mode
    {0x0007, Length::kFixed, 4},      // extra space, pen size
    {0x0008, Length::kFixed, 2},      // pen mode
    {0x000A, Length::kFixed, 8},      // pen pattern, fill pattern
    {0x000C, Length::kFixed, 4},      // oval size, origin
    {0x000D, Length::kFixed, 2},      // text size
    {0x000F, Length::kFixed, 4},      // colours
    {0x0010, Length::kFixed, 8},      // text ratio
    {0x0011, Length::kFixed, 1},      // version; in version 2 a byte more, by alignment
    {0x0014, Length::kFixed, 0},      // pixel patterns, which have rows
    {0x0016, Length::kFixed, 2},      // pen fraction, extra width
    {0x0019, Length::kFixed, 0},      {0x001B, Length::kFixed, 6},  // colours
    {0x001C, Length::kFixed, 0},                                    // highlight mode
    {0x001D, Length::kFixed, 6},                                    // highlight colour
    {0x001E, Length::kFixed, 0},                                    // default highlight
    {0x001F, Length::kFixed, 6},                                    // colour of arithmetic modes
    {0x0020, Length::kFixed, 8},                                    // line
    {0x0021, Length::kFixed, 4},                                    // line from
    {0x0022, Length::kFixed, 6},                                    // short line
    {0x0023, Length::kFixed, 2},                                    // short line from
    {0x0027, Length::kWordBehind, 2}, {0x0028, Length::kByteBehind, 5},  // text at a point,
    {0x002A, Length::kByteBehind, 2},                                    // to the right, down,
    {0x002B, Length::kByteBehind, 3},                                    // or both
    {0x002F, Length::kWordBehind, 2},  // font name, justification, glyphs
    {0x0037, Length::kFixed, 8},       // rectangles: frame, paint, erase, invert, fill
    {0x003F, Length::kFixed, 0},       // the same again
    {0x0047, Length::kFixed, 8},       // with round corners
    {0x004F, Length::kFixed, 0},      {0x0057, Length::kFixed, 8},       // ovals
    {0x005F, Length::kFixed, 0},      {0x0067, Length::kFixed, 12},      // arcs
    {0x006F, Length::kFixed, 4},      {0x0077, Length::kWordInAll, 2},   // polygons
    {0x007F, Length::kFixed, 0},      {0x0087, Length::kWordInAll, 2},   // regions
    {0x008F, Length::kFixed, 0},      {0x009F, Length::kWordBehind, 2},  // but for bitmaps
    {0x00A0, Length::kFixed, 2},                                         // comments
    {0x00A1, Length::kWordBehind, 4}, {0x00AF, Length::kWordBehind, 2},
    {0x00CF, Length::kFixed, 0},      {0x00FE, Length::kLongBehind, 4},
};

// Reserved opcodes beyond the table tell the length of their data by their higher byte, from 8100
// on by a long in front (8000 to 80FF have none); so those of later systems can be passed over.
Rule rule_of(uint32_t opcode) {
  if (opcode >= 0x8100) return {0xFFFF, Length::kLongBehind, 4};
  if (opcode >= 0x8000) return {0x80FF, Length::kFixed, 0};
  if (opcode >= 0x0100) return {0x7FFF, Length::kFixed, static_cast<uint8_t>(2 * (opcode >> 8))};
  return *std::ranges::lower_bound(kRules, opcode, {}, &Rule::last);
}

// The data's length, by the first of them; false when they are not all there, or contradict
// themselves.
bool find_length(const Rule& rule, std::span<const uint8_t> bytes, uint64_t& length) {
  if (bytes.size() < rule.bytes) return false;
  const uint8_t* const end = bytes.data() + rule.bytes;
  length = rule.bytes;
  switch (rule.length) {
    case Length::kFixed:
      return true;
    case Length::kWordInAll:
      length = load_be16(bytes.data());
      return length >= 2;
    case Length::kByteBehind:
      length += end[-1];
      return true;
    case Length::kWordBehind:
      length += load_be16(end - 2);
      return true;
    case Length::kLongBehind:
      length += load_be32(end - 4);
      return true;
  }
  return false;
}

// LongText, DHText, DVText, DHDVText.
constexpr bool is_text(uint32_t opcode) { return opcode >= 0x28 && opcode <= 0x2B; }
constexpr bool draws(uint32_t opcode) {
  const bool is_line = opcode >= 0x20 && opcode <= 0x23;
  // Of the five verbs; opcodes that end in 5 to 7 and D to F are reserved.
  const bool is_shape = opcode >= 0x30 && opcode <= 0x8F && opcode % 8 <= 4;
  return is_line || is_text(opcode) || is_shape;
}

}  // namespace

Status find_picture(std::span<const uint8_t> head, uint32_t& offset) {
  // Bare first: in front of others stand zeros as a rule, which are no version.
  for (const size_t at : {size_t{0}, kPreamble}) {
    if (head.size() < at + kVersionAt + 4) return kBadData;
    const uint32_t version = load_be32(&head[at + kVersionAt]);
    if (version != kVersion2 && version >> 16 != kVersion1) continue;
    if (load_rect(&head[at + kFrameAt]).is_empty()) continue;
    offset = static_cast<uint32_t>(at);
    return kOk;
  }
  return kBadData;
}

Status Records::start() {
  TRY(stream_.start());
  std::span<const uint8_t> bytes;
  TRY(stream_.take(kVersionAt, bytes));
  header_.frame = load_rect(&bytes[kFrameAt]);
  TRY(stream_.take(2, bytes));
  header_.is_version2 = load_be16(bytes.data()) != kVersion1;
  if (!header_.is_version2) return kOk;
  TRY(stream_.take(2, bytes));

  // HeaderOp: version FFFE, a reserved word, hRes, vRes, srcRect, a reserved long; or FFFFFFFF and
  // the frame in 16.16, which says nothing new. Others occur: some files have their length there.
  constexpr size_t kBytes = 2 + 24, kKind = 2, kHRes = 6, kVRes = 10, kOptimal = 14;
  constexpr uint32_t kExtended = 0xFFFE;
  bytes = stream_.peek(kBytes);
  if (bytes.size() < kBytes || load_be16(bytes.data()) != kHeader) return kOk;
  if (load_be16(&bytes[kKind]) == kExtended) {
    header_.x_resolution = load_be32(&bytes[kHRes]);
    header_.y_resolution = load_be32(&bytes[kVRes]);
    header_.optimal = load_rect(&bytes[kOptimal]);
  }
  return stream_.take(kBytes, bytes);
}

// In version 2 records begin at even positions.
Status Records::take_opcode() {
  std::span<const uint8_t> bytes;
  if (!header_.is_version2) {
    TRY(stream_.take(1, bytes));
    opcode_ = bytes[0];
    return kOk;
  }
  TRY(stream_.skip(stream_.position() % 2));
  TRY(stream_.take(2, bytes));
  opcode_ = load_be16(bytes.data());
  return kOk;
}

Status Records::next() {
  if (has_rows_) TRY(rows_.finish());
  has_rows_ = false;
  data_ = {};
  for (;;) {
    TRY(take_opcode());
    kind_ = Kind::kState;
    TRY(take_record());
    const bool is_shown = kind_ == Kind::kBitmap || kind_ == Kind::kPattern;
    if (!has_rows_ || is_shown) return kOk;
    TRY(rows_.finish());
    has_rows_ = false;
  }
}

Status Records::take_record() {
  if (opcode_ == kEndOfPicture) {
    kind_ = Kind::kEnd;
    return kOk;
  }
  if (is_bitmap(opcode_)) return take_bitmap();
  if (opcode_ >= kPatternFirst && opcode_ <= kPatternLast) return take_pixel_pattern();
  if (opcode_ == kQuickTime) return take_quicktime();
  if (opcode_ == kUncompressedQuickTime) return enter_uncompressed();
  return take_data();
}

// Data beyond 64 KiB are passed over: those of state and drawings are counted by words, and cannot
// be longer.
Status Records::take_data() {
  const Rule rule = rule_of(opcode_);
  uint64_t length = 0;
  const auto head = stream_.peek(rule.bytes);
  if (!find_length(rule, head, length)) return head.size() < rule.bytes ? kReadError : kBadData;
  if (length > Stream::kMost) return stream_.skip(length);
  TRY(stream_.take(static_cast<size_t>(length), data_));
  if (opcode_ == kClip) {
    kind_ = Kind::kClip;
    return clip_.take(data_);
  }
  if (!draws(opcode_)) return kOk;
  // Where a compressor is missing, text says so behind the compressed picture.
  expects_message_ = expects_message_ && is_text(opcode_);
  if (!expects_message_) kind_ = Kind::kDrawing;
  return kOk;
}

// What stands where a compressed picture was drawn is there for those who cannot decompress it.
Status Records::take_bitmap() {
  bitmap_ = Bitmap();
  TRY(read_bitmap(stream_, opcode_, bitmap_, mask_));
  rows_.start(bitmap_);
  has_rows_ = true;
  const bool is_stand_in = !intersect(bitmap_.destination, quicktime_area_).is_empty();
  if (!is_stand_in) kind_ = Kind::kBitmap;
  return kOk;
}

// Until something else is drawn, texts behind it may be the message that the decompressor is
// missing: they are not shown, whether the picture could be read or not.
Status Records::take_quicktime() {
  std::span<const uint8_t> bytes;
  TRY(stream_.take(4, bytes));
  bitmap_ = Bitmap();
  expects_message_ = true;
  uint64_t left = 0;
  const Status status =
      read_quicktime(stream_, load_be32(bytes.data()), file_bytes_, bitmap_, mask_, rows_, left);
  if (status == kSubtype) {
    kind_ = Kind::kUnknown;
    return stream_.skip(left);
  }
  TRY(status);
  has_rows_ = true;
  kind_ = Kind::kBitmap;
  quicktime_area_ = unite(quicktime_area_, bitmap_.destination);
  return kOk;
}

// Records stand in this one; they are read as if they stood behind it.
Status Records::enter_uncompressed() {
  // The size, version (2), matrix (36), size of the matte (4), its rectangle (8).
  constexpr size_t kHeadBytes = 4 + 50, kMatteBytesAt = 4 + 38;
  std::span<const uint8_t> bytes;
  TRY(stream_.take(kHeadBytes, bytes));
  return stream_.skip(load_be32(&bytes[kMatteBytesAt]));
}

// A word of type, the old pattern; then a PixMap with its table and rows, or (type 2) a colour.
Status Records::take_pixel_pattern() {
  constexpr size_t kOldAt = 2, kColorBytes = 6;
  constexpr uint32_t kPixelMap = 1;
  std::span<const uint8_t> bytes;
  TRY(stream_.take(kOldAt + old_pattern_.size(), bytes));
  std::ranges::copy(bytes.subspan(kOldAt), old_pattern_.begin());
  kind_ = Kind::kPattern;
  if (load_be16(bytes.data()) != kPixelMap) return stream_.take(kColorBytes, data_);
  bitmap_ = Bitmap();
  TRY(read_pixel_map(stream_, bitmap_));
  bitmap_.source = bitmap_.bounds;
  rows_.start(bitmap_);
  has_rows_ = true;
  return kOk;
}

}  // namespace tavo::pict
