// The records of a WordPerfect Graphics file, one after the other.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/endian.h"

namespace tavo::wpg {

// In the units of the file; those of version 2 in 65536ths.
struct Position {
  int64_t x = 0;
  int64_t y = 0;
};
inline constexpr int64_t kFarthest = int64_t{1} << 31;

// next() until it is false or the end record is there, with take() for what each has. A length is
// not believed: takes end where the file does.
class Walk {
 public:
  Walk(ByteSource& bytes, uint64_t position, uint64_t file_bytes)
      : bytes_(bytes), position_(position), file_bytes_(file_bytes) {}

  // The next record; false at the end of the file. What is left of the one before is skipped.
  bool next(bool is_version2) {
    if (!bytes_.skip(left_).ok()) return false;
    position_ += left_;
    left_ = UINT64_MAX;  // its head belongs to no record
    uint8_t head[2] = {};
    if (!take({head, is_version2 ? size_t{2} : size_t{1}})) return false;
    // Version 2 has a class in front of the type, which is not looked at.
    type_ = head[is_version2 ? 1 : 0];
    uint32_t length = 0;
    if (is_version2 && !take_length(extension_)) return false;
    if (!take_length(length)) return false;
    left_ = length;
    return true;
  }

  uint8_t type() const { return type_; }
  // Of version 2: how many of the records that follow belong to this one.
  uint32_t extension() const { return extension_; }
  uint64_t position() const { return position_; }
  // Bytes of the record that are to come; as far as the file goes.
  uint64_t left() const { return left_; }
  uint64_t left_in_file() const {
    return std::min(left_, file_bytes_ - std::min(position_, file_bytes_));
  }

  // Whether the record has so many bytes more, which are taken then.
  bool take(std::span<uint8_t> into) {
    if (left_ < into.size() || !bytes_.read(into).ok()) return false;
    left_ -= into.size();
    position_ += into.size();
    return true;
  }

  // Of version 2, in 65536ths: a signed word, or `is_long`, two of which one is behind the point.
  bool take_position(bool is_long, int64_t& position) {
    uint8_t bytes[4] = {};
    if (!take(is_long ? std::span<uint8_t>(bytes) : std::span(bytes).subspan(2))) return false;
    position = static_cast<int32_t>(load_le32(bytes));
    return true;
  }

 private:
  // A byte; 0xFF: a word, and if its top bit is set another one, the lower.
  bool take_length(uint32_t& length) {
    uint8_t byte = 0, word[2];
    if (!take({&byte, 1})) return false;
    length = byte;
    if (byte != 0xFF) return true;
    if (!take(word)) return false;
    length = load_le16(word);
    if (length < 0x8000) return true;
    if (!take(word)) return false;
    length = (length & 0x7FFF) << 16 | load_le16(word);
    return true;
  }

  ByteSource& bytes_;
  uint64_t position_;
  uint64_t file_bytes_;
  uint64_t left_ = 0;  // of the record
  uint32_t extension_ = 0;
  uint8_t type_ = 0;
};

}  // namespace tavo::wpg
