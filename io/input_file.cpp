#include "io/input_file.h"

#include <algorithm>

#include "io/file_table.h"

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
  if (handle_ >= 0) return kOk;
  note_system_error();
  return kOpenError;
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
  if (count > wanted) {
    note_system_error();
    return fail(kReadError);
  }
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

bool InputFile::reaches(uint64_t position) const {
  return position <= (seeks_large_files() ? uint64_t{INT64_MAX} : uint64_t{INT32_MAX});
}

Status InputFile::seek(uint64_t position) {
  if (!reaches(position)) return kSeekError;
  uint64_t reached = 0;
  TRY(seek_to(static_cast<int64_t>(position), 0, reached));
  return reached == position ? kOk : fail(kSeekError);
}

Status InputFile::seek_to(int64_t offset, int32_t origin, uint64_t& position) {
  TRY(failure_);
  const Status status = io::seek(handle_, offset, origin, position);
  return status.ok() ? kOk : fail(status);
}

Status InputFile::note_damage(Status why, const ByteSource& bytes) {
  uint64_t here = 0;
  if (why == kBadData && settings.last_load.damage_at < 0 && seek_to(0, 1, here).ok()) {
    settings.last_load.damage_at = static_cast<int64_t>(here - bytes.window().size());
  }
  return why;
}

Status InputFile::size(uint32_t& bytes) {
  uint64_t here = 0;
  uint64_t end = 0;
  TRY(seek_to(0, 1, here));
  TRY(seek_to(0, 2, end));
  bytes = static_cast<uint32_t>(std::min<uint64_t>(end, UINT32_MAX));
  return seek(here);
}

}  // namespace tavo::io
