#include "option_checks.h"

#include <algorithm>
#include <charconv>

#include "suggest.h"

namespace tavo::tools {

CLI::Validator value_check(std::function<std::string(const std::string&)> fault) {
  return CLI::Validator([fault = std::move(fault)](std::string& text) { return fault(text); }, "");
}

CLI::Validator whole_number(int from, int to) {
  return value_check([from, to](const std::string& text) -> std::string {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, number);
    if (read.ec == std::errc() && read.ptr == end && number >= from && number <= to) return {};
    return "\"" + text + "\" is no whole number from " + std::to_string(from) + " to " +
           std::to_string(to);
  });
}

CLI::Validator one_of(std::vector<std::string> words) {
  return value_check([words = std::move(words)](const std::string& text) -> std::string {
    if (std::ranges::count(words, text) != 0) return {};
    std::string list;
    for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
    return "\"" + text + "\" is none of " + list + suggestion(text, words);
  });
}

}  // namespace tavo::tools
