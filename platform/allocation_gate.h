// Bookkeeping of memory requests, the same for all back ends: the limit of what may be out,
// refusals on demand and counts.
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

  // `bytes`: what all blocks that are out may have together.
  void limit(uint64_t bytes) { allowed_ = bytes; }

  // Asked before each request; false means "say no".
  bool admit(size_t bytes) {
    if (bytes > allowed_ - (in_use_bytes_ < allowed_ ? in_use_bytes_ : allowed_)) {
      over_limit_ = in_use_bytes_ + bytes;
      return false;
    }
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
    in_use_bytes_ += bytes;
  }
  void block_returned(size_t bytes) {
    --in_use_;
    in_use_bytes_ -= bytes;
  }
  int64_t in_use() const { return in_use_; }
  // What the blocks would have had together, had the last request been granted that the limit
  // refused; 0 when none was.
  uint64_t over_limit() const { return over_limit_; }
  void forget_over_limit() { over_limit_ = 0; }
  uint64_t bytes_taken() const { return bytes_taken_; }

 private:
  int64_t countdown_ = -1;
  bool all_later_ = false;
  bool refused_ = false;
  int64_t in_use_ = 0;
  uint64_t bytes_taken_ = 0;
  uint64_t in_use_bytes_ = 0;
  uint64_t allowed_ = UINT64_MAX;
  uint64_t over_limit_ = 0;
};

// What every block goes through.
extern constinit AllocationGate gate;

}  // namespace tavo::platform
