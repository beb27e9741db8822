#include "base/crc32.h"

#include <array>

#include "base/endian.h"
#include "base/variants.h"

namespace tavo {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320;  // bits in reverse: the register is shifted right
constexpr size_t kTables = 8;

// Table k: what a byte with k bytes behind it adds.
struct Tables {
  std::array<std::array<uint32_t, 256>, kTables> of;

  constexpr Tables() : of{} {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t value = i;
      for (int bit = 0; bit < 8; ++bit) value = value >> 1 ^ ((value & 1) != 0 ? kPolynomial : 0);
      of[0][i] = value;
    }
    for (size_t k = 1; k < kTables; ++k) {
      for (size_t i = 0; i < 256; ++i) of[k][i] = of[k - 1][i] >> 8 ^ of[0][of[k - 1][i] & 255];
    }
  }
};
constexpr Tables kTable;

constexpr Variants<Crc32Step> kSteps = {.any = crc32_by_tables, .avx2 = crc32_by_products};

}  // namespace

uint32_t crc32_by_tables(uint32_t state, std::span<const uint8_t> bytes) {
  const auto& t = kTable.of;
  const uint8_t* at = bytes.data();
  const uint8_t* const end = at + bytes.size();
  for (; end - at >= 8; at += 8) {
    const uint32_t low = load_le32(at) ^ state;
    const uint32_t high = load_le32(at + 4);
    state = t[7][low & 255] ^ t[6][low >> 8 & 255] ^ t[5][low >> 16 & 255] ^ t[4][low >> 24] ^
            t[3][high & 255] ^ t[2][high >> 8 & 255] ^ t[1][high >> 16 & 255] ^ t[0][high >> 24];
  }
  for (; at < end; ++at) state = state >> 8 ^ t[0][(state ^ *at) & 255];
  return state;
}

uint32_t crc32(uint32_t before, std::span<const uint8_t> bytes) {
  return ~kSteps.best()(~before, bytes);
}

}  // namespace tavo
