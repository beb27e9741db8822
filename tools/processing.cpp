#include "processing.h"

#include <algorithm>
#include <span>

#include <CLI/CLI.hpp>

#include "failure.h"
#include "operations.h"
#include "option_checks.h"
#include "orientation.h"

namespace tavo::tools {
namespace {

constexpr char kGroup[] = "Processing, in the order in which it stands on the line";

void add_operation(CLI::App& command, const Operation& operation, std::vector<Step>& steps) {
  const auto add = [&operation, &steps](const std::string& given) {
    // The parser's word where a value that may be left out is.
    const std::string value = may_lack_value(operation) && given == "true" ? "" : given;
    try {
      Step step = operation.make(value);
      step.option = operation.option + (value.empty() ? value : " " + value);
      steps.push_back(std::move(step));
    } catch (const BadValue& bad) {
      throw CLI::ValidationError(operation.option, bad.what);
    }
  };
  CLI::Option* option;
  if (*operation.value == 0) {
    option = command.add_flag_callback(
        operation.option, [add] { add({}); }, operation.text);
  } else {
    option = command.add_option_function<std::string>(operation.option, add, operation.text)
                 ->type_name(operation.value);
    if (may_lack_value(operation)) option->expected(0);  // the next word is none, then
  }
  option->trigger_on_parse()->group(kGroup);
}

}  // namespace

SizeRule ProcessingOptions::size_rule(bool is_for_one_bit) const {
  SizeRule rule;
  rule.is_for_one_bit = is_for_one_bit;
  const auto& names = size_method_names();
  const auto found = std::ranges::find(names, size_method);
  if (found != names.end()) rule.method = static_cast<uint32_t>(found - names.begin());
  return rule;
}

void add_processing_options(CLI::App& command, ProcessingOptions& options) {
  for (const Operation& operation : operations()) add_operation(command, operation, options.steps);
  command
      .add_option("--size-method", options.size_method,
                  "How --size and --fit make new pixels: nearest repeats and drops pixels, the "
                  "others mix them. Without it lanczos to shrink and cubic to enlarge what has "
                  "more than 8 bits or is grey, lanczos to shrink 1-bit pages, which become grey; "
                  "nearest for all others, and for an output of 1 bit")
      ->check(one_of(size_method_names()))
      ->type_name("METHOD");
  command.add_flag("--orient,!--no-orient", options.orient,
                   "Turn the picture upright first, as EXIF data or the file's header tell; "
                   "--no-orient leaves the pixels as they are stored, and says so in TIFF and JPEG "
                   "files");
}

std::string as_parsed(const std::string& word) {
  for (const Operation& operation : operations()) {
    const size_t length = std::string_view(operation.option).size();
    if (may_lack_value(operation) && word.starts_with(operation.option) && word[length] == ':')
      return word.substr(0, length) + "=" + word.substr(length + 1);
  }
  return word;
}

Extent Processing::size_as_stored() const {
  const bool is_turned = options_.turns(info_) && is_sideways(info_.Orientation);
  const Extent stored = extent_of(info_);
  const Extent wanted = options_.steps.front().size->of(is_turned ? stored.turned() : stored);
  return is_turned ? wanted.turned() : wanted;
}

std::optional<uint32_t> Processing::method_of_load() const {
  if (options_.steps.empty() || !options_.steps.front().size) return std::nullopt;
  return tools::method_of_load(sizing_, info_, size_as_stored());
}

RowsRead Processing::load(uint32_t method, BitmapHandle& record) {
  done_ = 1;
  return load_sized(source_, info_, size_as_stored(), method, record);
}

void Processing::apply(BitmapHandle& record) const {
  if (options_.turns(info_)) turn_upright(record, info_.Orientation, source_.name());
  for (const Step& step : std::span(options_.steps).subspan(done_)) {
    check_signals();
    step.apply(record, {source_.name() + ": " + step.option, sizing_});
  }
}

}  // namespace tavo::tools
