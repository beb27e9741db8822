// What people may have meant.
#pragma once

#include <string>
#include <vector>

namespace tavo::tools {

// "; did you mean \"convert\"?" for the word of `known` that is nearest to `word`; empty when none
// is near.
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

// "\"x\" is none of a, b", with the suggestion.
std::string not_one_of(const std::string& word, const std::vector<std::string>& known);

}  // namespace tavo::tools
