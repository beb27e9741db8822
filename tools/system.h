// What the command line asks of the operating system beyond the C library. Paths are in the
// encoding that the library's file operations take: bytes as the system hands them to main.
#pragma once

#include <string>

namespace tavo::tools {

bool stderr_is_terminal();

// `path` made absolute, so that no length limit of a classic open call applies. Links stay.
std::string absolute_path(const std::string& path);

// Where writing to `path` would end up: absolute, with the symbolic links of its last name
// followed.
std::string resolve_links(const std::string& path);

enum class FileKind { kMissing, kRegular, kDirectory, kOther };
FileKind file_kind(const std::string& path);

// Whether an existing file may be written to. Renaming over it would not ask.
bool is_writable(const std::string& path);

// Makes an empty file with an unused name in the folder of `path`, or in the folder for temporary
// files; empty when that fails.
std::string create_beside(const std::string& path);
std::string create_temporary();

// Renames `from` to `to` in one step. When `to` exists it is replaced, and its permissions stay.
bool replace_file(const std::string& from, const std::string& to);

// Copies the bytes of `from` into `to`, which may be a pipe or a device.
bool copy_content(const std::string& from, const std::string& to);

void remove_file(const std::string& path);

}  // namespace tavo::tools
