#include "help.h"

#include <sstream>

namespace tavo::tools {
namespace {

constexpr size_t kLeftColumn = 26;
constexpr size_t kTextWidth = 79 - kLeftColumn;

std::string wrapped(const std::string& text) {
  std::istringstream words(text);
  std::string result;
  size_t column = 0;
  for (std::string word; words >> word;) {
    const bool fits = column + 1 + word.size() <= kTextWidth;
    if (column > 0) result += fits ? ' ' : '\n';
    column = (column > 0 && fits ? column + 1 : 0) + word.size();
    result += word;
  }
  return result;
}

}  // namespace

std::string option_names(const CLI::Option& option) {
  if (option.get_positional()) return option.get_name(true, false);
  std::string names;
  const auto add = [&names](const std::string& dashes, const std::string& name) {
    if (!names.empty()) names += ", ";
    names += dashes;
    names += name;
  };
  for (const std::string& name : option.get_snames()) add("-", name);
  for (const std::string& name : option.get_lnames()) add("--", name);
  return names;
}

std::string value_name(const CLI::Option& option) {
  const bool has_value = !option.get_positional() && option.get_type_size() != 0;
  return has_value ? option.get_type_name() : std::string();
}

std::string option_text(const CLI::Option& option) {
  std::string text = option.get_description();
  if (const std::string value = option.get_default_str(); !value.empty()) {
    text += " (default ";
    text += value;
    text += ")";
  }
  return text;
}

HelpFormatter::HelpFormatter() { column_width(kLeftColumn); }

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool) const {
  return option_names(*option);
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
  const std::string name = value_name(*option);
  return name.empty() || name.starts_with('[') ? name : ' ' + name;
}

std::string HelpFormatter::make_option_desc(const CLI::Option* option) const {
  return wrapped(option_text(*option));
}

}  // namespace tavo::tools
