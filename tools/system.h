// What the command line asks of the operating system beyond the C library. Paths are UTF-8
// on Windows, and elsewhere bytes as the system hands them to main.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "signals.h"

namespace tavo::tools {

bool stderr_is_terminal();

// `path` made absolute, so that no length limit of a classic open call applies. Links stay.
std::string absolute_path(const std::string& path);

// Equal for two names of one file, as far as the names tell.
std::string file_identity(const std::string& path);

// Where writing to `path` would end up: absolute, with the symbolic links of its last name
// followed.
std::string resolve_links(const std::string& path);

enum class FileKind { kMissing, kRegular, kDirectory, kOther };
FileKind file_kind(const std::string& path);

// Whether an existing file may be written to. Renaming over it would not ask.
bool is_writable(const std::string& path);

// Why the last call failed, in the system's words, and what that is about.
std::string last_error_text();
int last_error_number();
enum class Reason { kOther, kAbsent, kNoRoom };
Reason last_error();
void forget_last_error();

// What is there of a stream, at least a byte; 0 at its end, and as soon as a signal was noted.
size_t read_unless_signalled(std::FILE* stream, char* bytes, size_t size);

// Lets a standard stream pass bytes as they are.
void make_binary(std::FILE* stream);

// From here on standard error goes nowhere.
void silence_stderr();

// What is known of a file without opening it; -1 for one that is not there.
struct FileStamp {
  FileKind kind = FileKind::kMissing;
  int64_t size = -1;
  int64_t mtime = -1;  // whole seconds since 1970
};
FileStamp stamp_of(const std::string& path);

// Whether the system's error is about how a file is to be called rather than about where it goes.
bool is_about_name(int error);
bool is_lack_of_memory(int error);

// ---- Names ----

// With "/" alone between folders, where the system has others.
std::string with_slashes(std::string path);
bool is_absolute_path(std::string_view path);

// ---- Folders ----

// The part of an absolute path in front of its last name.
std::string folder_of(const std::string& path);
std::string in_folder(const std::string& folder, const std::string& name);
std::string last_name_of(const std::string& path);
// Makes a folder and those above it. True when it is there already.
bool make_folder(const std::string& path);
// Waits until the names in a folder are on the disk.
bool sync_folder(const std::string& path);
// Calls `visit` for all in `folder` but what is neither file nor folder. A link to a file is one, a
// link to a folder is not. False when it cannot be read.
enum class EntryKind { kFile, kFolder };
bool list_folder(const std::string& folder,
                 const std::function<void(const std::string& name, EntryKind kind)>& visit);
// The names in `folder` that begin so; none when it cannot be read.
std::vector<std::string> names_in(const std::string& folder, std::string_view prefix);
// The folder for temporary files; empty when there is none.
std::string temporary_folder();

// ---- Processes ----

// From here on blocks of some size that are freed go back to the system at once, where the heap
// would keep them for the next ones: what the process holds is then what it uses.
void give_memory_back();

// Where a process identifier means something.
const std::string& host_name();
uint32_t process_id();
bool process_is_running(uint32_t process);

// ---- Files that others may want, too ----

enum class Made { kYes, kExists, kNo };
// An empty file that only its owner may read.
Made make_private_file(const std::string& path);

enum class Taken { kYes, kBusy, kNo };

// A turn that runs of this program take, as a file that is there while one of them has it.
class LockFile {
 public:
  LockFile() = default;
  ~LockFile() { drop(); }
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  Taken take(const std::string& path);
  void drop();
  bool is_taken() const { return file_ != kNone; }

 private:
  static constexpr intptr_t kNone = -1;
  intptr_t file_ = kNone;
  std::string path_;
  DoomedFile doomed_;
};

// Keeps who uses the library from writing a file, which may still be read.
class ReadLock {
 public:
  ReadLock() = default;
  ~ReadLock() { drop(); }
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

  Taken take(const std::string& path);
  void drop();

 private:
  static constexpr intptr_t kNone = -1;
  intptr_t file_ = kNone;
};

// A file that grows, line by line.
class GrowingFile {
 public:
  GrowingFile() = default;
  ~GrowingFile() { close(); }
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

  // Made if it is not there. Each false when the system refuses.
  bool open(const std::string& path);
  // All of it, or nothing stays.
  bool append(std::string_view bytes);
  bool cut(uint64_t size);
  bool sync();
  void close();

 private:
  static constexpr intptr_t kNone = -1;
  intptr_t file_ = kNone;
  uint64_t size_ = 0;
};

// Waits until the bytes of a file are on the disk.
bool sync_file(const std::string& path);

// Renames `from` to `to` in one step. When `to` exists it is replaced, and its permissions stay;
// else `from` gets those of a new file.
bool replace_file(const std::string& from, const std::string& to);

void remove_file(const std::string& path);

}  // namespace tavo::tools
