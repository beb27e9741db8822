// The part of a list that one run does.
#pragma once

#include <cstdint>
#include <string>

namespace tavo::tools {

struct Shard {
  uint64_t index = 0;
  uint64_t count = 1;

  // By the hash of the name alone, so that neither order nor host matters.
  bool holds(uint64_t hash) const { return hash % count == index; }
  // "3-of-8"
  std::string name() const { return std::to_string(index) + "-of-" + std::to_string(count); }
};

// `text`: "i/n", i from 0; "env": as the task of an array of Slurm, or of an indexed job of
// Kubernetes; nothing: all of the list. `count`: n where it is told otherwise, 0: it is not.
// UsageError for what does not say it.
Shard choose_shard(const std::string& text, uint64_t count);

}  // namespace tavo::tools
