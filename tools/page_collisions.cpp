#include "page_collisions.h"

#include <algorithm>
#include <map>
#include <vector>

#include "failure.h"
#include "hash.h"
#include "listed_name.h"
#include "output_names.h"
#include "source.h"
#include "system.h"

namespace tavo::tools {
namespace {

class PageCollisions {
 public:
  using PathOfOutput = std::function<std::string(const std::string&, uint64_t)>;
  PageCollisions(FileList& list, const Shard& shard, const PathOfOutput& path_of_output)
      : list_(list), shard_(shard), path_of_output_(path_of_output) {}

  void check() {
    find_pages();
    if (!firsts_.empty()) find_inputs();
    if (!inputs_.empty()) judge();
  }

 private:
  struct Input {
    std::string path;
    bool is_own = false;  // the shard's
    int32_t pages = 0;    // 0: nobody has looked
  };
  struct Named {
    std::string input;
    std::string output;  // as a file is known
    bool is_own = false;
  };

  template <class Visit>
  void for_each(Visit visit) {
    list_.for_each([&](uint64_t place, const std::string& name) {
      if (leads_out(name)) return;
      const uint64_t hash = hash_of(name);
      visit(Named{list_.path_of(place, name), file_identity(path_of_output_(name, hash)),
                  shard_.holds(hash)});
    });
  }
  void find_pages();
  void find_inputs();
  void judge();

  FileList& list_;
  const Shard& shard_;
  const PathOfOutput& path_of_output_;
  std::vector<uint64_t> firsts_;         // hashes of what those called like pages would belong to
  std::map<std::string, Input> inputs_;  // of which such outputs are made
};

void PageCollisions::find_pages() {
  for_each([this](const Named& named) {
    if (const auto page = page_of_name(named.output)) firsts_.push_back(hash_of(page->first));
  });
  std::ranges::sort(firsts_);
}

void PageCollisions::find_inputs() {
  for_each([this](const Named& named) {
    if (std::ranges::binary_search(firsts_, hash_of(named.output)))
      inputs_.emplace(named.output, Input{named.input, named.is_own});
  });
}

void PageCollisions::judge() {
  for_each([this](const Named& named) {
    const auto page = page_of_name(named.output);
    const auto found = page ? inputs_.find(page->first) : inputs_.end();
    if (found == inputs_.end()) return;
    Input& input = found->second;
    if (!named.is_own && !input.is_own) return;
    if (input.pages == 0) input.pages = count_pages(input.path);
    if (page->number <= input.pages)
      throw_page_collision(input.path, page->number, named.input, named.output);
  });
}

}  // namespace

void check_page_collisions(
    FileList& list, const Shard& shard,
    const std::function<std::string(const std::string& name, uint64_t hash)>& path_of_output) {
  PageCollisions(list, shard, path_of_output).check();
}

}  // namespace tavo::tools
