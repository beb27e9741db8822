// Bytes through a table of 256.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tavo::process {

using LevelTable = std::array<uint8_t, 256>;

// Replaces each byte by the table's, in place.
void map_levels(const LevelTable& table, uint8_t* bytes, size_t count);

using MapLevels = void (*)(const LevelTable& table, uint8_t* bytes, size_t count);
void map_levels_plain(const LevelTable& table, uint8_t* bytes, size_t count);
void map_levels_avx2(const LevelTable& table, uint8_t* bytes, size_t count);
void map_levels_avx512(const LevelTable& table, uint8_t* bytes, size_t count);

// Finds out whether the table is a straight line that vectors compute faster than they look up.
class LevelMap {
 public:
  explicit LevelMap(const LevelTable& table);

  // As map_levels.
  void apply(uint8_t* bytes, size_t count) const;

 private:
  enum class Form { kTable, kNegative, kLighter, kDarker };

  const LevelTable& table_;
  Form form_ = Form::kTable;
  uint8_t shift_ = 0;  // of what is lighter or darker
};

}  // namespace tavo::process
