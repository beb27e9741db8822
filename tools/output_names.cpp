#include "output_names.h"

#include <map>
#include <string_view>

#include "failure.h"
#include "format_table.h"
#include "numbers.h"
#include "source.h"
#include "streams.h"
#include "system.h"

namespace tavo::tools {
namespace {

constexpr std::string_view kPageWord = ".page";

// Where the last extension begins, the end of the path if there is none: a leading dot makes a
// name, no extension.
size_t extension_at(const std::string& path) {
  const size_t name = path.size() - last_name_of(path).size();
  const size_t dot = path.rfind('.');
  return dot == std::string::npos || dot <= name ? path.size() : dot;
}

}  // namespace

std::string renamed(const std::string& name, const T_Format& format) {
  return with_extension(name, extensions_of(format).front());
}

std::string with_extension(const std::string& name, const std::string& extension) {
  return name.substr(0, extension_at(name)) + "." + extension;
}

std::string stem_of(const std::string& path) {
  return last_name_of(path.substr(0, extension_at(path)));
}

std::string page_name(const std::string& path, int32_t page) {
  const size_t at = extension_at(path);
  return path.substr(0, at) + std::string(kPageWord) + std::to_string(page) + path.substr(at);
}

std::optional<PageOfName> page_of_name(const std::string& path) {
  const size_t end = extension_at(path);
  const size_t at = path.rfind(kPageWord, end);
  if (at == std::string::npos || at + kPageWord.size() > end) return std::nullopt;
  const std::string digits = path.substr(at + kPageWord.size(), end - at - kPageWord.size());
  const auto number = read_whole(digits, {2, T_MAX_PAGES});
  const PageOfName page{path.substr(0, at) + path.substr(end), number.value_or(0)};
  if (!number || page_name(page.first, page.number) != path) return std::nullopt;
  return page;
}

void throw_page_collision(const std::string& first, int32_t page, const std::string& other,
                          const std::string& output) {
  throw UsageError{"page " + std::to_string(page) + " of " + first + " and " + other +
                   " would both be " + output};
}

namespace {

void check_pages(const std::vector<Job>& jobs, const std::map<std::string, std::string>& made) {
  for (const Job& job : jobs) {
    const auto page = page_of_name(file_identity(job.output));
    const auto first = page ? made.find(page->first) : made.end();
    if (first != made.end() && page->number <= count_pages(first->second))
      throw_page_collision(first->second, page->number, job.input, job.output);
  }
}

}  // namespace

std::vector<Job> jobs_in_folder(const std::vector<std::string>& inputs, const std::string& folder,
                                const T_Format& format, bool pages_are_files) {
  std::vector<Job> jobs;
  std::map<std::string, std::string> made;  // by the file that it is, the input
  for (const std::string& input : inputs) {
    if (input == kStandardStream)
      throw UsageError{"--out: standard input has no name; give it one with OUT"};
    const std::string output = in_folder(folder, renamed(last_name_of(input), format));
    const auto [other, is_new] = made.emplace(file_identity(output), input);
    if (!is_new)
      throw UsageError{"--out: " + other->second + " and " + input + " would both be " + output};
    jobs.push_back({input, output});
  }
  for (const std::string& input : inputs) {
    const auto other = made.find(file_identity(input));
    if (other != made.end() && other->second != input)
      throw UsageError{"--out: " + other->second + " would be written over " + input};
  }
  if (pages_are_files) check_pages(jobs, made);
  return jobs;
}

}  // namespace tavo::tools
