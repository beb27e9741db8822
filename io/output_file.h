// A file that writers create or extend; closed by its destructor.
#pragma once

#include <cstdint>
#include <span>

#include "base/buffer.h"
#include "base/settings.h"
#include "base/status.h"

namespace tavo::io {

// What becomes of a file that is there.
enum class Target {
  kReplace,  // it is emptied
  kNew,      // there was none, or an empty one: one that has content by now is refused
  kExtend,   // it stays, and is written in place
};

// Small writes are gathered; the first failure sticks and every later call returns it. The file is
// open exclusively: whoever else opens it is refused until it is closed.
class OutputFile {
 public:
  OutputFile() = default;
  ~OutputFile() { close(); }
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Opens the file for reading and writing. kNoName, kNoMemory, kCreateError.
  Status open(const char* name, Target target);
  Status create(const char* name) { return open(name, Target::kReplace); }
  // The same for a file that is never read.
  Status create_write_only(const char* name);

  Status write(std::span<const uint8_t> bytes);
  Status write_zeros(uint64_t count);

  // Writes what is gathered and moves to `position` from the start.
  Status seek(uint64_t position);
  // Writes what is gathered and moves to the end; `position` gets where that is.
  Status seek_end(uint32_t& position);
  // Reads at the current position, after writing what is gathered; kReadError when short.
  Status read(std::span<uint8_t> into);
  Status read_at(uint64_t position, std::span<uint8_t> into);
  // Writes at `position` at once, by one operation (of up to a GiB).
  Status write_at(uint64_t position, std::span<const uint8_t> bytes);

  // Drops what is gathered and lets the file be used after a failure, to put back what was there.
  void forget_failure();

  int32_t handle() const { return handle_; }

  // Writes what is gathered and closes: the result of the whole file. kWriteError when closing
  // fails, since file systems tell of lost writes as late as that.
  Status finish();

 private:
  Status open_with(const char* name, int32_t access);
  Status flush();
  Status write_through(std::span<const uint8_t> bytes);
  bool close();

  int32_t handle_ = -1;
  Buffer buffer_;
  size_t gathered_ = 0;
  uint64_t position_ = 0;
  // A file that outgrows the positions that readers can ask for would take its pages along.
  uint64_t limit_ = UINT64_MAX;
  Status failure_ = kOk;
};

}  // namespace tavo::io
