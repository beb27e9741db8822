#include "codec/photocd_window.h"

#include <algorithm>
#include <cstring>

namespace tavo::photocd {

namespace {

// More than kMostBytes and what is kept together.
constexpr size_t kSize = 64 * 1024;
constexpr size_t kKept = 8 * 1024;  // of what lies on the other side of the way

}  // namespace

Status Window::start(const FileBytes& file) {
  file_ = &file;
  begin_ = end_ = 0;
  return bytes_.allocate(kSize);
}

Status Window::at(uint64_t position, size_t count, const uint8_t*& bytes) {
  if (position < begin_ || position + count > end_) TRY(move(position, count));
  bytes = bytes_.data() + (position - begin_);
  return kOk;
}

Status Window::move(uint64_t position, size_t count) {
  const bool is_backwards = position < begin_;
  const uint64_t before = is_backwards ? kSize - kKept - count : kKept;
  begin_ = position - std::min(position, std::min<uint64_t>(before, kSize - count));
  end_ = begin_;
  const uint64_t behind = file_->size - std::min(begin_, file_->size);
  const auto there = static_cast<size_t>(std::min<uint64_t>(kSize, behind));
  TRY(file_->read(begin_, bytes_.bytes().first(there)));
  std::memset(bytes_.data() + there, 0, kSize - there);
  end_ = begin_ + kSize;
  return kOk;
}

}  // namespace tavo::photocd
