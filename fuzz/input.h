// The fuzzer's bytes as numbers and pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavo::fuzz {

using Bytes = std::vector<uint8_t>;

// Numbers from the front of the input, pixels from what is left, over and over.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool is_empty() const { return at_ >= size_; }
  uint32_t byte() { return at_ < size_ ? data_[at_++] : 0; }
  uint32_t word() {
    const uint32_t low = byte();
    return low | byte() << 8;
  }
  void fill(Bytes& bytes) const {
    const size_t left = size_ - at_;
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = left == 0 ? 0 : data_[at_ + i % left];
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t at_ = 0;
};

}  // namespace tavo::fuzz
