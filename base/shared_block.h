// A block of memory that is made here and then belongs to somebody else.
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "base/status.h"
#include "platform/platform.h"

namespace tavo {

class SharedBlock {
 public:
  SharedBlock() = default;
  SharedBlock(const SharedBlock&) = delete;
  SharedBlock& operator=(const SharedBlock&) = delete;
  ~SharedBlock() {
    unlock();
    if (handle_ != 0) platform::free_block(handle_);
  }

  // Not zeroed.
  Status allocate(uint32_t size) {
    handle_ = platform::allocate_movable(size);
    if (handle_ == 0) return kNoMemory;
    at_ = static_cast<uint8_t*>(platform::lock_block(handle_));
    size_ = size;
    return at_ != nullptr ? kOk : kNoMemory;
  }

  std::span<uint8_t> bytes() { return {at_, size_}; }
  uint32_t size() const { return size_; }

  // The block, which is the caller's from now on, unlocked; platform::free_shared() frees it.
  uintptr_t hand_over() {
    unlock();
    platform::hand_over(handle_);
    return std::exchange(handle_, 0);
  }

 private:
  void unlock() {
    if (at_ != nullptr) platform::unlock_block(handle_);
    at_ = nullptr;
  }

  uintptr_t handle_ = 0;
  uint8_t* at_ = nullptr;
  uint32_t size_ = 0;
};

}  // namespace tavo
