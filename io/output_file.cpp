#include "io/output_file.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "io/file_table.h"

namespace tavo::io {

namespace {

constexpr int32_t kReadWrite = 0x8002;  // binary
constexpr int32_t kCreate = kReadWrite | 0x300;
constexpr int32_t kCreateWriteOnly = 0x8301;
constexpr int32_t kExclusive = 128;
constexpr size_t kBufferSize = 32768;
constexpr size_t kLargestWrite = size_t{1} << 30;

}  // namespace

Status OutputFile::open_with(const char* name, int32_t access) {
  if (name == nullptr) return kNoName;
  close();
  forget_failure();
  position_ = 0;
  limit_ = UINT64_MAX;
  TRY(buffer_.allocate_shrinking(kBufferSize, 1024, 1024));
  handle_ = settings.files.Open(name, access, kExclusive);
  if (handle_ >= 0) return kOk;
  note_system_error();
  return kCreateError;
}

Status OutputFile::open(const char* name, Target target) {
  const int32_t access = target == Target::kExtend ? kReadWrite
                         : target == Target::kNew  ? kCreate | platform::kAccessOnlyEmpty
                                                   : kCreate;
  TRY(open_with(name, access));
  if (target == Target::kExtend) limit_ = INT32_MAX;
  return kOk;
}

Status OutputFile::create_write_only(const char* name) { return open_with(name, kCreateWriteOnly); }

bool OutputFile::close() {
  const int32_t answer = handle_ >= 0 ? settings.files.Close(handle_) : 0;
  handle_ = -1;
  return answer >= 0;
}

Status OutputFile::write_through(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const auto wanted = static_cast<uint32_t>(std::min(bytes.size(), kLargestWrite));
    if (wanted > limit_ - position_) return failure_ = kWriteError;
    if (write_once(handle_, bytes.data(), wanted) != wanted) {
      note_system_error();
      return failure_ = kWriteError;
    }
    position_ += wanted;
    bytes = bytes.subspan(wanted);
  }
  return kOk;
}

Status OutputFile::flush() {
  TRY(failure_);
  const size_t count = gathered_;
  gathered_ = 0;
  return write_through(buffer_.bytes().first(count));
}

Status OutputFile::write(std::span<const uint8_t> bytes) {
  TRY(failure_);
  if (bytes.size() > buffer_.size() - gathered_) {
    TRY(flush());
    if (bytes.size() >= buffer_.size()) return write_through(bytes);
  }
  if (!bytes.empty()) std::memcpy(buffer_.data() + gathered_, bytes.data(), bytes.size());
  gathered_ += bytes.size();
  return kOk;
}

Status OutputFile::write_zeros(uint64_t count) {
  constexpr std::array<uint8_t, 256> kZeros = {};
  while (count > 0) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(count, kZeros.size()));
    TRY(write({kZeros.data(), part}));
    count -= part;
  }
  return kOk;
}

Status OutputFile::seek(uint64_t position) {
  TRY(flush());
  if (position > INT32_MAX) return failure_ = kSeekError;
  const auto wanted = static_cast<int32_t>(position);
  if (settings.files.Seek(handle_, wanted, 0) != wanted) return failure_ = kSeekError;
  position_ = position;
  return kOk;
}

Status OutputFile::seek_end(uint32_t& position) {
  TRY(flush());
  const int32_t end = settings.files.Seek(handle_, 0, 2);
  if (end < 0) return failure_ = kSeekError;
  position_ = position = static_cast<uint32_t>(end);
  return kOk;
}

Status OutputFile::write_at(uint64_t position, std::span<const uint8_t> bytes) {
  TRY(seek(position));
  return write_through(bytes);
}

Status OutputFile::read_at(uint64_t position, std::span<uint8_t> into) {
  TRY(seek(position));
  return read(into);
}

void OutputFile::forget_failure() {
  failure_ = kOk;
  gathered_ = 0;
}

Status OutputFile::read(std::span<uint8_t> into) {
  TRY(flush());
  while (!into.empty()) {
    const auto wanted = static_cast<uint32_t>(std::min(into.size(), kLargestWrite));
    const uint32_t got = settings.files.Read(handle_, into.data(), wanted);
    if (got == 0 || got > wanted) return failure_ = kReadError;
    position_ += got;
    into = into.subspan(got);
  }
  return kOk;
}

Status OutputFile::finish() {
  const Status status = flush();
  const bool is_closed = close();
  if (!status.ok() || is_closed) return status;
  note_system_error();
  return failure_ = kWriteError;
}

}  // namespace tavo::io
