// Checks of option values, which say what was given and what may be.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace tavo::tools {

CLI::Validator whole_number(int from, int to);
CLI::Validator one_of(std::vector<std::string> words);

// The words that `option` lets choose between by one_of; none when it has no such check.
std::vector<std::string> words_of(CLI::Option& option);

// A check that says itself what is wrong, nothing when all is well.
CLI::Validator value_check(std::function<std::string(const std::string&)> fault);

}  // namespace tavo::tools
