#include "suggest.h"

#include <algorithm>

namespace tavo::tools {
namespace {

// Letters that are wrong, missing, too many, or in each other's place.
size_t distance(const std::string& a, const std::string& b) {
  std::vector<size_t> before_last(b.size() + 1);
  std::vector<size_t> last(b.size() + 1);
  std::vector<size_t> now(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    now[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t wrong = a[i - 1] == b[j - 1] ? 0 : 1;
      now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + wrong});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        now[j] = std::min(now[j], before_last[j - 2] + 1);
    }
    before_last.swap(last);
    last.swap(now);
  }
  return last[b.size()];
}

}  // namespace

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
  std::string nearest;
  if (word.size() < 2) return nearest;
  size_t least = word.size() / 3 + 1;  // more is another word
  for (const std::string& candidate : known) {
    const size_t away = distance(word, candidate);
    if (away > least || (away == least && !nearest.empty())) continue;
    least = away;
    nearest = candidate;
  }
  return nearest.empty() ? nearest : "; did you mean \"" + nearest + "\"?";
}

std::string not_one_of(const std::string& word, const std::vector<std::string>& known) {
  std::string list;
  for (const std::string& candidate : known) list += (list.empty() ? "" : ", ") + candidate;
  return "\"" + word + "\" is none of " + list + suggestion(word, known);
}

}  // namespace tavo::tools
