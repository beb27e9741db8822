#include "formats/wmf_records.h"

#include <algorithm>
#include <array>

#include "base/endian.h"

namespace tavo::wmf {

namespace {

// Offsets in the placeable header ([MS-WMF] 2.3.2.3). Its checksum is not looked at: many programs
// write a wrong one.
constexpr size_t kBox = 6, kInch = 14;
// Twips, which [MS-WMF] calls the convention. Refused instead, such files would not be shown at
// all.
constexpr int32_t kUsualInch = 1440;  // where the header has 0

int16_t signed_word(const uint8_t* bytes) { return static_cast<int16_t>(load_le16(bytes)); }

// The header of every metafile ([MS-WMF] 2.3.2.2). Behind a placeable header it is only asked for
// its size: sizes of the file and of its largest record are wrong in many.
bool is_metafile(const uint8_t* header) {
  // MetafileType (2.1.1.18): 1 in memory, 2 on disk. MetafileVersion (2.1.1.19): 0x0300 has
  // device-independent bitmaps, 0x0100 has not. The last word, NumberOfMembers, is 0 in all.
  const uint32_t type = load_le16(header), version = load_le16(header + 4);
  return (type == 1 || type == 2) && load_le16(header + 2) == kHeaderBytes / 2 &&
         (version == 0x0100 || version == 0x0300) && load_le16(header + 16) == 0;
}

}  // namespace

Status parse_header(std::span<const uint8_t> bytes, Header& header) {
  header.is_placeable = bytes.size() >= 4 && load_le32(bytes.data()) == kPlaceableKey;
  header.first_record = kHeaderBytes;
  if (!header.is_placeable) {
    // There is no signature: the first record has to look like one, too.
    const bool is_mine = bytes.size() >= kHeaderBytes + kHeadBytes && is_metafile(bytes.data()) &&
                         load_le32(&bytes[kHeaderBytes]) >= kHeadBytes / 2;
    return is_mine ? kOk : kBadData;
  }
  if (bytes.size() < kPlaceableBytes + kHeaderBytes) return kReadError;
  header.left = signed_word(&bytes[kBox]);
  header.top = signed_word(&bytes[kBox + 2]);
  header.right = signed_word(&bytes[kBox + 4]);
  header.bottom = signed_word(&bytes[kBox + 6]);
  header.units_per_inch = load_le16(&bytes[kInch]);
  if (header.units_per_inch == 0) header.units_per_inch = kUsualInch;
  header.first_record += kPlaceableBytes;
  const bool is_empty = header.left == header.right || header.top == header.bottom;
  const bool has_header = load_le16(&bytes[kPlaceableBytes + 2]) == kHeaderBytes / 2;
  return is_empty || !has_header ? kBadData : kOk;
}

Status Records::go_to(uint64_t position) {
  TRY(file_.seek(position));
  bytes_.reset();
  position_ = position;
  size_ = left_ = 0;
  is_cut_ = false;
  return kOk;
}

// A record that goes on behind the end of the file is still handed out, and what there is of it;
// the call after it finds the file cut.
bool Records::next() {
  const bool is_whole = left_in_file() == left_;
  if (!bytes_.skip(left_).ok() || !is_whole) {
    is_cut_ = true;
    return false;
  }
  position_ += left_;
  record_ = position_;
  size_ = left_ = kHeadBytes;
  std::array<uint8_t, kHeadBytes> head;
  if (!take(head)) {
    is_cut_ = true;
    return false;
  }
  const uint64_t words = load_le32(head.data());
  function_ = load_le16(&head[4]);
  // Kept: a size below three words ends the file as a last record does, what was there before being
  // shown. Nothing behind it can be found.
  if (words < kHeadBytes / 2 || function_ == kEof) return false;
  size_ = left_ = 2 * words - kHeadBytes;
  return true;
}

bool Records::take(std::span<uint8_t> into) {
  if (left_ < into.size() || !bytes_.read(into).ok()) return false;
  left_ -= into.size();
  position_ += into.size();
  return true;
}

bool Records::take(std::span<int16_t> words) {
  const std::span bytes(reinterpret_cast<uint8_t*>(words.data()), words.size_bytes());
  if (!take(bytes)) return false;
  for (int16_t& word : words) word = signed_word(reinterpret_cast<uint8_t*>(&word));
  return true;
}

Status Records::read_some(std::span<uint8_t> into, size_t& got) {
  TRY(bytes_.read_some(into.first(static_cast<size_t>(std::min<uint64_t>(into.size(), left_))),
                       got));
  left_ -= got;
  position_ += got;
  return kOk;
}

}  // namespace tavo::wmf
