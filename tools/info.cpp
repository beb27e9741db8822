// tavo info: what files hold.
#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "deadline.h"
#include "failure.h"
#include "format_table.h"
#include "limit_options.h"
#include "load_options.h"
#include "option_checks.h"
#include "picture.h"
#include "program.h"
#include "progress.h"
#include "rows_read.h"
#include "source.h"

namespace tavo::tools {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
  std::vector<std::string> files;
  int page = 0;  // 0: not given
  bool check = false;
  bool json = false;
  LimitOptions limits;
};

// What only JPEG and CMP files have; none for a stream that cannot be decoded.
std::optional<T_JPEGINFO> describe_jpeg(const Source& source, const FILEINFO& info) {
  T_JPEGINFO jpeg;
  if (info.Format != T_FORMAT_JPEG && info.Format != T_FORMAT_CMP) return std::nullopt;
  if (T_GetJPEGInfo(source.path().c_str(), &jpeg) != T_OK) return std::nullopt;
  return jpeg;
}

std::string sampling_of(const T_JPEGINFO& jpeg, int component) {
  std::string text = std::to_string(jpeg.HorizontalFactors[component]);
  text += 'x';
  return text += std::to_string(jpeg.VerticalFactors[component]);
}

// In the words of --subsampling where all components but the first are 1x1, else in full.
std::string subsampling_of(const T_JPEGINFO& jpeg) {
  std::string all = sampling_of(jpeg, 0);
  bool is_usual = true;
  for (int i = 1; i < jpeg.Components; ++i) {
    all += ',';
    all += sampling_of(jpeg, i);
    is_usual = is_usual && sampling_of(jpeg, i) == "1x1";
  }
  return is_usual ? sampling_of(jpeg, 0) : all;
}

// JPEG files are one format when they are read; the table's names tell how they are written.
std::string found_format(const FILEINFO& info) {
  return info.Format == T_FORMAT_JPEG ? "JPEG" : format_name(info.Format);
}

Json to_json(const T_JPEGINFO& jpeg) {
  Json row;
  row["components"] = jpeg.Components;
  row["subsampling"] = jpeg.Components > 1 ? Json(subsampling_of(jpeg)) : Json(nullptr);
  row["progressive"] = jpeg.Progressive != 0;
  row["restart_interval"] = jpeg.RestartInterval;
  row["half_height"] = jpeg.HalfHeight != 0;
  row["quality"] = jpeg.Quality > 0 ? Json(jpeg.Quality) : Json(nullptr);
  const bool has_factor = jpeg.Quality > 0 && jpeg.Factor != T_FACTOR_NONE;
  row["factor"] = has_factor ? Json(jpeg.Factor) : Json(nullptr);
  row["stamp"] = nullptr;
  if (jpeg.StampBits != 0) {
    row["stamp"] = {{"width", jpeg.StampWidth},
                    {"height", jpeg.StampHeight},
                    {"bits_per_pixel", jpeg.StampBits}};
  }
  return row;
}

std::string to_text(const T_JPEGINFO& jpeg) {
  std::string text = jpeg.Progressive != 0 ? ", progressive" : "";
  if (jpeg.Quality > 0) text += ", quality about " + std::to_string(jpeg.Quality);
  if (jpeg.Components > 1) text += ", subsampling " + subsampling_of(jpeg);
  if (jpeg.HalfHeight != 0) text += ", half height";
  if (jpeg.StampBits == 0) return text;
  return text + ", stamp " + std::to_string(jpeg.StampWidth) + "x" +
         std::to_string(jpeg.StampHeight);
}

Json extras_of(const FILEINFO& info) {
  static constexpr struct {
    uint32_t bit;
    const char* name;
  } kNames[] = {
      {T_EXTRA_ALPHA, "alpha"}, {T_EXTRA_ICC, "icc"}, {T_EXTRA_EXIF, "exif"}, {T_EXTRA_XMP, "xmp"}};
  Json names = Json::array();
  for (const auto& extra : kNames)
    if ((info.Extras & extra.bit) != 0) names.push_back(extra.name);
  return names;
}

Json to_json(const Source& source, const FILEINFO& info) {
  const Resolution dpi = in_dots_per_inch(info.Format, info.XResolution, info.YResolution);
  const auto number_or_null = [](int32_t n) { return n > 0 ? Json(n) : Json(nullptr); };
  Json row;
  row["file"] = source.name();
  row["format"] = found_format(info);
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
  if (info.Orientation > 1) row["orientation"] = info.Orientation;
  if (const Json extras = extras_of(info); !extras.empty()) row["extras"] = extras;
  if (const auto jpeg = describe_jpeg(source, info)) row["jpeg"] = to_json(*jpeg);
  return row;
}

std::string resolution_text(Resolution dpi) {
  if (dpi.x <= 0 || dpi.y <= 0) return "resolution unknown";
  if (dpi.x == dpi.y) return std::to_string(dpi.x) + " dpi";
  return std::to_string(dpi.x) + " x " + std::to_string(dpi.y) + " dpi";
}

void print_line(const Source& source, const FILEINFO& info, const std::string& verdict) {
  std::string depth =
      std::to_string(info.BitsPerPixel) + (info.BitsPerPixel == 1 ? " bit" : " bits");
  if ((info.Flags & T_FLAG_GRAY) != 0) {
    depth += " gray";
  } else if (info.Colors > 0) {
    depth += " (" + std::to_string(info.Colors) + " colors)";
  }
  std::string pages = info.PageCount == 1 ? "1 page" : std::to_string(info.PageCount) + " pages";
  if (info.Page > 1) pages = "page " + std::to_string(info.Page) + " of " + pages;
  if (info.Orientation > 1) pages += ", orientation " + std::to_string(info.Orientation);
  const Resolution dpi = in_dots_per_inch(info.Format, info.XResolution, info.YResolution);
  const auto jpeg = describe_jpeg(source, info);
  std::printf("%s: %s, %d x %d, %s, compression %s%s, %s, %s, %u bytes%s\n", source.name().c_str(),
              found_format(info).c_str(), static_cast<int>(info.Width),
              static_cast<int>(info.Height), depth.c_str(), info.Compression,
              jpeg ? to_text(*jpeg).c_str() : "", pages.c_str(), resolution_text(dpi).c_str(),
              static_cast<unsigned>(info.FileSize), verdict.c_str());
}

// ---- --check ----

struct Check {
  int32_t rows = 0;
  int32_t of = 0;
  int64_t offset = -1;

  bool is_whole() const { return offset < 0; }
  const char* verdict() const { return is_whole() ? "whole" : rows > 0 ? "partial" : "damaged"; }
  int exit_status() const { return is_whole() ? kExitOk : rows > 0 ? kExitPartial : kExitFailure; }
};

void add_page(const RowsRead& rows, const Source& source, Check& check) {
  if (!rows.is_whole() && !rows.is_damaged()) throw failure_of(rows, source.name());
  check.rows += rows.whole;
  check.of += rows.of;
  if (check.is_whole()) check.offset = rows.offset;
}

// All pages, or the one asked for. Where a page that is not the first cannot even be described, its
// rows are not known.
Check check_file(const Source& source, const FILEINFO& info, bool is_alone) {
  Check check;
  add_page(read_rows(source, info), source, check);
  const GifFrames frames(true);
  for (int32_t page = 2; !is_alone && page <= info.PageCount; ++page) {
    FILEINFO next;
    try {
      next = describe(source, page);
    } catch (const Failure&) {
      if (check.is_whole()) check.offset = info.FileSize;
      continue;
    }
    add_page(read_rows(source, next), source, check);
  }
  return check;
}

std::string to_text(const Check& check) {
  std::string text = std::string(", ") + check.verdict();
  if (check.is_whole()) return text;
  return text + " (" + std::to_string(check.rows) + " of " + std::to_string(check.of) +
         " rows, wrong from byte " + std::to_string(check.offset) + ")";
}

Json to_json(const Check& check) {
  return {{"verdict", check.verdict()},
          {"rows", check.rows},
          {"of", check.of},
          {"offset", check.is_whole() ? Json(nullptr) : Json(check.offset)}};
}

Json to_json(const std::string& file, const Failure& failure) {
  Json row = {{"file", file}, {"status", failure.status}, {"error", failure.what}};
  if (!failure.limit.empty()) {
    row["limit"] = {
        {"name", failure.limit}, {"asked", failure.asked}, {"allowed", failure.allowed}};
  }
  if (failure.system_error != 0) row["errno"] = failure.system_error;
  return row;
}

// Describes one file; its exit status.
int show(const InfoOptions& options, const std::string& file, Json& rows) {
  const Deadline deadline(options.limits.seconds, file);
  Progress progress;
  progress.start("Checking " + file);
  const Source source(file);
  const GifFrames frames(options.page != 0);
  const FILEINFO info = describe(source, std::max(options.page, 1));
  std::optional<Check> check;
  if (options.check) check = check_file(source, info, options.page != 0);
  if (options.json) {
    Json row = to_json(source, info);
    if (check) row["check"] = to_json(*check);
    rows.push_back(row);
  } else {
    print_line(source, info, check ? to_text(*check) : std::string());
  }
  return check ? check->exit_status() : kExitOk;
}

// Every file gets its turn; those that fail are reported and make the exit status 1, which goes
// before the one for a partial picture.
int run_info(const InfoOptions& options) {
  set_limits(options.limits);
  int exit_status = kExitOk;
  Json rows = Json::array();
  for (const std::string& file : options.files) {
    check_signals();
    try {
      const int status = show(options, file, rows);
      if (exit_status != kExitFailure && status != kExitOk) exit_status = status;
    } catch (const Failure& failure) {
      std::fflush(stdout);  // keeps the order when both streams go to one place
      check_signals();
      report(failure);
      rows.push_back(to_json(file, failure));
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
  command->add_option("FILE", options->files, "Files to look into; \"-\" is standard input")
      ->required();
  command
      ->add_option("--page", options->page,
                   "Page of a multi-page file, or frame of a GIF file, to describe. Without it the "
                   "first, of a GIF file the first image by itself")
      ->check(whole_number(1, T_MAX_PAGES))
      ->type_name("N");
  add_load_options(*command);
  command->add_flag("--check", options->check,
                    "Read the pixels, too, of all pages or the one asked for: whole (exit status "
                    "0), partial (3) or damaged, without a single row (1). --json: \"check\" with "
                    "\"verdict\", \"rows\", \"of\" and the \"offset\" of the first bad byte, which "
                    "in coded data may be that of a later one");
  command->add_flag("--json", options->json,
                    "Print a JSON array with one object per file; a file that fails gives one "
                    "with \"file\", \"status\" and \"error\", and \"limit\" or \"errno\" where "
                    "a limit was passed or the system refused");
  add_limit_options(*command, options->limits);
  command->footer(
      "The format is found by what a file holds; its name does not matter. Resolutions are in\n"
      "dots per inch.");
  command->callback([options, &action] { action = [options] { return run_info(*options); }; });
}

}  // namespace tavo::tools
