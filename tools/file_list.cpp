#include "file_list.h"

#include <algorithm>
#include <cstdio>
#include <span>

#include "failure.h"
#include "hash.h"
#include "listed_name.h"
#include "native_name.h"
#include "streams.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

std::string absolute_short_name(const std::string& path) {
  return short_name(with_slashes(absolute_path(path.empty() ? "." : path)));
}

}  // namespace

FileList::FileList(const ListOptions& options, const std::string& output) {
  if (!options.folders.empty()) {
    end_ = '\0';
    spool_folders(options.folders, absolute_short_name(output));
  } else {
    end_ = options.ends_in_zero ? '\0' : '\n';
    roots_.push_back({0, absolute_short_name(options.base)});
    open(options);
  }
  gather();
  drop_repeated();
}

// What cannot be read twice goes to a file of its own.
void FileList::open(const ListOptions& options) {
  const bool is_standard = options.list == kStandardStream;
  const FileKind kind = is_standard ? FileKind::kOther : file_kind(options.list);
  if (kind == FileKind::kDirectory) throw UsageError{"--list: " + options.list + " is a folder"};
  if (kind == FileKind::kRegular) {
    names_.open(native_name(options.list), std::ios::binary);
    if (!names_) throw UsageError{"--list: " + options.list + ": " + last_error_text()};
    return;
  }
  std::FILE* const in = is_standard ? stdin : open_stream(options.list, "rb");
  if (in == nullptr) throw UsageError{"--list: " + options.list + ": " + last_error_text()};
  spool_stream(in);
  if (!is_standard) std::fclose(in);
}

void FileList::spool_stream(std::FILE* in) {
  const std::string folder = temporary_folder();
  if (!spool_.create(folder)) throw_folder_failure(folder);
  std::ofstream spool(native_name(spool_.path()), std::ios::binary);
  std::vector<char> block(1 << 16);
  make_binary(in);
  while (const size_t got = read_unless_signalled(in, block.data(), block.size()))
    spool.write(block.data(), static_cast<std::streamsize>(got));
  check_signals();
  if (!spool.flush()) throw_folder_failure(folder);
  names_.open(native_name(spool_.path()), std::ios::binary);
}

void FileList::spool_folders(const std::vector<std::string>& folders, const std::string& output) {
  const std::string place = temporary_folder();
  if (!spool_.create(place)) throw_folder_failure(place);
  std::ofstream spool(native_name(spool_.path()), std::ios::binary);
  for (const std::string& given : folders) {
    const std::string folder = absolute_short_name(given);
    if (file_kind(folder) != FileKind::kDirectory)
      throw UsageError{given + " is no folder; names of files come with --list"};
    if (folder == output) throw UsageError{given + " is where the outputs go, and left out"};
    if (std::ranges::count(roots_, folder, &Root::folder) != 0) continue;
    roots_.push_back({static_cast<uint64_t>(spool.tellp()), folder});
    spool_folder(spool, folder, "", output);
  }
  if (!spool.flush()) throw_folder_failure(place);
  names_.open(native_name(spool_.path()), std::ios::binary);
}

void FileList::spool_folder(std::ofstream& spool, const std::string& folder,
                            const std::string& below, const std::string& output) {
  check_signals();
  if (folder == output) return;
  std::vector<std::string> inner;
  const bool is_read = list_folder(folder, [&](const std::string& name, EntryKind kind) {
    if (is_temporary_name(name)) return;
    if (kind == EntryKind::kFolder) inner.push_back(name);
    if (kind == EntryKind::kFile) spool << below << name << '\0';
  });
  if (!is_read) throw_system_failure(folder, "The folder cannot be read", T_ERR_OPEN);
  for (const std::string& name : inner)
    spool_folder(spool, folder + "/" + name, below + name + "/", output);
}

void FileList::for_each(const std::function<void(uint64_t place, const std::string& name)>& visit) {
  names_.clear();
  names_.seekg(0);
  at_ = kNowhere;
  uint64_t place = 0;
  for (std::string line; std::getline(names_, line, end_); place += line.size() + 1) {
    if (line.empty()) continue;
    if (noted_signal() != 0) check_signals();
    visit(place, name_below(root_of(place), line));
  }
}

std::string FileList::name_at(uint64_t place) {
  std::string line;
  if (at_ != place) {  // seeking drops what was read ahead
    names_.clear();
    names_.seekg(static_cast<std::streamoff>(place));
  }
  std::getline(names_, line, end_);
  at_ = place + line.size() + 1;
  return name_below(root_of(place), line);
}

// Of the first in files() whose hash is not below. Hashes are spread evenly: a number is guessed,
// and the guess mended, which touches less memory than halving.
size_t FileList::place_of_hash(uint64_t hash) const {
  constexpr size_t kNear = 32;
  const size_t count = files_.size();
  const double per_hash = static_cast<double>(count) / 0x1p64;
  double guess = static_cast<double>(hash) * per_hash;
  size_t at = 0;
  for (int i = 0; i < 3 && count > 0; ++i) {
    at = static_cast<size_t>(std::clamp(guess, 0.0, static_cast<double>(count - 1)));
    guess = static_cast<double>(at) +
            (static_cast<double>(hash) - static_cast<double>(files_[at].hash)) * per_hash;
  }
  size_t begin = at - std::min(at, kNear);
  size_t end = std::min(count, at + kNear);
  if (begin > 0 && files_[begin].hash >= hash) begin = 0;
  if (end < count && files_[end].hash < hash) end = count;
  const auto part = std::span(files_).subspan(begin, end - begin);
  const auto found = std::ranges::lower_bound(part, hash, {}, &ListedFile::hash);
  return begin + static_cast<size_t>(found - part.begin());
}

size_t FileList::number_of(const std::string& name) {
  const uint64_t hash = hash_of(name);
  const size_t first = place_of_hash(hash);
  const auto has_hash = [&](size_t i) { return i < files_.size() && files_[i].hash == hash; };
  const bool is_alone = !has_hash(first + 1);
  for (size_t i = first; has_hash(i); ++i)
    if (is_alone || name_at(files_[i].place) == name) return i;
  return files_.size();
}

const std::string& FileList::root_of(uint64_t place) const {
  const auto behind = std::ranges::upper_bound(roots_, place, {}, &Root::begin);
  return std::prev(behind)->folder;
}

std::vector<std::string> FileList::roots() const {
  std::vector<std::string> folders;
  for (const Root& root : roots_) folders.push_back(root.folder);
  return folders;
}

std::string FileList::path_of(uint64_t place, const std::string& name) const {
  const std::string& root = root_of(place);
  return root.ends_with('/') ? root + name : root + "/" + name;
}

size_t FileList::count_lines() {
  std::vector<char> block(1 << 16);
  size_t count = 1;  // the last one need not be ended
  names_.clear();
  names_.seekg(0);
  do {
    names_.read(block.data(), static_cast<std::streamsize>(block.size()));
    count += static_cast<size_t>(std::count(block.data(), block.data() + names_.gcount(), end_));
  } while (names_);
  return count;
}

void FileList::gather() {
  files_.reserve(count_lines());  // growing would take half as much again
  for_each([&](uint64_t place, const std::string& name) {
    files_.push_back({hash_of(name), place});
  });
}

bool FileList::is_same(const ListedFile& a, const ListedFile& b) {
  return &root_of(a.place) == &root_of(b.place) && name_at(a.place) == name_at(b.place);
}

// Of a name that comes twice the first one stays.
void FileList::drop_repeated() {
  std::ranges::sort(files_, [](const ListedFile& a, const ListedFile& b) {
    return a.hash != b.hash ? a.hash < b.hash : a.place < b.place;
  });
  size_t kept = 0;
  size_t first = 0;  // of those that are kept and have the hash in hand
  for (const ListedFile& file : files_) {
    if (kept > 0 && files_[kept - 1].hash != file.hash) first = kept;
    bool is_new = true;
    for (size_t i = first; i < kept && is_new; ++i) is_new = !is_same(files_[i], file);
    if (is_new) files_[kept++] = file;
  }
  files_.resize(kept);
  count_ = kept;
  for (const ListedFile& file : files_) sum_ += file.hash;
}

}  // namespace tavo::tools
