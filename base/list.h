// An array that grows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

#include "base/buffer.h"
#include "base/status.h"

namespace tavo {

// Memory that was had is kept when the list is cleared, so that a list that is filled again and
// again takes none.
template <class T>
class List {
 public:
  Status push(const T& item) {
    if (count_ == room_.size()) TRY(grow(count_ + 1));
    room_[count_++] = item;
    return kOk;
  }
  // `count` items more, undefined ones.
  Status extend(size_t count) {
    if (count > room_.size() - count_) TRY(grow(uint64_t{count_} + count));
    count_ += count;
    return kOk;
  }
  Status assign(std::span<const T> items) {
    clear();
    TRY(extend(items.size()));
    std::ranges::copy(items, room_.data());
    return kOk;
  }
  void clear() { count_ = 0; }
  void shrink(size_t count) { count_ = count; }

  size_t size() const { return count_; }
  bool empty() const { return count_ == 0; }
  T& operator[](size_t i) { return room_[i]; }
  const T& operator[](size_t i) const { return room_[i]; }
  T& back() { return room_[count_ - 1]; }
  std::span<T> items() { return room_.items().first(count_); }
  std::span<const T> items() const { return room_.items().first(count_); }

  void swap(List& other) {
    std::swap(room_, other.room_);
    std::swap(count_, other.count_);
  }

 private:
  Status grow(uint64_t needed) {
    Array<T> larger;
    TRY(larger.allocate(std::max<uint64_t>(needed, std::max<uint64_t>(16, count_ + count_ / 2))));
    std::ranges::copy(items(), larger.data());
    std::swap(room_, larger);
    return kOk;
  }

  Array<T> room_;
  size_t count_ = 0;
};

}  // namespace tavo
