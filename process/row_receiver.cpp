#include "process/row_receiver.h"

namespace tavo::process {

int32_t T_CALL RowReceiver::sink(BitmapHandle* source, const void* rows, int32_t count,
                                 void* context) {
  if (source == nullptr || rows == nullptr || count < 0 || context == nullptr) {
    return T_ERR_ARGUMENT;
  }
  return static_cast<RowReceiver*>(context)->take(*source, rows, count).code();
}

Status RowReceiver::take(const BitmapHandle&, const void*, int32_t) { return kBadArgument; }
std::span<uint8_t> RowReceiver::place(const BitmapHandle&) { return {}; }

}  // namespace tavo::process
