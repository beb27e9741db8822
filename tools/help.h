// How options are described in --help and in the manual page.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace tavo::tools {

// "-f, --format"; the plain name of a positional argument.
std::string option_names(const CLI::Option& option);

// The name of the option's value, empty for a flag or a positional argument.
std::string value_name(const CLI::Option& option);

// What the option does, with its default.
std::string option_text(const CLI::Option& option);

// Lays help out for terminals of 80 columns.
class HelpFormatter : public CLI::Formatter {
 public:
  HelpFormatter();
  std::string make_option_name(const CLI::Option* option, bool is_positional) const override;
  std::string make_option_opts(const CLI::Option* option) const override;
  std::string make_option_desc(const CLI::Option* option) const override;
};

}  // namespace tavo::tools
