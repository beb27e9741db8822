#include "core/notice.h"

#include <cstdint>

namespace tavo::core {

namespace {

// Volatile, so that the text is in the module and the check reads it.
volatile char notice[] = "TAVO45 raster imaging library. Copyright (c) 2026 The TAVO45 authors.";

constexpr uint32_t fold(uint32_t sum, char c) {
  return (sum ^ static_cast<uint8_t>(c)) * 16777619u;  // FNV-1a
}

constexpr uint32_t sum_of(const char* text) {
  uint32_t sum = 2166136261u;
  for (; *text != 0; ++text) sum = fold(sum, *text);
  return sum;
}

constexpr uint32_t kSum =
    sum_of("TAVO45 raster imaging library. Copyright (c) 2026 The TAVO45 authors.");

}  // namespace

Status check_notice() {
  uint32_t sum = 2166136261u;
  for (const volatile char* c = notice; *c != 0; ++c) sum = fold(sum, *c);
  return sum == kSum ? kOk : kNoticeDamaged;
}

void break_notice(bool broken) { notice[0] = broken ? 't' : 'T'; }

}  // namespace tavo::core
