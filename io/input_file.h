// An open file that readers read; closed by its destructor.
#pragma once

#include <cstdint>
#include <span>

#include "base/settings.h"
#include "base/status.h"

namespace tavo::io {

class InputFile {
 public:
  InputFile() = default;
  ~InputFile() { close(); }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // kNoName for a null name, kOpenError when the Open operation refuses.
  Status open(const char* name);
  void close();

  // Exactly into.size() bytes, else kReadError.
  Status read(std::span<uint8_t> into);

  // One call of the Read operation: up to into.size() bytes, `got` says how many, 0 at the end.
  Status read_some(std::span<uint8_t> into, size_t& got);

  // As many bytes as there are, up to into.size().
  Status read_up_to(std::span<uint8_t> into, size_t& got);

  // From the start. kSeekError when the file cannot be moved there (2 GiB is the limit).
  Status seek(uint64_t position);

  // Bytes in the file; the position is kept. kSeekError when it cannot be told.
  Status size(uint32_t& bytes);

  int32_t handle() const { return handle_; }

 private:
  int32_t handle_ = -1;
};

}  // namespace tavo::io
