// The library's own row sinks: they can say where their rows shall lie.
#pragma once

#include <cstdint>
#include <span>

#include "base/status.h"
#include "tavo45.h"

namespace tavo::process {

// The base of a class with these two members, which passes `this` to the constructor. Readers get
// sink() and context() as any caller's sink; RowDelivery knows a receiver by its sink.
//
//   Status take(const BitmapHandle& source, const void* rows, int32_t count);
// The next `count` rows, as `source` describes them. They may be those of place(), filled.
//
//   std::span<uint8_t> place(const BitmapHandle& source);
// Memory for all rows that are still to come, one behind the other, so that readers decode into
// place; empty when the receiver wants to be handed rows of the reader's. take() is told in either
// case. What lies there is undefined where no rows arrive.
class RowReceiver {
 public:
  static int32_t T_CALL sink(BitmapHandle* source, const void* rows, int32_t count, void* context);
  void* context() { return this; }

  std::span<uint8_t> place(const BitmapHandle& source) { return place_(*this, source); }

 protected:
  // (Virtual functions would need a C++ runtime library.)
  template <class Receiver>
  explicit RowReceiver(Receiver*)
      : take_([](RowReceiver& self, const BitmapHandle& source, const void* rows, int32_t count) {
          return static_cast<Receiver&>(self).take(source, rows, count);
        }),
        place_([](RowReceiver& self, const BitmapHandle& source) {
          return static_cast<Receiver&>(self).place(source);
        }) {}
  ~RowReceiver() = default;

 private:
  Status (*take_)(RowReceiver&, const BitmapHandle&, const void* rows, int32_t count);
  std::span<uint8_t> (*place_)(RowReceiver&, const BitmapHandle&);
};

}  // namespace tavo::process
