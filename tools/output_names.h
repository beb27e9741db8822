// How files are called that are made of others.
#pragma once

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

// The inputs' last names in `folder`, renamed for the format. UsageError when two outputs have one
// name, when one is another input, or for standard input, which has no name.
std::vector<Job> jobs_in_folder(const std::vector<std::string>& inputs, const std::string& folder,
                                const T_Format& format);

}  // namespace tavo::tools
