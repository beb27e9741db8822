#include "base/buffer.h"

#include "platform/platform.h"

namespace tavo {

Status Buffer::allocate(uint64_t size) {
  release();
  if (size == 0) return kOk;
  if (size > PTRDIFF_MAX) return kNoMemory;
  void* block = platform::allocate_fixed(static_cast<size_t>(size));
  if (block == nullptr) return kNoMemory;
  data_ = static_cast<uint8_t*>(block);
  size_ = static_cast<size_t>(size);
  return kOk;
}

Status Buffer::allocate_shrinking(uint64_t size, uint64_t step, uint64_t minimum) {
  while (!allocate(size).ok()) {
    if (size < step || size - step < minimum || size == step) return kNoMemory;
    size -= step;
  }
  return kOk;
}

void Buffer::release() {
  if (data_ != nullptr) platform::free_fixed(data_);
  data_ = nullptr;
  size_ = 0;
}

}  // namespace tavo
