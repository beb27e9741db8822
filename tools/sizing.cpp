#include "sizing.h"

#include <algorithm>

#include "failure.h"
#include "nearest_size.h"

namespace tavo::tools {
namespace {

bool shrinks(Extent from, Extent to) { return to.width < from.width || to.height < from.height; }

// Filters mix colors. Where a palette was chosen for its colors nobody asked for others; and a page
// in black and white becomes grey only where that keeps what whole pixels would lose.
uint32_t choose_method(const SizeRule& rule, int bits, bool is_ramp, Extent from, Extent to) {
  if (rule.method) return *rule.method;
  const bool mixes = bits > 8 || is_ramp || (bits == 1 && shrinks(from, to));
  if (!mixes || rule.is_for_one_bit) return T_SIZE_NEAREST;
  return shrinks(from, to) ? T_SIZE_LANCZOS : T_SIZE_CUBIC;
}

// Whether the palette is all greys of its depth from black to white.
bool has_gray_ramp(const BitmapHandle& record) {
  if (record.BitsPerPixel < 4 || record.BitsPerPixel > 8) return false;
  const uint32_t last = (1u << record.BitsPerPixel) - 1;
  for (uint32_t i = 0; i <= last; ++i) {
    const T_PaletteEntry& entry = record.Info.Palette[i];
    const uint32_t level = i * 255 / last;
    if (entry.Red != level || entry.Green != level || entry.Blue != level) return false;
  }
  return record.Colors == last + 1;
}

}  // namespace

const std::vector<std::string>& size_method_names() {
  static const std::vector<std::string> names = {"nearest", "box",      "triangle",
                                                 "cubic",   "mitchell", "lanczos"};
  return names;
}

void resize(BitmapHandle& record, Extent to, const SizeRule& rule, const std::string& where) {
  const Extent from = extent_of(record);
  if (to == from) return;
  const uint32_t method = choose_method(rule, record.BitsPerPixel, has_gray_ramp(record), from, to);
  if (method == T_SIZE_NEAREST) return size_by_nearest(record, to, where);
  check(T_SizeBitmapFine(&record, to.width, to.height, method), where);
}

std::optional<uint32_t> method_of_load(const SizeRule& rule, const FILEINFO& info, Extent to) {
  const bool is_told_by_palette = info.BitsPerPixel > 1 && info.BitsPerPixel <= 8;
  const bool is_ramp = info.BitsPerPixel == 8 && (info.Flags & T_FLAG_GRAY) != 0;
  if (is_told_by_palette && !is_ramp && !rule.method) return std::nullopt;
  const Extent from = extent_of(info);
  const uint32_t method = choose_method(rule, info.BitsPerPixel, is_ramp, from, to);
  if (method == T_SIZE_NEAREST || from == to) return std::nullopt;
  return method;
}

RowsRead load_sized(const Source& source, const FILEINFO& info, Extent to, uint32_t method,
                    BitmapHandle& record) {
  T_SetPageNumber(info.Page);
  const int32_t status = T_LoadBitmapFine(source.path().c_str(), &record, 0, -1, to.width,
                                          to.height, method | T_SIZE_DRAFT);
  T_SetPageNumber(1);
  return rows_of_load(status, info);
}

}  // namespace tavo::tools
