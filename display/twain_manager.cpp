#include "display/twain_manager.h"

#include <cstring>

#include "display/status.h"
#include "platform/platform.h"

namespace tavo::twain {

Manager::Manager() {
  constexpr uint16_t kEnglishOfTheUsa = 13, kUsa = 1;
  constexpr uint32_t kControlAndImages = 3;
  application_.version = {1, 0, kEnglishOfTheUsa, kUsa, "1.0"};
  application_.protocol_major = 1;
  application_.protocol_minor = 8;
  application_.groups = kControlAndImages;
  std::strcpy(application_.manufacturer, "Tavo Technologies Inc.");
  std::strcpy(application_.family, "TAVOKIT");
  std::strcpy(application_.product, "TAVOKIT");
}

void Manager::unload() {
  platform::unload_module(module_);
  module_ = 0;
}

Status Manager::load() { return load("TWAIN.DLL") || load("TWAIN_32.DLL") ? kOk : kUnavailable; }

// TWAIN.DLL is the manager of 16 bits where there is no other; it cannot be loaded then. Managers
// of 32 bits spell the function in their own way.
bool Manager::load(const char* name) {
  module_ = platform::load_module(name);
  if (module_ == 0) return false;
  const auto* const first_ordinal = reinterpret_cast<const char*>(uintptr_t{1});
  for (const char* const entry : {"DSM_ENTRY", "DSM_Entry", first_ordinal}) {
    entry_ = reinterpret_cast<Entry>(platform::module_entry(module_, entry));
    if (entry_ != nullptr) return true;
  }
  unload();
  return false;
}

Return Manager::enter(Identity* source, const Triplet& triplet, void* record) {
  return static_cast<Return>(
      entry_(&application_, source, triplet.group, triplet.data, triplet.message, record));
}

Return Manager::call(Identity* source, const Triplet& triplet, void* record) {
  const Return answer = enter(source, triplet, record);
  if (answer == Return::kFailure) {
    Condition condition = {kGeneralFailure, 0};
    const Return told = enter(source, kGetStatus, &condition);
    condition_ = told == Return::kSuccess ? condition.code : kGeneralFailure;
  }
  return answer;
}

}  // namespace tavo::twain
