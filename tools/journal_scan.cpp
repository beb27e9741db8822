#include "journal_scan.h"

#include <algorithm>
#include <charconv>

namespace tavo::tools {
namespace {

// Each step is refused once one before it was.
class Scanner {
 public:
  explicit Scanner(std::string_view line) : rest_(line) {}

  bool skip(std::string_view wanted) {
    is_good_ = is_good_ && rest_.starts_with(wanted);
    if (is_good_) rest_.remove_prefix(wanted.size());
    return is_good_;
  }

  bool is_next(std::string_view wanted) const { return is_good_ && rest_.starts_with(wanted); }

  std::string_view text() {
    skip("\"");
    const size_t end = rest_.find_first_of("\"\\");
    is_good_ = is_good_ && end != rest_.npos && rest_[end] == '"';
    if (!is_good_) return {};
    const std::string_view found = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return found;
  }

  template <class Number>
  void number(Number& number, int base = 10) {
    const auto read = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number, base);
    is_good_ = is_good_ && read.ec == std::errc();
    if (is_good_) rest_.remove_prefix(static_cast<size_t>(read.ptr - rest_.data()));
  }

  bool is_at_end() const { return is_good_ && rest_.empty(); }

 private:
  std::string_view rest_;
  bool is_good_ = true;
};

void scan_outputs(Scanner& scanner, std::vector<MadeFile>& outputs) {
  scanner.skip("[");
  while (scanner.is_next("{")) {
    MadeFile output;
    scanner.skip("{\"name\":");
    output.name = scanner.text();
    scanner.skip(",\"size\":");
    scanner.number(output.size);
    scanner.skip(",\"hash\":\"");
    scanner.number(output.hash, 16);
    scanner.skip("\"}");
    outputs.push_back(std::move(output));
    if (scanner.is_next(",")) scanner.skip(",");
  }
  scanner.skip("]");
}

}  // namespace

std::optional<JournalEntry> scan_entry(std::string_view line) {
  Scanner scanner(line);
  JournalEntry entry;
  if (!scanner.skip("{\"input\":")) return std::nullopt;
  entry.input = scanner.text();
  scanner.skip(",\"size\":");
  scanner.number(entry.size);
  scanner.skip(",\"mtime\":");
  scanner.number(entry.mtime);
  scanner.skip(",\"outputs\":");
  scan_outputs(scanner, entry.outputs);
  scanner.skip(",\"pages\":");
  scanner.number(entry.pages);
  scanner.skip(",\"outcome\":");
  const auto outcome = std::ranges::find(kOutcomeNames, scanner.text());
  scanner.skip(",\"status\":");
  scanner.number(entry.status);
  scanner.skip(",\"text\":");
  entry.text = scanner.text();
  scanner.skip(",\"ms\":");
  scanner.number(entry.ms);
  scanner.skip("}");
  if (!scanner.is_at_end() || entry.input.empty() || outcome == kOutcomeNames.end())
    return std::nullopt;
  entry.outcome = static_cast<Outcome>(outcome - kOutcomeNames.begin());
  return entry;
}

}  // namespace tavo::tools
