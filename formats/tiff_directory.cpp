#include "formats/tiff_directory.h"

#include <algorithm>
#include <array>

#include "base/endian.h"
#include "base/limits.h"

namespace tavo::tiff {

namespace {

// XMP, volume 3, 1.1.4; Exif 2.32, 4.6.3; ICC.1, B.4.
uint32_t extra_of(uint16_t tag) {
  constexpr uint16_t kXmp = 700, kExifIfd = 34665, kIccProfile = 34675;
  if (tag == kXmp) return T_EXTRA_XMP;
  if (tag == kExifIfd) return T_EXTRA_EXIF;
  return tag == kIccProfile ? T_EXTRA_ICC : 0;
}

// Bytes 2 and 3 of the header (6.0, section 2); 43 is the form with 64-bit offsets.
constexpr uint16_t kVersion = 42;
constexpr uint16_t kVersion64 = 43;

Status read_at(io::InputFile& file, uint64_t position, std::span<uint8_t> into) {
  if (!file.reaches(position)) return kReadError;
  TRY(file.seek(position));
  return file.read(into);
}

uint64_t integer(const ByteOrder& order, uint16_t type, const uint8_t* bytes) {
  switch (type_size(type)) {
    case 1:
      return *bytes;
    case 2:
      return order.u16(bytes);
    case 4:
      return order.u32(bytes);
    default:
      return order.u64(bytes);
  }
}

// Readers accept BYTE, SHORT and LONG alike where an unsigned integer is expected (6.0, section 2);
// the signed ones and the 64-bit form's are taken the same way.
bool is_integer(uint16_t type) {
  switch (type) {
    case kByte:
    case kShort:
    case kLong:
    case kSignedByte:
    case kUndefined:
    case kSignedShort:
    case kSignedLong:
    case kIfd:
    case kLong8:
    case kSignedLong8:
    case kIfd8:
      return true;
    default:
      return false;
  }
}

// Tags that have one value, by their definitions.
constexpr bool has_one_value(Tag tag) {
  switch (tag) {
    case Tag::kBitsPerSample:
    case Tag::kStripOffsets:
    case Tag::kStripByteCounts:
    case Tag::kPageNumber:
    case Tag::kColorMap:
    case Tag::kTileOffsets:
    case Tag::kTileByteCounts:
    case Tag::kExtraSamples:
    case Tag::kSampleFormat:
    case Tag::kJpegTables:
    case Tag::kJpegQTables:
    case Tag::kJpegDcTables:
    case Tag::kJpegAcTables:
    case Tag::kYCbCrCoefficients:
    case Tag::kYCbCrSubSampling:
    case Tag::kReferenceBlackWhite:
      return false;
    default:
      return true;
  }
}

}  // namespace

uint16_t ByteOrder::u16(const uint8_t* bytes) const {
  return is_big_endian ? load_be16(bytes) : load_le16(bytes);
}
uint32_t ByteOrder::u32(const uint8_t* bytes) const {
  return is_big_endian ? load_be32(bytes) : load_le32(bytes);
}
uint64_t ByteOrder::u64(const uint8_t* bytes) const {
  return is_big_endian ? load_be64(bytes) : load_le64(bytes);
}

// By type: 1 to 12 are 6.0's (section 2), 13 is Technical Note 1's IFD, 16 to 18 the 64-bit form's.
uint32_t type_size(uint16_t type) {
  constexpr uint8_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
  return type < std::size(kSizes) ? kSizes[type] : 0;
}

// Byte order, version, offset of the first directory. The 64-bit form has the size of its offsets,
// 8, and a zero between.
Status Directory::read_header(uint64_t& first) {
  std::array<uint8_t, 16> head = {};
  size_t got = 0;
  TRY(file_->seek(0));
  TRY(file_->read_up_to(head, got));
  if (got < 8) return kBadData;
  const bool is_little = head[0] == 'I' && head[1] == 'I';
  order_.is_big_endian = head[0] == 'M' && head[1] == 'M';
  if (!is_little && !order_.is_big_endian) return kBadData;
  const uint16_t version = order_.u16(&head[2]);
  order_.is_64_bit = version == kVersion64;
  end_link_ = order_.is_64_bit ? 8 : 4;
  if (version == kVersion) {
    first = order_.u32(&head[4]);
  } else if (version == kVersion64 && got == 16 && order_.u16(&head[4]) == 8) {
    first = order_.u64(&head[8]);
  } else {
    return kBadData;
  }
  return first != 0 ? kOk : kBadData;
}

// A directory begins with the number of its entries; one without any makes no page.
Status Directory::read_count(uint64_t position, uint64_t& count) const {
  std::array<uint8_t, 8> bytes = {};
  const size_t size = order_.is_64_bit ? 8 : 2;
  TRY(read_at(*file_, position, {bytes.data(), size}));
  count = order_.is_64_bit ? order_.u64(bytes.data()) : order_.u16(bytes.data());
  return count >= 1 && count <= UINT16_MAX ? kOk : kBadData;
}

// The offset of the page behind the one at `directory`; 0 also where that cannot be read, which
// ends the chain in files that were cut.
Status Directory::read_link(uint64_t directory, uint64_t& next) {
  next = 0;
  uint64_t count = 0;
  TRY(read_count(directory, count));
  std::array<uint8_t, 8> bytes = {};
  const size_t size = order_.is_64_bit ? 8 : 4;
  const uint64_t position = directory + (order_.is_64_bit ? 8 : 2) + count * entry_size();
  end_link_ = position;
  if (!read_at(*file_, position, {bytes.data(), size}).ok()) return file_->failure();
  next = order_.is_64_bit ? order_.u64(bytes.data()) : order_.u32(bytes.data());
  return kOk;
}

// Tag, type, count, and the values, when they fit, or their offset. Small values stand at the
// field's left end in either byte order (6.0, section 2), so that their position serves for both.
// Entries should be sorted and tags unique; in files where they are not, the first one counts.
// Where a tag of one value has a count of more that are nowhere in the file, the value is here:
// damage that costs nothing.
void Directory::take_entry(const uint8_t* entry, uint64_t position) {
  const uint16_t tag = order_.u16(entry);
  const uint16_t type = order_.u16(entry + 2);
  const uint32_t size = type_size(type);
  extras_ |= extra_of(tag);
  if (tag < kFirstTag || tag > kLastTag || size == 0) return;
  Field& field = fields_[tag - kFirstTag];
  if (field.count != 0) return;
  const uint64_t count = order_.is_64_bit ? order_.u64(entry + 4) : order_.u32(entry + 4);
  const uint32_t inline_bytes = order_.is_64_bit ? 8 : 4;
  const uint32_t value_at = order_.is_64_bit ? 12 : 8;
  const bool is_inline = count <= inline_bytes / size;
  const uint64_t stored =
      order_.is_64_bit ? order_.u64(entry + value_at) : order_.u32(entry + value_at);
  field = {type, count, is_inline ? position + value_at : stored};
  if (has_one_value(static_cast<Tag>(tag)) && size <= inline_bytes && !is_in_file(field)) {
    field = {type, 1, position + value_at};
  }
}

// Nothing is in front of the header's end.
bool Directory::is_in_file(const Field& field) const {
  return field.position >= 8 && field.position <= file_bytes_ &&
         field.count <= (file_bytes_ - field.position) / type_size(field.type);
}

// In pieces: a directory may have 65,535 entries, most files' have twenty.
Status Directory::read_entries(uint64_t position) {
  fields_ = {};
  extras_ = 0;
  uint64_t count = 0;
  TRY(read_count(position, count));
  position += order_.is_64_bit ? 8 : 2;
  std::array<uint8_t, 60 * 12> piece;
  const size_t size = entry_size();
  const size_t per_piece = piece.size() / size;
  while (count > 0) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(count, per_piece));
    TRY(file_->read({piece.data(), part * size}));
    for (size_t i = 0; i < part; ++i) {
      take_entry(piece.data() + i * size, position);
      position += size;
    }
    count -= part;
  }
  return kOk;
}

Status Directory::open(io::InputFile& file, int32_t page) {
  file_ = &file;
  TRY(file.size(file_bytes_));
  TRY(read_header(first_));
  TRY(walk(page, page_));
  return read_entries(directory_);
}

// Goes along the chain to page `page` or the last one before it, and tells its number. In
// damaged and hostile files chains form rings, hence the list of those seen.
Status Directory::walk(int32_t page, int32_t& number) {
  std::array<uint64_t, T_MAX_PAGES> seen;
  directory_ = first_;
  for (number = 1; number < page && number < T_MAX_PAGES; ++number) {
    uint64_t next = 0;
    uint64_t count = 0;
    seen[static_cast<size_t>(number - 1)] = directory_;
    if (!read_link(directory_, next).ok() || next == 0) break;
    if (std::find(seen.begin(), seen.begin() + number, next) != seen.begin() + number) break;
    if (!read_count(next, count).ok()) break;
    directory_ = next;
  }
  return file_->failure();
}

Status Directory::count_pages(int32_t& pages) { return walk(T_MAX_PAGES + 1, pages); }

// Files with 64-bit offsets have links of 8 bytes.
Status Directory::find_end(uint64_t& link, int32_t& pages) {
  TRY(count_pages(pages));
  uint64_t next = 0;
  TRY(read_link(directory_, next));
  link = end_link_;
  // In a file that was cut there may be no room for it.
  std::array<uint8_t, 8> bytes;
  TRY(read_at(*file_, link, {bytes.data(), order_.is_64_bit ? 8u : 4u}));
  return next == 0 ? kOk : kBadData;
}

const Field& Directory::field(Tag tag) const {
  return fields_[static_cast<uint16_t>(tag) - kFirstTag];
}

Status Directory::bytes(const Field& field, uint64_t offset, std::span<uint8_t> into) const {
  return read_at(*file_, field.position + offset, into);
}

Status Directory::value(Tag tag, uint64_t index, uint64_t& value) const {
  const Field& f = field(tag);
  if (index >= f.count || !is_integer(f.type)) return kBadData;
  std::array<uint8_t, 8> raw = {};
  const uint32_t size = type_size(f.type);
  TRY(bytes(f, index * size, {raw.data(), size}));
  value = integer(order_, f.type, raw.data());
  return kOk;
}

Status Directory::get(Tag tag, uint32_t fallback, uint32_t& value, uint64_t index) const {
  uint64_t number = fallback;
  const Status status = this->value(tag, index, number);
  if (status != kBadData) TRY(status);
  value = static_cast<uint32_t>(std::min<uint64_t>(number, UINT32_MAX));
  return kOk;
}

// Two LONGs (6.0, section 2). Denominators of 0 occur, for resolutions that nobody knows.
Status Directory::rational(Tag tag, uint64_t index, uint32_t& numerator,
                           uint32_t& denominator) const {
  const Field& f = field(tag);
  if (index >= f.count || f.type != kRational) return kBadData;
  std::array<uint8_t, 8> raw;
  TRY(bytes(f, index * 8, raw));
  numerator = order_.u32(raw.data());
  denominator = order_.u32(raw.data() + 4);
  return denominator != 0 ? kOk : kBadData;
}

// Offsets of strips are asked for one after the other: those that are near are read with them.
Status ValueList::get(uint64_t index, uint64_t& value) {
  if (index >= field_.count || !is_integer(field_.type)) return kBadData;
  const uint32_t size = type_size(field_.type);
  if (index < first_ || index - first_ >= held_) {
    const uint64_t left = field_.count - index;
    const auto wanted = static_cast<uint32_t>(std::min<uint64_t>(left, piece_.size() / size));
    size_t got = 0;
    if (!directory_.file().reaches(field_.position + index * size)) return kReadError;
    TRY(directory_.file().seek(field_.position + index * size));
    TRY(directory_.file().read_up_to({piece_.data(), wanted * size}, got));
    first_ = index;
    held_ = static_cast<uint32_t>(got / size);
    if (held_ == 0) return kReadError;
  }
  value = integer(directory_.order(), field_.type,
                  &piece_[static_cast<size_t>((index - first_) * size)]);
  return kOk;
}

}  // namespace tavo::tiff
