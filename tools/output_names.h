// How files are called that are made of others.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tavo45.h"

namespace tavo::tools {

// One file to read, one to write.
struct Job {
  std::string input;
  std::string output;
};

// "scan.jpg" as "scan.tif": the usual extension of the format in the place of the last one.
std::string renamed(const std::string& name, const T_Format& format);
std::string with_extension(const std::string& name, const std::string& extension);

// "scan" of "/a/b/scan.jpg"
std::string stem_of(const std::string& path);

// "scan.pcx" for page 3: "scan.page3.pcx".
std::string page_name(const std::string& path, int32_t page);

// What page_name made, taken apart; none for other names.
struct PageOfName {
  std::string first;  // page_name's path
  int32_t number = 0;
};
std::optional<PageOfName> page_of_name(const std::string& path);

// UsageError: that page of `first` and `other` would both be `output`.
[[noreturn]] void throw_page_collision(const std::string& first, int32_t page,
                                       const std::string& other, const std::string& output);

// The inputs' last names in `folder`, renamed for the format. UsageError when two outputs have one
// name, when one is another input, or for standard input, which has no name; with
// `pages_are_files` also when a page of an input has the name of another output.
std::vector<Job> jobs_in_folder(const std::vector<std::string>& inputs, const std::string& folder,
                                const T_Format& format, bool pages_are_files = false);

}  // namespace tavo::tools
