#include "option_checks.h"

#include <algorithm>
#include <sstream>

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

// The check's name holds the words, so that they can be asked for.
CLI::Validator one_of(std::vector<std::string> words) {
  std::string name;
  for (const std::string& word : words) name += word + ' ';
  return value_check([words = std::move(words)](const std::string& text) -> std::string {
           if (std::ranges::count(words, text) != 0) return {};
           return not_one_of(text, words);
         })
      .name(name);
}

std::vector<std::string> words_of(CLI::Option& option) {
  std::vector<std::string> words;
  try {
    std::istringstream names(option.get_validator(0)->get_name());
    for (std::string word; names >> word;) words.push_back(word);
  } catch (const CLI::OptionNotFound&) {  // it has no check at all
  }
  return words;
}

}  // namespace tavo::tools
