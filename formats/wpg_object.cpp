#include "formats/wpg_object.h"

#include <algorithm>
#include <array>

#include "base/endian.h"

namespace tavo::wpg {

namespace {

// Flags: which fields follow them, from the highest flag down, and how the object is drawn.
constexpr uint32_t kTapered = 0x01, kMoved = 0x02, kSkewed = 0x04, kScaled = 0x08, kTurned = 0x10;
constexpr uint32_t kHasNumber = 0x20, kLocked = 0x80;
constexpr uint32_t kWinding = 0x1000, kFilled = 0x2000, kClosed = 0x4000, kFramed = 0x8000;

bool take_word(Walk& walk, uint32_t& value) {
  std::array<uint8_t, 2> bytes;
  if (!walk.take(bytes)) return false;
  value = load_le16(bytes.data());
  return true;
}

bool take_fixed(Walk& walk, int64_t& value) { return walk.take_position(true, value); }

bool take_pair(Walk& walk, int64_t& first, int64_t& second) {
  return take_fixed(walk, first) && take_fixed(walk, second);
}

// A number of 48 bits, of which the 16 behind the point come first.
bool take_distance(Walk& walk, int64_t& value) {
  uint32_t fraction = 0;
  int64_t whole = 0;
  if (!take_word(walk, fraction) || !take_fixed(walk, whole)) return false;
  value = whole * kOne + fraction;
  return true;
}

// A word, or if its top bit is set two, the higher one first.
bool take_number(Walk& walk) {
  uint32_t word = 0;
  if (!take_word(walk, word)) return false;
  return word < 0x8000 || take_word(walk, word);
}

}  // namespace

void Transformation::apply(Position& position) const {
  // Factors and positions have 32 bits: products fit 64.
  const auto sum = [&position](int64_t of_x, int64_t of_y, int64_t moved) {
    const int64_t value = (position.x * of_x >> 16) + (position.y * of_y >> 16) + moved;
    return std::clamp<int64_t>(value, -kFarthest, kFarthest);
  };
  position = {sum(x_of_x, x_of_y, x), sum(y_of_x, y_of_y, y)};
}

// The angle says nothing that the four numbers do not.
bool take_head(Walk& walk, ObjectHead& head) {
  uint32_t flags = 0;
  if (!take_word(walk, flags)) return false;
  head.is_winding = (flags & kWinding) != 0;
  head.is_filled = (flags & kFilled) != 0;
  head.is_closed = (flags & kClosed) != 0;
  head.is_framed = (flags & kFramed) != 0;
  Transformation& place = head.place;
  // In the file from the high flags down: lock (4 bytes), number, angle, factors, slants,
  // distances, and what objects are tapered by, which is not done.
  int64_t unused = 0, other = 0;
  if ((flags & kLocked) != 0 && !take_fixed(walk, unused)) return false;
  if ((flags & kHasNumber) != 0 && !take_number(walk)) return false;
  if ((flags & kTurned) != 0 && !take_fixed(walk, unused)) return false;
  const bool has_scales = (flags & (kTurned | kScaled)) != 0;
  if (has_scales && !take_pair(walk, place.x_of_x, place.y_of_y)) return false;
  const bool has_slants = (flags & (kTurned | kSkewed)) != 0;
  if (has_slants && !take_pair(walk, place.x_of_y, place.y_of_x)) return false;
  if ((flags & kMoved) != 0) {
    if (!take_distance(walk, place.x) || !take_distance(walk, place.y)) return false;
  }
  return (flags & kTapered) == 0 || take_pair(walk, unused, other);
}

}  // namespace tavo::wpg
