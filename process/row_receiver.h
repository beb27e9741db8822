// The library's own row sinks: they can say where their rows shall lie.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// Readers get sink() and context() as any caller's sink; RowDelivery knows a receiver by its sink.
class RowReceiver {
 public:
  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context);
  void* context() { return this; }

  // The next `count` rows, as `source` describes them. They may be those of place(), filled.
  // (Not pure: that would need the C++ runtime library.)
  virtual Status take(const BitmapHandle& source, const void* rows, int32_t count);

  // Memory for all rows that are still to come, one behind the other, so that readers decode into
  // place; empty when the receiver wants to be handed rows of the reader's. take() is told in
  // either case. What lies there is undefined where no rows arrive.
  virtual std::span<uint8_t> place(const BitmapHandle& source);

 protected:
  ~RowReceiver() = default;
};

}  // namespace tavo::process
