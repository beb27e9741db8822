#include "io/input_file.h"

#include <algorithm>

namespace tavo::io {

namespace {

constexpr int32_t kOpenForReading = 0x8000;  // binary; the write and create bits are clear
constexpr int32_t kDenyWrite = 0x100;
constexpr size_t kLargestRead = size_t{1} << 30;

}  // namespace

Status InputFile::open(const char* name) {
  if (name == nullptr) return kNoName;
  close();
  failure_ = kOk;
  handle_ = settings.files.Open(name, kOpenForReading, kDenyWrite);
  return handle_ < 0 ? kOpenError : kOk;
}

void InputFile::borrow(int32_t handle) {
  close();
  failure_ = kOk;
  handle_ = handle;
  is_borrowed_ = true;
}

void InputFile::close() {
  if (handle_ >= 0 && !is_borrowed_) settings.files.Close(handle_);
  handle_ = -1;
  is_borrowed_ = false;
}

Status InputFile::fail(Status status) {
  if (failure_.ok()) failure_ = status;
  return failure_;
}

Status InputFile::read_some(std::span<uint8_t> into, size_t& got) {
  got = 0;
  TRY(failure_);
  const auto wanted = static_cast<uint32_t>(std::min(into.size(), kLargestRead));
  const uint32_t count = settings.files.Read(handle_, into.data(), wanted);
  // An operation that claims more than it was asked for is as bad as one that fails.
  if (count > wanted) return fail(kReadError);
  got = count;
  return kOk;
}

Status InputFile::read_up_to(std::span<uint8_t> into, size_t& got) {
  got = 0;
  while (got < into.size()) {
    size_t part = 0;
    TRY(read_some(into.subspan(got), part));
    if (part == 0) break;
    got += part;
  }
  return kOk;
}

Status InputFile::read(std::span<uint8_t> into) {
  size_t got = 0;
  TRY(read_up_to(into, got));
  return got == into.size() ? kOk : kReadError;
}

Status InputFile::seek(uint64_t position) {
  if (position > INT32_MAX) return kSeekError;
  const auto wanted = static_cast<int32_t>(position);
  int32_t reached = 0;
  TRY(seek_to(wanted, 0, reached));
  return reached == wanted ? kOk : fail(kSeekError);
}

Status InputFile::seek_to(int32_t offset, int32_t origin, int32_t& position) {
  TRY(failure_);
  position = settings.files.Seek(handle_, offset, origin);
  return position >= 0 ? kOk : fail(kSeekError);
}

Status InputFile::note_damage(Status why, const ByteSource& bytes) {
  int32_t here = 0;
  if (why == kBadData && settings.last_load.damage_at < 0 && seek_to(0, 1, here).ok()) {
    settings.last_load.damage_at = static_cast<uint32_t>(here) - bytes.window().size();
  }
  return why;
}

Status InputFile::size(uint32_t& bytes) {
  int32_t here = 0;
  int32_t end = 0;
  TRY(seek_to(0, 1, here));
  TRY(seek_to(0, 2, end));
  bytes = static_cast<uint32_t>(end);
  return seek(static_cast<uint32_t>(here));
}

}  // namespace tavo::io
