#include "formats/wpg_text.h"

#include <algorithm>
#include <iterator>

#include "base/endian.h"

namespace tavo::wpg {

namespace {

// Codes: characters below 0x80, functions of one byte, of a length that they name, of fixed length.
constexpr uint8_t kFirstFunction = 0x80, kFirstVariable = 0xD0, kFirstFixed = 0xF0;
constexpr uint8_t kSoftSpace = 0x80, kHardSpace = 0x81, kHyphen = 0x84;
// The first ones end lines, columns and pages by will; from 0xCD on they stand where a line was
// full, and count as blanks.
constexpr uint8_t kFirstLineEnd = 0xB4, kFirstSoftLineEnd = 0xCD;
// The character group. Its other functions, 1A for the font among them, change nothing.
constexpr uint8_t kCharacterGroup = 0xD4, kColor = 0x18, kSize = 0x1B;
constexpr size_t kGroupHead = 4;  // code, subgroup, length of all from the code to its repetition
constexpr uint8_t kExtended = 0xF0, kAttributeOn = 0xF2, kAttributeOff = 0xF3;
// F0 to FF, the code at both ends included.
constexpr uint8_t kFixedLengths[] = {4, 5, 3, 3, 3, 3, 4, 4, 4, 5, 5, 6, 6, 8, 8, 1};
constexpr int64_t kSizesPerInch = 3600;  // sizes of fonts count in these, 50 to a point

// Letters of other languages that are one byte, 0x01 to 0x20.
constexpr uint8_t kShort[] = {0xE5, 0xC5, 0xE6, 0xC6, 0xE4, 0xC4, 0xE1, 0xE0, 0xE2, 0xE3, 0xC3,
                              0xE7, 0xC7, 0xEB, 0xE9, 0xC9, 0xE8, 0xEA, 0xED, 0xF1, 0xD1, 0xF8,
                              0xD8, 0xF5, 0xD5, 0xF6, 0xD6, 0xFC, 0xDC, 0xFA, 0xF9, 0xDF};

// Of character set 1, from sharp s on; 0: not in ISO 8859-1.
constexpr uint8_t kFirstLetter = 23;
constexpr uint8_t kLetters[] = {
    0xDF, 0,    'j',  0xC1, 0xE1, 0xC2, 0xE2, 0xC4, 0xE4, 0xC0, 0xE0, 0xC5, 0xE5, 0xC6,
    0xE6, 0xC7, 0xE7, 0xC9, 0xE9, 0xCA, 0xEA, 0xCB, 0xEB, 0xC8, 0xE8, 0xCD, 0xED, 0xCE,
    0xEE, 0xCF, 0xEF, 0xCC, 0xEC, 0xD1, 0xF1, 0xD3, 0xF3, 0xD4, 0xF4, 0xD6, 0xF6, 0xD2,
    0xF2, 0xDA, 0xFA, 0xDB, 0xFB, 0xDC, 0xFC, 0xD9, 0xF9, 0,    0xFF, 0xC3, 0xE3, 0,
    0,    0xD8, 0xF8, 0xD5, 0xF5, 0xDD, 0xFD, 0xD0, 0xF0, 0xDE, 0xFE};

uint8_t extended_character(uint8_t code, uint8_t set) {
  if (set == 0 && code >= ' ' && code < 0x7F) return code;
  const size_t at = size_t{code} - kFirstLetter;
  if (set != 1 || code < kFirstLetter || at >= std::size(kLetters)) return ' ';
  return std::max<uint8_t>(kLetters[at], ' ');
}

class Reader {
 public:
  Reader(std::span<const uint8_t> bytes, int64_t units_per_inch, TextStyle& style,
         List<uint8_t>& characters)
      : bytes_(bytes), units_per_inch_(units_per_inch), style_(style), characters_(characters) {}

  Status run() {
    while (!bytes_.empty()) {
      const uint8_t code = bytes_[0];
      const size_t length = length_of(code);
      // A text that is cut in a function ends before it.
      if (length == 0 || length > bytes_.size()) break;
      if (is_line_end(code)) {
        if (!characters_.empty()) break;
      } else {
        TRY(take(bytes_.first(length)));
      }
      bytes_ = bytes_.subspan(length);
    }
    return kOk;
  }

 private:
  static bool is_line_end(uint8_t code) {
    return code >= kFirstLineEnd && code < kFirstSoftLineEnd;
  }

  // Bytes of a code with all that belongs to it; 0 where they cannot be found.
  size_t length_of(uint8_t code) const {
    if (code < kFirstVariable) return 1;
    if (code >= kFirstFixed) return kFixedLengths[code - kFirstFixed];
    const size_t length = bytes_.size() < kGroupHead ? 0 : load_le16(&bytes_[2]);
    return length < kGroupHead ? 0 : length;
  }

  Status take(std::span<const uint8_t> function) {
    const uint8_t code = function[0];
    if (code == 0) return kOk;
    if (code <= std::size(kShort)) return characters_.push(kShort[code - 1]);
    if (code < kFirstFunction) return characters_.push(code);
    if (code == kSoftSpace || code == kHardSpace) return characters_.push(' ');
    if (code >= kFirstSoftLineEnd && code < kFirstVariable) return characters_.push(' ');
    if (code == kHyphen) return characters_.push('-');
    // The number in its character set, and the set.
    if (code == kExtended) return characters_.push(extended_character(function[1], function[2]));
    // Kept: one style for the line, that of its first letter.
    if (characters_.empty()) set_style(function);
    return kOk;
  }

  void set_style(std::span<const uint8_t> function) {
    const uint8_t code = function[0];
    if (code == kAttributeOn || code == kAttributeOff) {
      // Those that the font can show; 0 to 4 are sizes, 5 and 6 raise and lower.
      constexpr uint8_t kItalic = 8, kBold = 12, kStruckOut = 13, kUnderlined = 14;
      const bool is_on = code == kAttributeOn;
      if (function[1] == kItalic) style_.is_italic = is_on;
      if (function[1] == kBold) style_.is_bold = is_on;
      if (function[1] == kStruckOut) style_.is_struck_out = is_on;
      if (function[1] == kUnderlined) style_.is_underlined = is_on;
    }
    if (code == kCharacterGroup) take_character_function(function);
  }

  // Group, subgroup, length, flags; with a flag a count of packet numbers and these; the length of
  // what stays, and that.
  void take_character_function(std::span<const uint8_t> function) {
    constexpr uint8_t kHasPackets = 0x80;
    size_t at = 5;
    if (function.size() > at && (function[4] & kHasPackets) != 0) at += 1 + 2u * function[at];
    at += 2;
    if (function[1] == kColor && at + 3 <= function.size()) {
      style_.color = {function[at + 2], function[at + 1], function[at], 0};
    }
    if (function[1] == kSize && at + 2 <= function.size()) {
      style_.height = load_le16(&function[at]) * units_per_inch_ / kSizesPerInch;
    }
  }

  std::span<const uint8_t> bytes_;
  int64_t units_per_inch_;
  TextStyle& style_;
  List<uint8_t>& characters_;
};

}  // namespace

Status read_text(std::span<const uint8_t> document, int64_t units_per_inch, TextStyle& style,
                 List<uint8_t>& characters) {
  return Reader(document, units_per_inch, style, characters).run();
}

}  // namespace tavo::wpg
