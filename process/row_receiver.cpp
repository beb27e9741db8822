#include "process/row_receiver.h"

namespace tavo::process {

int32_t T_CALL RowReceiver::sink(BitmapHandle* source, const void* rows, int32_t count,
                                 void* context) {
  if (source == nullptr || rows == nullptr || count < 0 || context == nullptr) {
    return T_ERR_ARGUMENT;
  }
  auto& receiver = *static_cast<RowReceiver*>(context);
  return receiver.take_(receiver, *source, rows, count).code();
}

}  // namespace tavo::process
