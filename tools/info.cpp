// tavo info: what files hold.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "failure.h"
#include "format_table.h"
#include "picture.h"
#include "program.h"

namespace tavo::tools {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::vector<std::string> files;
  int page = 1;
  bool json = false;
};

Json to_json(const std::string& file, const FILEINFO& info) {
  const Resolution dpi = in_dots_per_inch(info.Format, info.XResolution, info.YResolution);
  const auto number_or_null = [](int32_t n) { return n > 0 ? Json(n) : Json(nullptr); };
  Json row;
  row["file"] = file;
  row["format"] = format_name(info.Format);
  row["format_id"] = info.Format;
  row["bytes"] = info.FileSize;
  row["width"] = info.Width;
  row["height"] = info.Height;
  row["bits_per_pixel"] = info.BitsPerPixel;
  row["colors"] = info.Colors;
  row["gray"] = (info.Flags & T_FLAG_GRAY) != 0;
  row["palette"] = (info.Flags & T_FLAG_PALETTE) != 0;
  row["interlaced"] = (info.Flags & T_FLAG_INTERLACED) != 0;
  row["compression"] = info.Compression;
  row["page"] = info.Page;
  row["pages"] = info.PageCount;
  row["x_dpi"] = number_or_null(dpi.x);
  row["y_dpi"] = number_or_null(dpi.y);
  return row;
}

std::string resolution_text(Resolution dpi) {
  if (dpi.x <= 0 || dpi.y <= 0) return "resolution unknown";
  if (dpi.x == dpi.y) return std::to_string(dpi.x) + " dpi";
  return std::to_string(dpi.x) + " x " + std::to_string(dpi.y) + " dpi";
}

void print_line(const std::string& file, const FILEINFO& info) {
  std::string depth =
      std::to_string(info.BitsPerPixel) + (info.BitsPerPixel == 1 ? " bit" : " bits");
  if ((info.Flags & T_FLAG_GRAY) != 0) {
    depth += " gray";
  } else if (info.Colors > 0) {
    depth += " (" + std::to_string(info.Colors) + " colors)";
  }
  std::string pages = info.PageCount == 1 ? "1 page" : std::to_string(info.PageCount) + " pages";
  if (info.Page > 1) pages = "page " + std::to_string(info.Page) + " of " + pages;
  const Resolution dpi = in_dots_per_inch(info.Format, info.XResolution, info.YResolution);
  std::printf("%s: %s, %d x %d, %s, compression %s, %s, %s, %u bytes\n", file.c_str(),
              format_name(info.Format).c_str(), static_cast<int>(info.Width),
              static_cast<int>(info.Height), depth.c_str(), info.Compression, pages.c_str(),
              resolution_text(dpi).c_str(), static_cast<unsigned>(info.FileSize));
}

// Every file gets its turn; those that fail are reported and make the exit status 1.
int run_info(const InfoOptions& options) {
  int exit_status = kExitOk;
  Json rows = Json::array();
  for (const std::string& file : options.files) {
    try {
      const FILEINFO info = describe(file, options.page);
      options.json ? rows.push_back(to_json(file, info)) : print_line(file, info);
    } catch (const Failure& failure) {
      std::fflush(stdout);  // keeps the order when both streams go to one place
      report(failure);
      rows.push_back({{"file", file}, {"status", failure.status}, {"error", failure.what}});
      exit_status = kExitFailure;
    }
  }
  if (options.json) {
    // Names need not be UTF-8; JSON must be.
    const std::string text = rows.dump(2, ' ', false, Json::error_handler_t::replace);
    std::printf("%s\n", text.c_str());
  }
  return exit_status;
}

}  // namespace

void add_info(CLI::App& app, Action& action) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App* command = app.add_subcommand(
      "info", "Show format, size, depth, compression, pages and resolution of files");
  command->add_option("FILE", options->files, "Files to look into")->required();
  command->add_option("--page", options->page, "Page of a multi-page file to describe")
      ->check(CLI::Range(1, 1023).description(""))
      ->type_name("N")
      ->capture_default_str();
  command->add_flag("--json", options->json,
                    "Print a JSON array with one object per file; a file that fails gives one "
                    "with \"file\", \"status\" and \"error\"");
  command->footer(
      "The format is found by what a file holds; its name does not matter. Resolutions are in\n"
      "dots per inch.");
  command->callback([options, &action] { action = [options] { return run_info(*options); }; });
}

}  // namespace tavo::tools
