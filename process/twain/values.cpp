#include "process/twain/values.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "base/endian.h"

namespace tavo::twain {

namespace {

constexpr uint64_t kFixedOne = 65536;

// Bytes that an item takes in a list; 0: more than a number.
size_t item_bytes(uint16_t type) {
  switch (static_cast<ItemType>(type)) {
    case ItemType::kInt8:
    case ItemType::kUint8:
      return 1;
    case ItemType::kInt16:
    case ItemType::kUint16:
    case ItemType::kBool:
      return 2;
    case ItemType::kInt32:
    case ItemType::kUint32:
    case ItemType::kFixed:
      return 4;
    default:
      return 0;
  }
}

std::optional<uint32_t> value_at(std::span<const uint8_t> bytes, uint64_t at, size_t size) {
  if (at + size > bytes.size()) return std::nullopt;
  uint32_t value = 0;
  std::memcpy(&value, bytes.data() + at, size);
  return value;
}

// TW_ENUMERATION: type, number of items, places of the current and the default one, items.
std::optional<uint32_t> enumerated(std::span<const uint8_t> bytes, size_t size) {
  constexpr size_t kItems = 14;
  if (bytes.size() < kItems) return std::nullopt;
  const uint32_t count = load_le32(bytes.data() + 2);
  const uint32_t current = load_le32(bytes.data() + 6);
  if (current >= count) return std::nullopt;
  return value_at(bytes, kItems + uint64_t{current} * size, size);
}

// Where the extension begins; the end when there is none. A leading dot makes a name.
size_t extension_at(std::string_view path) {
  const size_t separator = path.find_last_of("\\/:");
  const size_t name = separator == std::string_view::npos ? 0 : separator + 1;
  const size_t dot = path.rfind('.');
  return dot == std::string_view::npos || dot <= name ? path.size() : dot;
}

}  // namespace

Fixed fixed_from_thousandths(int32_t thousandths) {
  const int32_t whole = (thousandths >= 0 ? thousandths : thousandths - 999) / 1000;
  const int32_t rest = thousandths - whole * 1000;
  return {static_cast<int16_t>(whole), static_cast<uint16_t>((rest * 65536 + 500) / 1000)};
}

uint32_t item_of(Fixed value) {
  return static_cast<uint16_t>(value.whole) | uint32_t{value.fraction} << 16;
}

int32_t dots_per_inch(Fixed resolution, uint32_t units) {
  if (resolution.whole < 0 || units > kCentimeters) return 0;
  const uint64_t dots = static_cast<uint64_t>(resolution.whole) * kFixedOne + resolution.fraction;
  const uint64_t hundredths = dots * (units == kCentimeters ? 254 : 100);
  return static_cast<int32_t>((hundredths + 50 * kFixedOne) / (100 * kFixedOne));
}

std::optional<uint32_t> current_value(uint16_t container, std::span<const uint8_t> bytes) {
  if (bytes.size() < 2) return std::nullopt;
  const size_t size = item_bytes(load_le16(bytes.data()));
  if (size == 0) return std::nullopt;
  switch (container) {
    case kOneValue:
      return value_at(bytes, 2, size);
    case kEnumeration:
      return enumerated(bytes, size);
    case kRange:  // type, least, most, step, default and current value, 4 bytes each
      return value_at(bytes, 18, size);
    default:
      return std::nullopt;
  }
}

Status numbered_name(const char* name, int32_t page, std::span<char, 256> to) {
  char digits[12];
  char* end = digits;
  if (page > 1) end = std::to_chars(digits, digits + sizeof(digits), page).ptr;
  const std::string_view path(name);
  const std::string_view number(digits, static_cast<size_t>(end - digits));
  if (path.size() + number.size() >= to.size()) return kBadArgument;
  const size_t extension = extension_at(path);
  char* at = std::ranges::copy(path.substr(0, extension), to.data()).out;
  at = std::ranges::copy(number, at).out;
  at = std::ranges::copy(path.substr(extension), at).out;
  *at = 0;
  return kOk;
}

}  // namespace tavo::twain
