#include "base/byte_source.h"

#include <utility>

namespace tavo {

Status ByteSource::refill() {
  if (at_end_) return failure_;
  const size_t unread = static_cast<size_t>(end_ - next_);
  if (unread == buffer_.size()) return kNoMemory;
  if (unread != 0) std::memmove(buffer_.data(), next_, unread);
  next_ = buffer_.data();
  end_ = next_ + unread;

  size_t got = 0;
  failure_ = refill_(context_, buffer_.bytes().subspan(unread), got);
  if (!failure_.ok() || got == 0) at_end_ = true;
  if (failure_.ok()) end_ += got;
  return failure_;
}

Status ByteSource::look_ahead(size_t count) {
  if (window().size() >= count) return kOk;
  if (count > buffer_.size() && !at_end_) TRY(grow(count));
  while (window().size() < count && !at_end_) TRY(refill());
  return kOk;
}

Status ByteSource::grow(size_t size) {
  Buffer larger;
  TRY(larger.allocate(size));
  const size_t unread = static_cast<size_t>(end_ - next_);
  if (unread != 0) std::memcpy(larger.data(), next_, unread);
  buffer_ = std::move(larger);
  next_ = buffer_.data();
  end_ = next_ + unread;
  return kOk;
}

Status ByteSource::read_some(std::span<uint8_t> into, size_t& got) {
  got = 0;
  while (got < into.size()) {
    if (next_ == end_) {
      if (at_end_) return failure_;
      const std::span<uint8_t> rest = into.subspan(got);
      if (rest.size() >= buffer_.size()) {
        size_t part = 0;
        failure_ = refill_(context_, rest, part);
        if (!failure_.ok() || part == 0) {
          at_end_ = true;
          return failure_;
        }
        got += part;
        continue;
      }
      TRY(refill());
      if (next_ == end_) return kOk;
    }
    const size_t part = std::min(static_cast<size_t>(end_ - next_), into.size() - got);
    std::memcpy(into.data() + got, next_, part);
    next_ += part;
    got += part;
  }
  return kOk;
}

Status ByteSource::read(std::span<uint8_t> into) {
  size_t got = 0;
  TRY(read_some(into, got));
  return got == into.size() ? kOk : kReadError;
}

Status ByteSource::skip(uint64_t count) {
  while (count > 0) {
    if (next_ == end_) {
      TRY(refill());
      if (next_ == end_) return kReadError;
    }
    const uint64_t part = std::min<uint64_t>(static_cast<uint64_t>(end_ - next_), count);
    next_ += part;
    count -= part;
  }
  return kOk;
}

}  // namespace tavo
