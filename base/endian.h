// Integers as files store them. Unaligned access everywhere; each function is one instruction
// (or a load and a byte swap) on the processors we build for.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>

namespace tavo {

static_assert(std::endian::native == std::endian::little, "the loads below assume it");

template <class T>
inline T load_native(const uint8_t* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof(T));
  return value;
}

template <class T>
inline void store_native(uint8_t* bytes, T value) {
  std::memcpy(bytes, &value, sizeof(T));
}

inline uint16_t load_le16(const uint8_t* bytes) { return load_native<uint16_t>(bytes); }
inline uint32_t load_le32(const uint8_t* bytes) { return load_native<uint32_t>(bytes); }
inline uint64_t load_le64(const uint8_t* bytes) { return load_native<uint64_t>(bytes); }
inline uint16_t load_be16(const uint8_t* bytes) {
  return __builtin_bswap16(load_native<uint16_t>(bytes));
}
inline uint32_t load_be32(const uint8_t* bytes) {
  return __builtin_bswap32(load_native<uint32_t>(bytes));
}
inline uint64_t load_be64(const uint8_t* bytes) {
  return __builtin_bswap64(load_native<uint64_t>(bytes));
}

inline void store_le16(uint8_t* bytes, uint16_t value) { store_native(bytes, value); }
inline void store_le32(uint8_t* bytes, uint32_t value) { store_native(bytes, value); }
inline void store_le64(uint8_t* bytes, uint64_t value) { store_native(bytes, value); }
inline void store_be16(uint8_t* bytes, uint16_t value) {
  store_native(bytes, __builtin_bswap16(value));
}
inline void store_be32(uint8_t* bytes, uint32_t value) {
  store_native(bytes, __builtin_bswap32(value));
}
inline void store_be64(uint8_t* bytes, uint64_t value) {
  store_native(bytes, __builtin_bswap64(value));
}

// By the size of an unsigned T.
template <class T>
inline T load_be(const uint8_t* bytes) {
  if constexpr (sizeof(T) == 8) return load_be64(bytes);
  return static_cast<T>(load_be32(bytes));
}
template <class T>
inline void store_be(uint8_t* bytes, T value) {
  if constexpr (sizeof(T) == 8) {
    store_be64(bytes, value);
  } else {
    store_be32(bytes, value);
  }
}

// The bits of each byte in reverse, as TIFF's FillOrder 2 and some fax boards have them.
inline uint64_t mirror_bits(uint64_t v) {
  v = (v >> 1 & 0x5555555555555555u) | (v & 0x5555555555555555u) << 1;
  v = (v >> 2 & 0x3333333333333333u) | (v & 0x3333333333333333u) << 2;
  return (v >> 4 & 0x0F0F0F0F0F0F0F0Fu) | (v & 0x0F0F0F0F0F0F0F0Fu) << 4;
}
inline void mirror_bits(std::span<uint8_t> bytes) {
  for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(mirror_bits(uint64_t{byte}));
}

}  // namespace tavo
