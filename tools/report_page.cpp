#include "report_page.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <utility>
#include <vector>

#include "failure.h"
#include "native_name.h"
#include "output_file.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

constexpr const char* kHead =
    "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>Batch</title>\n"
    "<style>body{font:15px/1.5 sans-serif;max-width:60em;margin:2em auto;padding:0 1em}"
    "table{border-collapse:collapse;margin:1em 0}td,th{border-bottom:1px solid #ccc;"
    "padding:.2em .8em;text-align:left}td.n{text-align:right}</style></head><body>\n";

// The most names of a kind that the page shows; the journals have all.
constexpr size_t kMostNames = 1000;

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : one_line(text)) {
    if (c == '&') {
      result += "&amp;";
    } else if (c == '<') {
      result += "&lt;";
    } else {
      result += c;
    }
  }
  return result;
}

using Row = std::pair<std::string, std::string>;

void write_table(std::ostream& out, const char* title, const std::vector<Row>& rows) {
  if (rows.empty()) return;
  out << "<h2>" << title << "</h2>\n<table>\n";
  for (const Row& row : rows)
    out << "<tr><td>" << escaped(row.first) << "</td><td class=\"n\">" << escaped(row.second)
        << "</td></tr>\n";
  out << "</table>\n";
}

std::string rate(double amount, double seconds, const char* unit) {
  char text[64];
  std::snprintf(text, sizeof text, "%.1f %s", seconds > 0 ? amount / seconds : 0, unit);
  return text;
}

std::vector<Row> totals_of(const Merged& merged) {
  std::vector<Row> rows = {{"files", std::to_string(merged.totals.files)}};
  for (size_t i = 0; i < kOutcomes; ++i)
    rows.emplace_back(kOutcomeNames[i], std::to_string(merged.totals.by_outcome[i]));
  rows.emplace_back("parts", std::to_string(merged.shards));
  return rows;
}

// Per worker: how many were at work at a time the journals do not tell.
std::vector<Row> throughput_of(const Totals& totals) {
  const double seconds = static_cast<double>(totals.ms) / 1000;
  constexpr double kMega = 1e6;
  return {{"bytes read", std::to_string(totals.bytes_in)},
          {"bytes written", std::to_string(totals.bytes_out)},
          {"seconds of work", rate(seconds, 1, "")},
          {"of one worker", rate(static_cast<double>(totals.files), seconds, "files a second")},
          {"", rate(static_cast<double>(totals.bytes_in) / kMega, seconds, "MB read a second")}};
}

std::vector<Row> failures_of(const Merged& merged) {
  std::vector<Row> rows;
  for (const auto& [text, count] : merged.texts) rows.emplace_back(text, std::to_string(count));
  return rows;
}

std::vector<Row> names_of(const std::vector<std::string>& names) {
  std::vector<Row> rows;
  for (size_t i = 0; i < std::min(names.size(), kMostNames); ++i) rows.emplace_back(names[i], "");
  return rows;
}

}  // namespace

void write_report(const std::string& path, const Merged& merged) {
  OutputFile file(path, false);
  std::ofstream out(native_name(file.path()), std::ios::binary);
  out << kHead << "<h1>Batch: " << (merged.is_covered() ? "covered" : "not covered") << "</h1>\n";
  write_table(out, "Files", totals_of(merged));
  write_table(out, "Throughput", throughput_of(merged.totals));
  write_table(out, "Not ok, by kind", failures_of(merged));
  write_table(out, "Missing", names_of(merged.missing));
  write_table(out, "Twice", names_of(merged.twice));
  write_table(out, "Parts that are not finished", names_of(merged.unfinished));
  write_table(out, "Faults", names_of(merged.faults));
  out << "</body></html>\n";
  if (!out.flush()) throw_system_failure(path, "Writing failed", T_ERR_WRITE);
  out.close();
  file.commit();
}

}  // namespace tavo::tools
