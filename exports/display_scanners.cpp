// Scanners.
#include "display/status.h"
#include "display/twain_acquire.h"
#include "exports/answer.h"
#include "exports/arguments.h"
#include "exports/shared.h"
#include "tavo45.h"

using namespace tavo;

namespace {

uint16_t& forgotten_condition() { return exports::shared.twain_condition = 0; }

constexpr T_TwainOptions default_options() {
  T_TwainOptions options = {};
  options.Size = sizeof(options);
  return options;
}

}  // namespace

int32_t T_CALL T_TwainSelect(T_Window window) {
  return exports::answer(twain::select(window, forgotten_condition()));
}

int32_t T_CALL T_TwainAcquire(T_Window window, BitmapHandle* bitmap) {
  uint16_t& condition = forgotten_condition();
  if (exports::missing(bitmap)) return exports::answer(kBadArgument);
  return exports::answer(twain::acquire_one(window, *bitmap, condition));
}

int32_t T_CALL T_TwainAcquireExt(T_Window window, const T_TwainOptions* options, T_TwainPage page,
                                 void* context) {
  static constexpr T_TwainOptions kDefaults = default_options();
  uint16_t& condition = forgotten_condition();
  if (exports::missing(page)) return exports::answer(kBadArgument);
  const auto deliver = [page, context](BitmapHandle& picture, int32_t number) {
    return Status{page(&picture, number, context)};
  };
  return exports::answer(
      twain::acquire(window, options != nullptr ? *options : kDefaults, deliver, condition));
}

int32_t T_CALL T_TwainCondition(void) { return exports::shared.twain_condition; }
