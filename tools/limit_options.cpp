#include "limit_options.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <sstream>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "format_table.h"
#include "option_checks.h"
#include "system.h"
#include "tavo45.h"

namespace tavo::tools {
namespace {

// 0 for what is no whole number above 0, or beyond `most`.
uint64_t parse_number(std::string_view text, uint64_t most) {
  uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  return read.ec == std::errc() && read.ptr == end && number <= most ? number : 0;
}

// "64M" in bytes, 0 for what is no size.
uint64_t parse_byte_count(std::string_view text) {
  static constexpr std::string_view kUnits = "kKmMgG";
  const size_t unit = text.empty() ? std::string_view::npos : kUnits.find(text.back());
  if (unit == std::string_view::npos) return parse_number(text, UINT64_MAX);
  const auto shift = 10 * (unit / 2 + 1);
  return parse_number(text.substr(0, text.size() - 1), UINT64_MAX >> shift) << shift;
}

CLI::Validator number_above_zero(uint64_t most) {
  return value_check([most](const std::string& text) -> std::string {
    if (parse_number(text, most) != 0) return {};
    return "\"" + text + "\" is no whole number from 1 to " + std::to_string(most);
  });
}

bool is_named(const T_Format& format, const std::string& text) {
  const std::string wanted = in_lower_case(text);
  return std::to_string(format.Id) == text || in_lower_case(format.Name) == wanted ||
         std::ranges::count(extensions_of(format), wanted) != 0;
}

// What is only a way to write a format is read as that format.
void enable_like(const T_Format& named) {
  T_EnableFormat(named.Id, 1);
  if (named.CanRead != 0) return;
  for (const T_Format& format : all_formats())
    if (format.CanRead != 0 && is_same_kind(format.Id, named)) T_EnableFormat(format.Id, 1);
}

void enable(const std::string& text) {
  bool is_known = false;
  for (const T_Format& format : all_formats()) {
    if (!is_named(format, text)) continue;
    is_known = true;
    enable_like(format);
  }
  if (!is_known)
    throw UsageError{"--allow: there is no format \"" + text + "\"; \"tavo formats\" lists them"};
}

}  // namespace

void add_limit_options(CLI::App& command, LimitOptions& options) {
  command
      .add_option("--max-mem", options.memory,
                  "Memory that the work on a picture may take, in bytes, or with k, M or G behind "
                  "the number. What needs more fails, instead of going to a temporary file")
      ->check(value_check([](const std::string& text) -> std::string {
        return parse_byte_count(text) != 0 ? std::string()
                                           : "\"" + text + "\" is no size such as 64M";
      }))
      ->type_name("SIZE");
  command
      .add_option("--max-pixels", options.pixels,
                  "Pixels that a picture may have: a file whose "
                  "header tells of more fails at once")
      ->check(number_above_zero(UINT64_MAX))
      ->type_name("N");
  command.add_option("--max-seconds", options.seconds, "Time that the work on a file may take")
      ->check(number_above_zero(std::numeric_limits<int32_t>::max()))
      ->type_name("N");
  command
      .add_option("--allow", options.formats,
                  "Formats that may be read at all, with commas between: names, identifiers or "
                  "extensions that \"tavo formats\" lists")
      ->type_name("F[,F...]");
}

void set_limits(const LimitOptions& options) {
  T_SetLimit(T_LIMIT_MEMORY, parse_byte_count(options.memory));
  if (!options.memory.empty()) give_memory_back();
  T_SetLimit(T_LIMIT_PIXELS, options.pixels);
  if (options.formats.empty()) return;
  T_EnableFormat(0, 0);
  std::istringstream formats(options.formats);
  for (std::string format; std::getline(formats, format, ',');) enable(format);
}

}  // namespace tavo::tools
