#include <io.h>
#include <windows.h>

#include "system.h"

namespace tavo::tools {
namespace {

constexpr DWORD kMaxPath = 32768;

std::string create_in(const std::string& folder) {
  char name[MAX_PATH];
  return ::GetTempFileNameA(folder.c_str(), "TV", 0, name) != 0 ? std::string(name) : std::string();
}

}  // namespace

bool stderr_is_terminal() { return ::_isatty(2) != 0; }

std::string absolute_path(const std::string& path) {
  std::string full(kMaxPath, '\0');
  const DWORD length = ::GetFullPathNameA(path.c_str(), kMaxPath, full.data(), nullptr);
  if (length == 0 || length >= kMaxPath) return path;
  full.resize(length);
  return full;
}

std::string resolve_links(const std::string& path) { return absolute_path(path); }

FileKind file_kind(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kMissing;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kDirectory;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kOther : FileKind::kRegular;
}

bool is_writable(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) == 0;
}

std::string create_beside(const std::string& path) {
  return create_in(path.substr(0, path.find_last_of("\\/")));
}

std::string create_temporary() {
  char folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathA(sizeof folder, folder);
  return length == 0 || length >= sizeof folder ? std::string() : create_in(folder);
}

bool replace_file(const std::string& from, const std::string& to) {
  // ReplaceFile keeps the permissions of what it replaces; some file systems do not have it.
  if (file_kind(to) == FileKind::kRegular &&
      ::ReplaceFileA(to.c_str(), from.c_str(), nullptr, 0, nullptr, nullptr) != 0)
    return true;
  return ::MoveFileExA(from.c_str(), to.c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED) != 0;
}

bool copy_content(const std::string& from, const std::string& to) {
  return ::CopyFileA(from.c_str(), to.c_str(), FALSE) != 0;
}

void remove_file(const std::string& path) { ::DeleteFileA(path.c_str()); }

}  // namespace tavo::tools
