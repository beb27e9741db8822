// The platform layer for Windows.
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // the standard library may have said so
#define NOMINMAX
#endif
#include <windows.h>
#include <winioctl.h>

#include <cstring>
#include <cwchar>

#include "platform/allocation_gate.h"
#include "platform/platform.h"

namespace tavo::platform {

namespace {

constexpr int32_t kAccessWrite = 1;
constexpr int32_t kAccessReadWrite = 2;
constexpr int32_t kAccessCreate = 0x300;
constexpr int32_t kModeExclusive = 0x80;
constexpr int32_t kModeDenyWrite = 0x100;

HGLOBAL as_global(uintptr_t block) { return reinterpret_cast<HGLOBAL>(block); }
HFILE as_file(int32_t file) { return static_cast<HFILE>(file); }
HANDLE as_handle(intptr_t file) { return reinterpret_cast<HANDLE>(file); }

bool names_are_utf8 = false;

UINT code_page_of_names() {
  if (names_are_utf8) return CP_UTF8;
  return AreFileApisANSI() ? CP_ACP : CP_OEMCP;
}

// A file name as the system's own calls take it. One of MAX_PATH characters or more is made
// absolute and gets the prefix by which these calls know that it may be so long.
class WideName {
 public:
  explicit WideName(const char* name) {
    const UINT page = code_page_of_names();
    const int length = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, name, -1, nullptr, 0);
    if (length <= 0 || !reserve(static_cast<size_t>(length))) return;
    MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, name, -1, text_, length);
    if (length > kShort) lengthen();
  }
  ~WideName() { LocalFree(text_); }
  WideName(const WideName&) = delete;
  WideName& operator=(const WideName&) = delete;

  // Null when the bytes are no name, with the reason as the system's last error.
  const wchar_t* text() const { return text_; }

 private:
  // A folder's name must leave room for a short file name in it.
  static constexpr int kShort = MAX_PATH - 12;

  bool reserve(size_t characters) {
    text_ = static_cast<wchar_t*>(LocalAlloc(LMEM_FIXED, characters * sizeof(wchar_t)));
    return text_ != nullptr;
  }

  void lengthen() {
    if (std::wcsncmp(text_, L"\\\\?\\", 4) == 0) return;
    wchar_t* const given = text_;
    const DWORD room = GetFullPathNameW(given, 0, nullptr, nullptr);
    if (room != 0 && reserve(room + kPrefixRoom)) prefix_full_path(given, room);
    if (text_ != given) LocalFree(given);
  }

  static constexpr DWORD kPrefixRoom = 8;

  // \\server\share becomes \\?\UNC\server\share.
  void prefix_full_path(const wchar_t* given, DWORD room) {
    wchar_t* const full = text_ + kPrefixRoom;
    GetFullPathNameW(given, room, full, nullptr);
    const bool is_share = full[0] == L'\\' && full[1] == L'\\';
    const wchar_t* const prefix = is_share ? L"\\\\?\\UNC" : L"\\\\?\\";
    const size_t length = std::wcslen(prefix);
    std::wmemcpy(text_, prefix, length);
    const wchar_t* const rest = is_share ? full + 1 : full;
    std::wmemmove(text_ + length, rest, std::wcslen(rest) + 1);
  }

  wchar_t* text_ = nullptr;
};

bool is_empty(HANDLE file) {
  LARGE_INTEGER size;
  return GetFileSizeEx(file, &size) && size.QuadPart == 0;
}

// What OpenFile does not do: long names, names in UTF-8, and creating without cutting.
int32_t create_file(const char* name, int32_t access, int32_t mode) {
  DWORD wanted = GENERIC_READ;
  if ((access & kAccessReadWrite) != 0 || (access & kAccessCreate) != 0) {
    wanted = GENERIC_READ | GENERIC_WRITE;
  } else if ((access & kAccessWrite) != 0) {
    wanted = GENERIC_WRITE;
  }
  DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE;
  if ((mode & kModeExclusive) != 0) {
    share = 0;
  } else if ((mode & kModeDenyWrite) != 0) {
    share = FILE_SHARE_READ;
  }
  const bool keeps_content = (access & kAccessOnlyEmpty) != 0;
  const DWORD creation = keeps_content ? OPEN_ALWAYS : CREATE_ALWAYS;
  const DWORD disposition = (access & kAccessCreate) != 0 ? creation : OPEN_EXISTING;
  const WideName wide(name);
  if (wide.text() == nullptr) return -1;
  const HANDLE file =
      CreateFileW(wide.text(), wanted, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return -1;
  if (!keeps_content || is_empty(file)) {
    return static_cast<int32_t>(reinterpret_cast<intptr_t>(file));
  }
  CloseHandle(file);
  return -1;
}

}  // namespace

uintptr_t allocate_movable(size_t bytes) {
  if (!gate.admit(bytes)) return 0;
  const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_DDESHARE, bytes);
  if (block != nullptr) gate.block_taken(GlobalSize(block));
  return reinterpret_cast<uintptr_t>(block);
}

void* lock_block(uintptr_t block) { return GlobalLock(as_global(block)); }
int32_t unlock_block(uintptr_t block) { return GlobalUnlock(as_global(block)); }

int32_t free_block(uintptr_t block) {
  if (block == 0) return 0;
  gate.block_returned(GlobalSize(as_global(block)));
  return static_cast<int32_t>(reinterpret_cast<intptr_t>(GlobalFree(as_global(block))));
}

void hand_over(uintptr_t block) { gate.block_returned(GlobalSize(as_global(block))); }
void free_shared(uintptr_t block) { GlobalFree(as_global(block)); }
size_t shared_size(uintptr_t block) { return GlobalSize(as_global(block)); }

void clear_block(void* at, size_t bytes) { std::memset(at, 0, bytes); }
void discard(void*, size_t) {}

void* allocate_fixed(size_t bytes) {
  if (!gate.admit(bytes)) return nullptr;
  // The heap aligns to 8; vector code wants 16. What the heap gave is kept in front.
  constexpr size_t kAlignment = 16;
  if (bytes > SIZE_MAX - 2 * kAlignment) return nullptr;
  auto* base = static_cast<uint8_t*>(
      GlobalAlloc(GMEM_FIXED | GMEM_ZEROINIT | GMEM_DDESHARE, bytes + 2 * kAlignment));
  if (base == nullptr) return nullptr;
  gate.block_taken(GlobalSize(base));
  const uintptr_t aligned =
      (reinterpret_cast<uintptr_t>(base) + 2 * kAlignment - 1) & ~(kAlignment - 1);
  auto* block = reinterpret_cast<uint8_t*>(aligned);
  std::memcpy(block - sizeof(base), &base, sizeof(base));
  return block;
}

void free_fixed(void* block) {
  if (block == nullptr) return;
  uint8_t* base = nullptr;
  std::memcpy(&base, static_cast<uint8_t*>(block) - sizeof(base), sizeof(base));
  gate.block_returned(GlobalSize(base));
  GlobalFree(base);
}

int32_t last_error() { return static_cast<int32_t>(GetLastError()); }

Cause cause_of(int32_t error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_NETPATH:
      return Cause::kAbsent;
    case ERROR_ACCESS_DENIED:
      return Cause::kDenied;
    case ERROR_DIRECTORY:
      return Cause::kIsFolder;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return Cause::kInUse;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return Cause::kNoRoom;
    case ERROR_WRITE_PROTECT:
      return Cause::kReadOnly;
    case ERROR_FILENAME_EXCED_RANGE:
    case ERROR_BUFFER_OVERFLOW:
      return Cause::kNameTooLong;
    case ERROR_TOO_MANY_OPEN_FILES:
      return Cause::kTooManyFiles;
    case ERROR_IO_DEVICE:
    case ERROR_CRC:
    case ERROR_NOT_READY:
      return Cause::kDevice;
    default:
      return Cause::kOther;
  }
}

void take_names_as_utf8(bool on) { names_are_utf8 = on; }

int32_t T_CALL open_file(const char* name, int32_t access, int32_t mode) {
  if (name == nullptr) return -1;
  const bool is_classic = !names_are_utf8 && std::strlen(name) < OFS_MAXPATHNAME;
  if (!is_classic || (access & kAccessOnlyEmpty) != 0) return create_file(name, access, mode);
  UINT flags = OF_READ;
  if ((access & kAccessWrite) != 0) flags |= OF_WRITE;
  if ((access & kAccessReadWrite) != 0) flags |= OF_READWRITE;
  if ((access & kAccessCreate) != 0) flags |= OF_CREATE;
  if ((mode & kModeExclusive) != 0) {
    flags |= OF_SHARE_EXCLUSIVE;
  } else if ((mode & kModeDenyWrite) != 0) {
    flags |= OF_SHARE_DENY_WRITE;
  } else {
    flags |= OF_SHARE_DENY_NONE;
  }
  OFSTRUCT about = {};
  const HFILE file = OpenFile(name, &about, flags);
  if (file == HFILE_ERROR && GetLastError() != ERROR_FILE_NOT_FOUND) {
    // The full path of a short name may still be too long for the record.
    return create_file(name, access, mode);
  }
  return file;
}

uint32_t T_CALL read_file(int32_t file, void* buffer, uint32_t count) {
  return _lread(as_file(file), buffer, count);
}

uint32_t T_CALL write_file(int32_t file, const void* buffer, uint32_t count) {
  // _lwrite of no bytes cuts the file at its position.
  if (count == 0) return 0;
  return _lwrite(as_file(file), static_cast<LPCCH>(buffer), count);
}

int32_t T_CALL seek_file(int32_t file, int32_t offset, int32_t origin) {
  return _llseek(as_file(file), offset, origin);
}

int64_t seek_large_file(int32_t file, int64_t offset, int32_t origin) {
  const DWORD from = origin == 0 ? FILE_BEGIN : origin == 1 ? FILE_CURRENT : FILE_END;
  LARGE_INTEGER distance, position;
  distance.QuadPart = offset;
  // An HFILE is the handle itself.
  const auto handle = reinterpret_cast<HANDLE>(static_cast<intptr_t>(as_file(file)));
  return SetFilePointerEx(handle, distance, &position, from) ? position.QuadPart : -1;
}

int32_t T_CALL close_file(int32_t file) { return _lclose(as_file(file)); }

bool is_absent(const char* name) {
  const WideName wide(name);
  if (wide.text() == nullptr) return false;
  if (GetFileAttributesW(wide.text()) != INVALID_FILE_ATTRIBUTES) return false;
  const DWORD error = GetLastError();
  return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool make_temporary_name(char (&path)[kMaxPath]) {
  wchar_t directory[MAX_PATH + 1] = L"";
  wchar_t name[MAX_PATH] = L"";
  const DWORD length = GetTempPathW(MAX_PATH + 1, directory);
  if (length == 0 || length > MAX_PATH) directory[0] = 0;
  if (GetTempFileNameW(directory[0] == 0 ? L"." : directory, L"TV", 0, name) == 0) return false;
  // A name that the code page cannot write is of no use to the caller, nor to delete_temporary.
  const UINT page = code_page_of_names();
  BOOL is_changed = FALSE;
  const int written = WideCharToMultiByte(page, 0, name, -1, path, kMaxPath, nullptr,
                                          page == CP_UTF8 ? nullptr : &is_changed);
  if (written > 0 && !is_changed) return true;
  DeleteFileW(name);
  return false;
}

intptr_t open_temporary(const char* path) {
  const WideName wide(path);
  if (wide.text() == nullptr) return -1;
  const HANDLE file = CreateFileW(wide.text(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                  nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_TEMPORARY, nullptr);
  if (file == INVALID_HANDLE_VALUE) return -1;
  // Not every file system can; then the file is merely larger.
  DWORD ignored = 0;
  DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &ignored, nullptr);
  return reinterpret_cast<intptr_t>(file);
}

int64_t seek_temporary(intptr_t file, uint64_t position) {
  LARGE_INTEGER wanted;
  LARGE_INTEGER reached;
  wanted.QuadPart = static_cast<LONGLONG>(position);
  if (!SetFilePointerEx(as_handle(file), wanted, &reached, FILE_BEGIN)) return -1;
  return reached.QuadPart;
}

int64_t read_temporary(intptr_t file, void* buffer, uint32_t count) {
  DWORD got = 0;
  if (!ReadFile(as_handle(file), buffer, count, &got, nullptr)) return -1;
  return got;
}

int64_t write_temporary(intptr_t file, const void* buffer, uint32_t count) {
  DWORD put = 0;
  if (!WriteFile(as_handle(file), buffer, count, &put, nullptr)) return -1;
  return put;
}

bool empty_temporary(intptr_t file) {
  return seek_temporary(file, 0) == 0 && SetEndOfFile(as_handle(file)) != 0;
}

int32_t close_temporary(intptr_t file) { return CloseHandle(as_handle(file)) ? 0 : -1; }
int32_t delete_temporary(const char* path) {
  const WideName wide(path);
  return wide.text() != nullptr && DeleteFileW(wide.text()) ? 0 : -1;
}

const char* const kPhotoCdModule = "pcdlib.dll";

// The system shall not tell the user of a module for other processors (old ones are of 16 bits).
uintptr_t load_module(const char* name) {
  const UINT outer = SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const HMODULE module = LoadLibraryA(name);
  SetErrorMode(outer);
  return reinterpret_cast<uintptr_t>(module);
}

void* module_entry(uintptr_t module, const char* entry) {
  const FARPROC address = GetProcAddress(reinterpret_cast<HMODULE>(module), entry);
  void* result = nullptr;
  static_assert(sizeof result == sizeof address);
  std::memcpy(&result, &address, sizeof result);
  return result;
}

void unload_module(uintptr_t module) {
  if (module != 0) FreeLibrary(reinterpret_cast<HMODULE>(module));
}

uintptr_t create_palette(std::span<const T_PaletteEntry> entries) {
  if (entries.empty() || entries.size() > 256) return 0;
  struct {
    WORD version;
    WORD count;
    PALETTEENTRY entries[256];
  } description = {0x300, static_cast<WORD>(entries.size()), {}};
  for (size_t i = 0; i < entries.size(); ++i) {
    description.entries[i] = {entries[i].Red, entries[i].Green, entries[i].Blue, 0};
  }
  return reinterpret_cast<uintptr_t>(
      CreatePalette(reinterpret_cast<const LOGPALETTE*>(&description)));
}

uint32_t palette_entries(uintptr_t palette, uint32_t first, std::span<T_PaletteEntry> entries) {
  PALETTEENTRY found[256];
  const UINT wanted = entries.size() < 256 ? static_cast<UINT>(entries.size()) : 256;
  const UINT count = GetPaletteEntries(reinterpret_cast<HPALETTE>(palette), first, wanted, found);
  for (UINT i = 0; i < count && i < wanted; ++i) {
    entries[i] = {found[i].peBlue, found[i].peGreen, found[i].peRed, 0};
  }
  return count;
}

uint32_t palette_size(uintptr_t palette) {
  return GetPaletteEntries(reinterpret_cast<HPALETTE>(palette), 0, 0, nullptr);
}

int32_t delete_object(uintptr_t object) { return DeleteObject(reinterpret_cast<HGDIOBJ>(object)); }

ScreenSize screen_size() { return {GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)}; }

}  // namespace tavo::platform
