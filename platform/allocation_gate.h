// Bookkeeping of memory requests shared by both back ends: refusals on demand and a count of the
// blocks that are out.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavo::platform {

class AllocationGate {
 public:
  void refuse(int64_t n, bool all_later) {
    countdown_ = n;
    all_later_ = all_later;
    refused_ = false;
  }

  // Asked before each request; false means "say no".
  bool admit() {
    if (countdown_ < 0) return true;
    if (countdown_ > 0) {
      --countdown_;
      return true;
    }
    if (!all_later_) countdown_ = -1;
    refused_ = true;
    return false;
  }

  bool refused() const { return refused_; }
  void block_taken(size_t bytes) {
    ++in_use_;
    bytes_taken_ += bytes;
  }
  void block_returned() { --in_use_; }
  int64_t in_use() const { return in_use_; }
  uint64_t bytes_taken() const { return bytes_taken_; }

 private:
  int64_t countdown_ = -1;
  bool all_later_ = false;
  bool refused_ = false;
  int64_t in_use_ = 0;
  uint64_t bytes_taken_ = 0;
};

}  // namespace tavo::platform
