// A file that writers create or extend; closed by its destructor.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/settings.h"
#include "base/status.h"

namespace tavo::io {

// Small writes are gathered; the first failure sticks and every later call returns it.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile() { close(); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Creates or empties the file. kNoName, kNoMemory, kCreateError.
  Status create(const char* name);
  // The same for a file that is never read.
  Status create_write_only(const char* name);

  // Opens an existing file for reading and writing in place. kNoName, kNoMemory, kCreateError.
  Status open_existing(const char* name);

  Status write(std::span<const uint8_t> bytes);
  Status write_byte(uint8_t byte) { return write({&byte, 1}); }
  Status write_zeros(uint64_t count);

  // Writes what is gathered and moves to `position` from the start.
  Status seek(uint64_t position);
  // Writes what is gathered and moves to the end; `position` gets where that is.
  Status seek_end(uint32_t& position);
  // Reads at the current position, after writing what is gathered; kReadError when short.
  Status read(std::span<uint8_t> into);

  // Writes what is gathered and closes: the result of the whole file. kWriteError when closing
  // fails, since file systems tell of lost writes as late as that.
  Status finish();

 private:
  Status open(const char* name, int32_t access, int32_t mode);
  Status flush();
  Status write_through(std::span<const uint8_t> bytes);
  bool close();

  int32_t handle_ = -1;
  Buffer buffer_;
  size_t gathered_ = 0;
  Status failure_ = kOk;
};

}  // namespace tavo::io
