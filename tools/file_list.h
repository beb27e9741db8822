// The names that a batch is about, of which only the hashes are held: a list of a million takes
// 16 MB, and one may be read from a pipe.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "shard.h"
#include "temporary.h"

namespace tavo::tools {

struct ListOptions {
  std::string list;  // a file of names, "-": standard input
  std::string base;
  std::vector<std::string> folders;
  bool ends_in_zero = false;  // each name, not in a line feed

  bool is_given() const { return !list.empty() || !folders.empty(); }
};

struct ListedFile {
  uint64_t hash;   // of the name
  uint64_t place;  // of the name in the list
};

class FileList {
 public:
  // Reads the list, or looks through the folders, in which the folder `output` is left out.
  // UsageError for what is not there.
  FileList(const ListOptions& options, const std::string& output);

  // All different names, sorted by hash; the caller may drop and sort as it likes.
  std::vector<ListedFile>& files() { return files_; }
  uint64_t count() const { return count_; }
  uint64_t sum_of_hashes() const { return sum_; }

  std::string name_at(uint64_t place);
  // Of that name in files(), while these are sorted by hash; how many these are when it is not
  // there.
  size_t number_of(const std::string& name);
  // Where that file is.
  std::string path_of(uint64_t place, const std::string& name) const;
  const std::string& root_of(uint64_t place) const;
  // The absolute short names of the folders to which names are relative.
  std::vector<std::string> roots() const;

  // Every name of the list, those that come twice, too.
  void for_each(const std::function<void(uint64_t place, const std::string& name)>& visit);

 private:
  struct Root {
    uint64_t begin;  // place of the first name below it
    std::string folder;
  };

  void open(const ListOptions& options);
  void spool_stream(std::FILE* in);
  void spool_folder(std::ofstream& spool, const std::string& folder, const std::string& below,
                    const std::string& output);
  void spool_folders(const std::vector<std::string>& folders, const std::string& output);
  size_t count_lines();
  size_t place_of_hash(uint64_t hash) const;
  void gather();
  void drop_repeated();
  bool is_same(const ListedFile& a, const ListedFile& b);

  TemporaryFile spool_;
  std::ifstream names_;
  static constexpr uint64_t kNowhere = UINT64_MAX;
  uint64_t at_ = kNowhere;  // where name_at stopped reading
  char end_ = '\n';
  std::vector<Root> roots_;
  std::vector<ListedFile> files_;
  uint64_t count_ = 0;
  uint64_t sum_ = 0;
};

}  // namespace tavo::tools
