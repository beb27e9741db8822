// An open file that readers read; closed by its destructor.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "base/byte_source.h"
#include "base/settings.h"
#include "base/status.h"

namespace tavo::io {

// A file operation that fails ends the work on the file: the failure sticks, every later call
// answers with it, and failure() tells of it whoever passed it over. The end of the file is no
// failure, nor is a position that no file has: those say something about the data.
class InputFile {
 public:
  InputFile() = default;
  ~InputFile() { close(); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // kNoName for a null name, kOpenError when the Open operation refuses.
  Status open(const char* name);
  // Reads what somebody else has open, and closes.
  void borrow(int32_t handle);
  void close();

  // What the first operation that failed gave, kReadError, kSeekError or kTooLarge; else kOk.
  Status failure() const { return failure_; }

  // Takes over a failure met where the same file was read by other ways. Returns it.
  Status fail(Status status);

  // Exactly into.size() bytes, else kReadError.
  Status read(std::span<uint8_t> into);

  // One call of the Read operation: up to into.size() bytes, `got` says how many, 0 at the end.
  Status read_some(std::span<uint8_t> into, size_t& got);

  // As many bytes as there are, up to into.size().
  Status read_up_to(std::span<uint8_t> into, size_t& got);

  // Whether the operations in force can tell of a position: a file with one that they cannot is
  // kTooLarge when its size is asked, so that in all others this one is behind the end.
  bool reaches(uint64_t position) const;

  // From the start. kSeekError when the file cannot be moved there.
  Status seek(uint64_t position);

  // Of bad data that `bytes`, which reads this file, has come to: notes where they are, for
  // T_GetDamageOffset. Returns `why`.
  Status note_damage(Status why, const ByteSource& bytes);

  // Bytes in the file, UINT32_MAX for 4 GiB and more; the position is kept. kSeekError when it
  // cannot be told, kTooLarge.
  Status size(uint32_t& bytes);

  int32_t handle() const { return handle_; }

 private:
  Status seek_to(int64_t offset, int32_t origin, uint64_t& position);

  int32_t handle_ = -1;
  bool is_borrowed_ = false;
  Status failure_ = kOk;
};

// A part of a file as a ByteSource reads it: `size` bytes from where the file stands, so that what
// ends early does not go on in what follows.
class InputPart {
 public:
  InputPart(InputFile& file, uint64_t size) : file_(file), left_(size) {}

  Status read_some(std::span<uint8_t> into, size_t& got) {
    const auto part = static_cast<size_t>(std::min<uint64_t>(into.size(), left_));
    TRY(file_.read_some(into.first(part), got));
    left_ -= got;
    return kOk;
  }

 private:
  InputFile& file_;
  uint64_t left_;
};

}  // namespace tavo::io
