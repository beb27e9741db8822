#include "collisions.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "failure.h"
#include "hash.h"
#include "listed_name.h"
#include "system.h"

namespace tavo::tools {
namespace {

// Equal for what is one file, and now and then for what is not.
uint64_t key_of(const std::string& path) { return hash_of(file_identity(path)); }

bool is_below(const std::string& path, const std::string& folder) {
  const std::string inner = with_slashes(file_identity(path));
  const std::string outer = with_slashes(file_identity(folder));
  return inner == outer || outer == "/" || inner.starts_with(outer + "/");
}

class Collisions {
 public:
  using PathOfOutput = std::function<std::string(const std::string&, uint64_t)>;
  Collisions(FileList& list, const Shard& shard, const std::string& output,
             const PathOfOutput& path_of_output)
      : list_(list), shard_(shard), path_of_output_(path_of_output) {
    for (const std::string& root : list.roots())
      meets_inputs_ = meets_inputs_ || is_below(output, root) || is_below(root, output);
  }

  void check() {
    gather_own();
    find_suspects();
    if (!suspects_.empty()) judge();
  }

 private:
  void gather_own();
  void find_suspects();
  void judge();
  void judge_output(const std::string& input, const std::string& output);

  FileList& list_;
  const Shard& shard_;
  const PathOfOutput& path_of_output_;
  bool meets_inputs_ = false;
  std::vector<uint64_t> outputs_;  // keys of this shard's, sorted
  std::vector<uint64_t> inputs_;
  std::set<uint64_t> suspects_;
  std::map<std::string, std::string> made_;  // outputs among the suspects, and their inputs
};

void Collisions::gather_own() {
  const bool needs_inputs = meets_inputs_ && shard_.count > 1;
  outputs_.reserve(list_.files().size());
  if (needs_inputs) inputs_.reserve(list_.files().size());
  list_.for_each([&](uint64_t place, const std::string& name) {
    const uint64_t hash = hash_of(name);
    if (!shard_.holds(hash) || leads_out(name)) return;
    outputs_.push_back(key_of(path_of_output_(name, hash)));
    if (needs_inputs) inputs_.push_back(key_of(list_.path_of(place, name)));
  });
  std::ranges::sort(outputs_);
  std::ranges::sort(inputs_);
  for (auto at = outputs_.begin(); at != outputs_.end();) {
    at = std::adjacent_find(at, outputs_.end());
    if (at != outputs_.end()) suspects_.insert(*at++);
  }
}

void Collisions::find_suspects() {
  const auto is_among = [](const std::vector<uint64_t>& keys, uint64_t key) {
    return std::ranges::binary_search(keys, key);
  };
  if (shard_.count == 1 && !meets_inputs_) return;  // all of them are this shard's
  list_.for_each([&](uint64_t place, const std::string& name) {
    if (leads_out(name)) return;
    const uint64_t hash = hash_of(name);
    if (!shard_.holds(hash)) {
      const uint64_t output = key_of(path_of_output_(name, hash));
      if (is_among(outputs_, output) || is_among(inputs_, output)) suspects_.insert(output);
    }
    if (!meets_inputs_) return;
    const uint64_t input = key_of(list_.path_of(place, name));
    if (is_among(outputs_, input)) suspects_.insert(input);
  });
}

void Collisions::judge_output(const std::string& input, const std::string& output) {
  if (!suspects_.contains(key_of(output))) return;
  const auto [other, is_new] = made_.emplace(file_identity(output), input);
  if (!is_new && other->second != input)
    throw UsageError{other->second + " and " + input + " would both be " + output};
}

void Collisions::judge() {
  list_.for_each([&](uint64_t place, const std::string& name) {
    if (leads_out(name)) return;
    judge_output(list_.path_of(place, name), path_of_output_(name, hash_of(name)));
  });
  list_.for_each([&](uint64_t place, const std::string& name) {
    if (leads_out(name)) return;
    const std::string input = list_.path_of(place, name);
    const auto other = made_.find(file_identity(input));
    if (other != made_.end()) throw UsageError{other->second + " would be written over " + input};
  });
}

}  // namespace

void check_collisions(
    FileList& list, const Shard& shard, const std::string& output,
    const std::function<std::string(const std::string& name, uint64_t hash)>& path_of_output) {
  Collisions(list, shard, output, path_of_output).check();
}

}  // namespace tavo::tools
