#include "shard.h"

#include <charconv>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "failure.h"

namespace tavo::tools {
namespace {

std::optional<uint64_t> parse_number(std::string_view text) {
  uint64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, number);
  if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return number;
}

std::optional<uint64_t> variable(const char* name) {
  const char* const text = std::getenv(name);
  if (text == nullptr) return std::nullopt;
  const auto number = parse_number(text);
  if (!number)
    throw UsageError{std::string("--shard: ") + name + " is \"" + text + "\", no whole number"};
  return number;
}

Shard checked(uint64_t index, uint64_t count, const std::string& origin) {
  if (count == 0 || index >= count)
    throw UsageError{"--shard: " + origin + " says " + std::to_string(index) + " of " +
                     std::to_string(count) + "; the first of n is 0, the last n-1"};
  return {index, count};
}

// A part of an array that is sent again would divide the list in another way.
void check_whole_array(uint64_t count) {
  const auto first = variable("SLURM_ARRAY_TASK_MIN");
  const auto last = variable("SLURM_ARRAY_TASK_MAX");
  const auto step = variable("SLURM_ARRAY_TASK_STEP");
  if (first.value_or(0) == 0 && last.value_or(count - 1) == count - 1 && step.value_or(1) == 1)
    return;
  throw UsageError{
      "--shard env: the array is not 0 to n-1 in steps of 1, so that its size does not say how the "
      "list is divided; give --shards"};
}

Shard shard_of_environment(uint64_t count) {
  if (const auto index = variable("SLURM_ARRAY_TASK_ID")) {
    if (count != 0) return checked(*index, count, "SLURM_ARRAY_TASK_ID");
    const auto tasks = variable("SLURM_ARRAY_TASK_COUNT");
    if (!tasks || *tasks == 0)
      throw UsageError{"--shard env: SLURM_ARRAY_TASK_COUNT is not set; give --shards"};
    check_whole_array(*tasks);
    return checked(*index, *tasks, "SLURM_ARRAY_TASK_ID");
  }
  const auto index = variable("JOB_COMPLETION_INDEX");
  if (!index)
    throw UsageError{"--shard env: neither SLURM_ARRAY_TASK_ID nor JOB_COMPLETION_INDEX is set"};
  if (count == 0) throw UsageError{"--shard env: --shards must say how many there are"};
  return checked(*index, count, "JOB_COMPLETION_INDEX");
}

}  // namespace

Shard choose_shard(const std::string& text, uint64_t count) {
  if (text == "env") return shard_of_environment(count);
  if (text.empty()) {
    if (count > 1) throw UsageError{"--shards: --shard must say which of them"};
    return {};
  }
  const size_t slash = text.find('/');
  const auto index = parse_number(std::string_view(text).substr(0, slash));
  const auto of = slash == std::string::npos
                      ? std::nullopt
                      : parse_number(std::string_view(text).substr(slash + 1));
  if (!index || !of)
    throw UsageError{"--shard: \"" + text + "\" is neither i/n, such as 0/8, nor env"};
  if (count != 0 && count != *of) throw UsageError{"--shards: --shard says another number"};
  return checked(*index, *of, "\"" + text + "\"");
}

}  // namespace tavo::tools
