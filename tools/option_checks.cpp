#include "option_checks.h"

#include <algorithm>

#include "numbers.h"
#include "suggest.h"

namespace tavo::tools {

CLI::Validator value_check(std::function<std::string(const std::string&)> fault) {
  return CLI::Validator([fault = std::move(fault)](std::string& text) { return fault(text); }, "");
}

CLI::Validator whole_number(int from, int to) {
  return value_check([range = Range{from, to}](const std::string& text) -> std::string {
    if (read_whole(text, range)) return {};
    return "\"" + text + "\" is no " + text_of(range);
  });
}

CLI::Validator one_of(std::vector<std::string> words) {
  return value_check([words = std::move(words)](const std::string& text) -> std::string {
    if (std::ranges::count(words, text) != 0) return {};
    return not_one_of(text, words);
  });
}

}  // namespace tavo::tools
