// Where coded bytes go: gathered in a buffer and handed over in pieces of its size.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo {

// A failed hand-over sticks: nothing is written after it, and its status comes back every time.
class ByteSink {
 public:
  using Write = Status (*)(void* context, std::span<const uint8_t> bytes);

  Status start(Write write, void* context, uint32_t buffer_bytes) {
    write_ = write;
    context_ = context;
    used_ = 0;
    failure_ = kOk;
    return buffer_.allocate(buffer_bytes);
  }

  Status append(std::span<const uint8_t> bytes) {
    while (!bytes.empty()) {
      if (used_ == buffer_.size()) TRY(flush());
      const size_t part = std::min(bytes.size(), buffer_.size() - used_);
      std::memcpy(buffer_.data() + used_, bytes.data(), part);
      used_ += part;
      bytes = bytes.subspan(part);
    }
    return failure_;
  }

  // Hands over what is gathered.
  Status flush() {
    if (failure_.ok() && used_ != 0) failure_ = write_(context_, buffer_.bytes().first(used_));
    used_ = 0;
    return failure_;
  }

 private:
  Write write_ = nullptr;
  void* context_ = nullptr;
  Buffer buffer_;
  size_t used_ = 0;
  Status failure_ = kOk;
};

}  // namespace tavo
