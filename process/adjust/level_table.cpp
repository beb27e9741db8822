#include "process/adjust/level_table.h"

#include <algorithm>

#include "base/variants.h"
#include "base/vector_sse2.h"

namespace tavo::process {

namespace {

using sse2::V;

template <class Curve>
bool follows(const LevelTable& table, const Curve& curve) {
  for (int32_t v = 0; v < 256; ++v) {
    if (table[static_cast<size_t>(v)] != std::clamp(curve(v), 0, 255)) return false;
  }
  return true;
}

// Returns how many bytes have been changed.
template <class Verb>
size_t change_vectors(uint8_t* bytes, size_t count, const Verb& verb) {
  size_t i = 0;
  for (; i + sizeof(V) <= count; i += sizeof(V)) {
    sse2::store(bytes + i, verb(sse2::load(bytes + i)));
  }
  return i;
}

}  // namespace

void map_levels_plain(const LevelTable& table, uint8_t* bytes, size_t count) {
  const uint8_t* const levels = table.data();
  for (size_t i = 0; i < count; ++i) bytes[i] = levels[bytes[i]];
}

void map_levels(const LevelTable& table, uint8_t* bytes, size_t count) {
  Variants<MapLevels>{.any = map_levels_plain, .avx2 = map_levels_avx2, .avx512 = map_levels_avx512}
      .best()(table, bytes, count);
}

LevelMap::LevelMap(const LevelTable& table) : table_(table) {
  const int32_t first = table.front(), last = table.back();
  if (follows(table, [](int32_t v) { return 255 - v; })) form_ = Form::kNegative;
  if (follows(table, [=](int32_t v) { return v + first; })) {
    form_ = Form::kLighter;
    shift_ = table.front();
  } else if (follows(table, [=](int32_t v) { return v + last - 255; })) {
    form_ = Form::kDarker;
    shift_ = static_cast<uint8_t>(255 - last);
  }
}

void LevelMap::apply(uint8_t* bytes, size_t count) const {
  size_t done = 0;
  const V shift = sse2::splat8(shift_);
  if (form_ == Form::kNegative) {
    done = change_vectors(bytes, count, [](V v) { return ~v; });
  } else if (form_ == Form::kLighter) {
    done = change_vectors(bytes, count, [=](V v) { return sse2::add8_clamped(v, shift); });
  } else if (form_ == Form::kDarker) {
    done = change_vectors(bytes, count, [=](V v) { return sse2::sub8_clamped(v, shift); });
  }
  map_levels(table_, bytes + done, count - done);
}

}  // namespace tavo::process
