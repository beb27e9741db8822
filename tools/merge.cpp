#include "merge.h"

#include <cstdio>
#include <optional>

#include <nlohmann/json.hpp>

#include "failure.h"
#include "merged.h"
#include "report_page.h"

namespace tavo::tools {
namespace {

using Json = nlohmann::ordered_json;

void print_json(const Merged& merged) {
  Json json;
  json["covered"] = merged.is_covered();
  json["files"] = merged.totals.files;
  for (size_t i = 0; i < kOutcomes; ++i) json[kOutcomeNames[i]] = merged.totals.by_outcome[i];
  json["missing"] = merged.missing;
  json["twice"] = merged.twice;
  json["unfinished"] = merged.unfinished;
  std::printf("%s\n", json.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
}

void print_lines(const char* word, const std::vector<std::string>& names) {
  for (const std::string& name : names) std::printf("%s %s\n", word, one_line(name).c_str());
}

void print_text(const Merged& merged) {
  const Totals& totals = merged.totals;
  std::string line = std::to_string(totals.files) + " files";
  for (size_t i = 0; i < kOutcomes; ++i)
    line += std::string(i == 0 ? ": " : ", ") + std::to_string(totals.by_outcome[i]) + " " +
            kOutcomeNames[i];
  std::printf("%s; %lld bytes read, %lld bytes written, %.1f seconds of work\n", line.c_str(),
              static_cast<long long>(totals.bytes_in), static_cast<long long>(totals.bytes_out),
              static_cast<double>(totals.ms) / 1000);
  print_lines("missing", merged.missing);
  print_lines("twice", merged.twice);
  print_lines("unfinished", merged.unfinished);
}

}  // namespace

int run_merge(const MergeOptions& options, const ListOptions& names, bool bad_ok) {
  std::optional<FileList> list;
  if (names.is_given()) list.emplace(names, options.output);
  const Merged merged = merge_journals(options.output, list ? &*list : nullptr);
  for (const std::string& fault : merged.faults) tell(options.output, fault);
  options.json ? print_json(merged) : print_text(merged);
  if (!options.report.empty()) write_report(options.report, merged);
  if (!merged.is_covered()) return kExitInterrupted;
  return merged.totals.all_ok() || bad_ok ? kExitOk : kExitFailure;
}

}  // namespace tavo::tools
