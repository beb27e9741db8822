#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <iterator>

#include "system.h"
#include "wide_win32.h"

namespace tavo::tools {
namespace {

constexpr char kSeparators[] = "\\/";

intptr_t from_handle(HANDLE file) { return reinterpret_cast<intptr_t>(file); }
HANDLE to_handle(intptr_t file) { return reinterpret_cast<HANDLE>(file); }

FileKind kind_of(DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kDirectory;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kOther : FileKind::kRegular;
}

}  // namespace

bool stderr_is_terminal() { return ::_isatty(2) != 0; }

std::string absolute_path(const std::string& path) {
  const std::wstring full = full_path(widen(path));
  return full.empty() ? path : narrow(full);
}

std::string file_identity(const std::string& path) {
  std::string name = absolute_path(path);
  for (char& c : name)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return name;
}

std::string resolve_links(const std::string& path) { return absolute_path(path); }

FileKind file_kind(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(wide_path(path).c_str());
  return attributes == INVALID_FILE_ATTRIBUTES ? FileKind::kMissing : kind_of(attributes);
}

bool is_writable(const std::string& path) {
  const DWORD attributes = ::GetFileAttributesW(wide_path(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) == 0;
}

Reason last_error() {
  switch (::GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return Reason::kAbsent;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
    case ERROR_FILE_TOO_LARGE:
      return Reason::kNoRoom;
    default:
      return Reason::kOther;
  }
}

void forget_last_error() { ::SetLastError(ERROR_SUCCESS); }

size_t read_unless_signalled(std::FILE* stream, char* bytes, size_t size) {
  const int got = ::_read(::_fileno(stream), bytes, static_cast<unsigned>(size));
  return noted_signal() == 0 && got > 0 ? static_cast<size_t>(got) : 0;
}

void silence_stderr() { std::freopen("NUL", "w", stderr); }

FileStamp stamp_of(const std::string& path) {
  // 100 nanoseconds since 1601.
  constexpr int64_t kTicks = 10000000;
  constexpr int64_t kSecondsTo1970 = 11644473600;
  WIN32_FILE_ATTRIBUTE_DATA about;
  if (::GetFileAttributesExW(wide_path(path).c_str(), GetFileExInfoStandard, &about) == 0)
    return {};
  const auto join = [](DWORD high, DWORD low) { return int64_t{high} << 32 | low; };
  return {kind_of(about.dwFileAttributes), join(about.nFileSizeHigh, about.nFileSizeLow),
          join(about.ftLastWriteTime.dwHighDateTime, about.ftLastWriteTime.dwLowDateTime) / kTicks -
              kSecondsTo1970};
}

bool is_about_name(int error) {
  return error == ERROR_INVALID_NAME || error == ERROR_FILENAME_EXCED_RANGE ||
         error == ERROR_DIRECTORY || error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS;
}

bool is_lack_of_memory(int error) {
  return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY;
}

std::string with_slashes(std::string path) {
  for (char& c : path)
    if (c == '\\') c = '/';
  return path;
}

bool is_absolute_path(std::string_view path) {
  return path.starts_with('/') || (path.size() > 1 && path[1] == ':');
}

void make_binary(std::FILE* stream) { ::_setmode(::_fileno(stream), _O_BINARY); }

int last_error_number() { return static_cast<int>(::GetLastError()); }

std::string last_error_text() {
  const DWORD error = ::GetLastError();
  wchar_t text[256];
  DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && (text[length - 1] == L' ' || text[length - 1] == L'.')) --length;
  return length > 0 ? narrow({text, length}) : "error " + std::to_string(error);
}

std::string folder_of(const std::string& path) {
  return path.substr(0, path.find_last_of(kSeparators));
}

std::string in_folder(const std::string& folder, const std::string& name) {
  return folder + "\\" + name;
}

std::string last_name_of(const std::string& path) {
  return path.substr(path.find_last_of("\\/:") + 1);
}

bool make_folder(const std::string& path) {
  const auto is_there = [&path] { return file_kind(path) == FileKind::kDirectory; };
  if (is_there() || ::CreateDirectoryW(wide_path(path).c_str(), nullptr) != 0) return true;
  const std::string above = folder_of(absolute_path(path));
  if (::GetLastError() != ERROR_PATH_NOT_FOUND || above == path || !make_folder(above)) {
    return is_there();
  }
  return ::CreateDirectoryW(wide_path(path).c_str(), nullptr) != 0 || is_there();
}

bool sync_folder(const std::string&) { return true; }

bool list_folder(const std::string& folder,
                 const std::function<void(const std::string& name, EntryKind kind)>& visit) {
  WIN32_FIND_DATAW entry;
  const HANDLE search = ::FindFirstFileW(wide_path(in_folder(folder, "*")).c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return false;
  do {
    const std::string name = narrow(entry.cFileName);
    if (name == "." || name == "..") continue;
    const bool is_folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const bool is_link = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (is_folder && is_link) continue;
    visit(name, is_folder ? EntryKind::kFolder : EntryKind::kFile);
  } while (::FindNextFileW(search, &entry) != 0);
  ::FindClose(search);
  return true;
}

std::vector<std::string> names_in(const std::string& folder, std::string_view prefix) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW entry;
  const std::string pattern = in_folder(folder, std::string(prefix) + "*");
  const HANDLE search = ::FindFirstFileW(wide_path(pattern).c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return names;
  do {
    names.push_back(narrow(entry.cFileName));
  } while (::FindNextFileW(search, &entry) != 0);
  ::FindClose(search);
  return names;
}

std::string temporary_folder() {
  wchar_t folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
  return length == 0 || length > MAX_PATH ? std::string() : folder_of(narrow(folder));
}

void give_memory_back() {}  // this heap does so by itself

const std::string& host_name() {
  static const std::string host = [] {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD length = MAX_COMPUTERNAME_LENGTH + 1;
    return ::GetComputerNameW(name, &length) != 0 ? narrow({name, length})
                                                  : std::string("localhost");
  }();
  return host;
}

uint32_t process_id() { return ::GetCurrentProcessId(); }

bool process_is_running(uint32_t process) {
  const HANDLE handle = ::OpenProcess(SYNCHRONIZE, FALSE, process);
  if (handle == nullptr) return ::GetLastError() != ERROR_INVALID_PARAMETER;
  const bool is_running = ::WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
  ::CloseHandle(handle);
  return is_running;
}

Made make_private_file(const std::string& path) {
  const HANDLE file = ::CreateFileW(wide_path(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE)
    return ::GetLastError() == ERROR_FILE_EXISTS ? Made::kExists : Made::kNo;
  ::CloseHandle(file);
  return Made::kYes;
}

Taken LockFile::take(const std::string& path) {
  drop();
  // The system removes it with its one handle, whatever ends the process.
  const HANDLE file =
      ::CreateFileW(wide_path(path).c_str(), GENERIC_READ | DELETE, 0, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file != INVALID_HANDLE_VALUE) {
    file_ = from_handle(file);
    return Taken::kYes;
  }
  // While it is being removed nobody may open it.
  const DWORD error = ::GetLastError();
  const bool is_busy = error == ERROR_SHARING_VIOLATION || error == ERROR_ACCESS_DENIED ||
                       error == ERROR_DELETE_PENDING;
  return is_busy ? Taken::kBusy : Taken::kNo;
}

void LockFile::drop() {
  if (file_ != kNone) ::CloseHandle(to_handle(file_));
  file_ = kNone;
}

Taken ReadLock::take(const std::string& path) {
  drop();
  const HANDLE file =
      ::CreateFileW(wide_path(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE)
    return ::GetLastError() == ERROR_SHARING_VIOLATION ? Taken::kBusy : Taken::kNo;
  file_ = from_handle(file);
  return Taken::kYes;
}

void ReadLock::drop() {
  if (file_ != kNone) ::CloseHandle(to_handle(file_));
  file_ = kNone;
}

bool GrowingFile::open(const std::string& path) {
  close();
  const HANDLE file = ::CreateFileW(wide_path(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  file_ = from_handle(file);
  LARGE_INTEGER end{};
  if (::SetFilePointerEx(file, {}, &end, FILE_END) == 0) return false;
  size_ = static_cast<uint64_t>(end.QuadPart);
  return true;
}

bool GrowingFile::append(std::string_view bytes) {
  DWORD done = 0;
  const auto size = static_cast<DWORD>(bytes.size());
  if (::WriteFile(to_handle(file_), bytes.data(), size, &done, nullptr) == 0 || done != size) {
    const DWORD reason = ::GetLastError();
    cut(size_);
    ::SetLastError(reason);
    return false;
  }
  size_ += bytes.size();
  return true;
}

bool GrowingFile::cut(uint64_t size) {
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(size);
  if (::SetFilePointerEx(to_handle(file_), end, nullptr, FILE_BEGIN) == 0) return false;
  if (::SetEndOfFile(to_handle(file_)) == 0) return false;
  size_ = size;
  return true;
}

bool GrowingFile::sync() { return ::FlushFileBuffers(to_handle(file_)) != 0; }

void GrowingFile::close() {
  if (file_ != kNone) ::CloseHandle(to_handle(file_));
  file_ = kNone;
}

bool sync_file(const std::string& path) {
  const HANDLE file = ::CreateFileW(wide_path(path).c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool is_stored = ::FlushFileBuffers(file) != 0;
  const DWORD reason = ::GetLastError();
  const bool is_closed = ::CloseHandle(file) != 0;
  if (!is_stored) ::SetLastError(reason);
  return is_stored && is_closed;
}

bool replace_file(const std::string& from, const std::string& to) {
  // ReplaceFile keeps the permissions of what it replaces; some file systems do not have it.
  if (file_kind(to) == FileKind::kRegular &&
      ::ReplaceFileW(wide_path(to).c_str(), wide_path(from).c_str(), nullptr, 0, nullptr,
                     nullptr) != 0)
    return true;
  return ::MoveFileExW(wide_path(from).c_str(), wide_path(to).c_str(),
                       MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED) != 0;
}

void remove_file(const std::string& path) { ::DeleteFileW(wide_path(path).c_str()); }

}  // namespace tavo::tools
