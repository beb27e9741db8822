#include "process/resize_sources.h"

namespace tavo::process {

bool ResizeSources::find(const ResizeRule& rule) {
  if (!pixels.allocate(static_cast<uint64_t>(rule.new_size)).ok()) return false;
  old_size = static_cast<uint32_t>(rule.old_size);
  shrinks = rule.shrinks();
  pattern_sources = 256;
  pattern = rule.total(pattern_sources);
  const auto new_size = static_cast<uint32_t>(rule.new_size);
  first = shrinks ? 0 : new_size - rule.reached;
  end = shrinks ? rule.reached : new_size;
  if (!shrinks) return find_enlarging(rule);
  find_shrinking(rule);
  return true;
}

// Shrinking, a pixel stays once or not at all.
void ResizeSources::find_shrinking(const ResizeRule& rule) {
  uint32_t position = 0;
  for (uint32_t i = 0; position < end; ++i) {
    if (rule.count(i) != 0) pixels[position++] = i;
  }
}

bool ResizeSources::find_enlarging(const ResizeRule& rule) {
  uint32_t position = end;
  for (uint32_t i = old_size; position > first;) {
    for (uint32_t n = rule.count(--i); n > 0 && position > first; --n) {
      if (i >= position) return false;
      pixels[--position] = i;
    }
  }
  return true;
}

}  // namespace tavo::process
