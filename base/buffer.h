// Work memory: blocks from the platform's allocator, released by their owner's destructor.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <type_traits>
#include <utility>

#include "base/status.h"

namespace tavo {

// A zero-filled block of bytes. Memory is never taken from operator new: the platform layer can
// refuse, and a refusal is a status.
class Buffer {
 public:
  Buffer() = default;
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;
  Buffer(Buffer&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  Buffer& operator=(Buffer&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Buffer() { release(); }

  // Frees what it holds, then takes `size` zeroed bytes (0 is legal and takes nothing). The size
  // is 64-bit so that callers need no check of their own before the 32-bit build narrows it.
  Status allocate(uint64_t size);

  // Tries `size`, then `step` bytes less each time while at least `minimum` remain.
  Status allocate_shrinking(uint64_t size, uint64_t step, uint64_t minimum);

  void release();

  uint8_t* data() { return data_; }
  const uint8_t* data() const { return data_; }
  size_t size() const { return size_; }
  std::span<uint8_t> bytes() { return {data_, size_}; }
  std::span<const uint8_t> bytes() const { return {data_, size_}; }

 private:
  uint8_t* data_ = nullptr;
  size_t size_ = 0;
};

// A zero-filled array of `T`, which must be valid when all its bytes are zero.
template <class T>
class Array {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  Status allocate(uint64_t count) {
    if (count > UINT64_MAX / sizeof(T)) return kNoMemory;
    return buffer_.allocate(count * sizeof(T));
  }
  void release() { buffer_.release(); }

  T* data() { return reinterpret_cast<T*>(buffer_.data()); }
  const T* data() const { return reinterpret_cast<const T*>(buffer_.data()); }
  size_t size() const { return buffer_.size() / sizeof(T); }
  T& operator[](size_t i) { return data()[i]; }
  const T& operator[](size_t i) const { return data()[i]; }
  std::span<T> items() { return {data(), size()}; }
  std::span<const T> items() const { return {data(), size()}; }

 private:
  Buffer buffer_;
};

}  // namespace tavo
