// The five file operations in force, and the ways they are redirected.
#pragma once

#include <cstdint>

#include "base/settings.h"
#include "base/status.h"
#include "tavo45.h"

namespace tavo::io {

// Installs the operations; a null one installs the platform's.
void redirect(T_FileOpen open, T_FileRead read, T_FileWrite write, T_FileSeek seek,
              T_FileClose close);

// Whether there is no file `name`, as far as can be told.
bool is_absent(const char* name);

// Whether the Seek operation in force is the platform's, which reaches any position.
bool seeks_large_files();

// Whether names are those of the system's files and reading gives what is in them.
bool reads_system_files();

// Seeks by the operation in force, with the whole position where that is the platform's.
// kSeekError, or kTooLarge where the result is a number that only a position beyond 2 GiB can have
// become.
Status seek(int32_t handle, int64_t offset, int32_t origin, uint64_t& position);

// Notes what the system said of the operation that has just failed, for T_GetError: of the default
// operations only, as others' failures need not be the system's.
void note_system_error();

// One call of the Write operation in force, as fewer bytes than asked are a failed write; the bytes
// written, 0 for an operation that claims more than it was given.
uint32_t write_once(int32_t handle, const void* bytes, uint32_t size);

// For its scope, the file operations read `size` bytes at `address`: opening any name gives a
// handle, writing pretends to succeed. What was in force before comes back at the end.
class MemoryFileScope {
 public:
  MemoryFileScope(const void* address, uint32_t size);
  ~MemoryFileScope();
  MemoryFileScope(const MemoryFileScope&) = delete;
  MemoryFileScope& operator=(const MemoryFileScope&) = delete;

 private:
  FileIOTable outer_;
  MemoryFileState outer_state_;
};

// For its scope, opening any name gives the picture of `length` bytes that begins at `base`
// inside the open file `handle`; closing leaves that file open. Stacks on the operations in force.
class SubFileScope {
 public:
  SubFileScope(int32_t handle, int32_t base, int32_t length);
  ~SubFileScope();
  SubFileScope(const SubFileScope&) = delete;
  SubFileScope& operator=(const SubFileScope&) = delete;

 private:
  FileIOTable outer_;
  SubFileState outer_state_;
};

// For its scope, the operations that were in force outside the SubFileScope that is: for what is
// called from there with rows, which may have files of its own.
class OuterFilesScope {
 public:
  OuterFilesScope();
  ~OuterFilesScope();
  OuterFilesScope(const OuterFilesScope&) = delete;
  OuterFilesScope& operator=(const OuterFilesScope&) = delete;

 private:
  FileIOTable inner_;
};

}  // namespace tavo::io
