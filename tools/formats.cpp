// tavo formats: what can be read and written.
#include <cstdio>
#include <memory>
#include <string>

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

void print_table() {
  constexpr const char* kLine = "%3s  %-14s %-5s %-6s %-19s %-12s %s\n";
  std::printf(kLine, "ID", "NAME", "READ", "WRITE", "DEPTHS WRITTEN", "EXTENSIONS", "DESCRIPTION");
  for (const T_Format& format : all_formats()) {
    const std::string depths = write_depths_text(format);
    std::printf(kLine, std::to_string(format.Id).c_str(), format.Name,
                format.CanRead != 0 ? "yes" : "-", format.CanWrite != 0 ? "yes" : "-",
                depths.empty() ? "-" : depths.c_str(), format.Extensions, format.Description);
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
