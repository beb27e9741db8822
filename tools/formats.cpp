// tavo formats: what can be read and written.
#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "failure.h"
#include "format_table.h"
#include "program.h"

namespace tavo::tools {
namespace {

struct FormatsOptions {
  bool json = false;
};

void print_json() {
  auto rows = nlohmann::ordered_json::array();
  for (const T_Format& format : all_formats()) {
    nlohmann::ordered_json row;
    row["id"] = format.Id;
    row["name"] = format.Name;
    row["description"] = format.Description;
    row["read"] = format.CanRead != 0;
    row["write"] = format.CanWrite != 0;
    row["depths"] = write_depths(format);
    row["extensions"] = extensions_of(format);
    rows.push_back(row);
  }
  std::printf("%s\n", rows.dump(2).c_str());
}

using Line = std::array<std::string, 7>;

void print_table() {
  std::vector<Line> lines = {
      {"ID", "NAME", "READ", "WRITE", "DEPTHS WRITTEN", "EXTENSIONS", "DESCRIPTION"}};
  for (const T_Format& format : all_formats()) {
    const bool can_write = format.CanWrite != 0;
    lines.push_back({std::to_string(format.Id), format.Name, format.CanRead != 0 ? "yes" : "-",
                     can_write ? "yes" : "-", can_write ? write_depths_text(format) : "-",
                     format.Extensions, format.Description});
  }
  std::array<size_t, 7> widths{};
  for (const Line& line : lines)
    for (size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  for (const Line& line : lines) {
    for (size_t i = 0; i + 1 < line.size(); ++i)
      std::printf("%-*s  ", static_cast<int>(widths[i]), line[i].c_str());
    std::printf("%s\n", line.back().c_str());
  }
}

int run_formats(const FormatsOptions& options) {
  options.json ? print_json() : print_table();
  return kExitOk;
}

}  // namespace

void add_formats(CLI::App& app, Action& action) {
  auto options = std::make_shared<FormatsOptions>();
  CLI::App* command = app.add_subcommand(
      "formats", "List the formats: identifier, name, read, write, depths, extensions");
  command->add_flag("--json", options->json, "Print a JSON array instead of a table");
  command->callback([options, &action] { action = [options] { return run_formats(*options); }; });
}

}  // namespace tavo::tools
