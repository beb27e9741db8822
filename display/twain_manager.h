// The TWAIN source manager: a module with one function, through which all is done.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "process/twain/records.h"

namespace tavo::twain {

class Manager {
 public:
  Manager();
  ~Manager() { unload(); }
  Manager(const Manager&) = delete;
  Manager& operator=(const Manager&) = delete;

  // kUnavailable: there is no such module, or none that has the function.
  Status load();

  // An operation of the manager (`source` null) or of an open source. After a failure its condition
  // has been asked for, as the next operation would clear it.
  Return call(Identity* source, const Triplet& triplet, void* record);

  // Of the last operation that failed.
  uint16_t condition() const { return condition_; }

 private:
  using Entry = uint16_t(__stdcall*)(Identity* application, Identity* source, uint32_t group,
                                     uint16_t data, uint16_t message, void* record);

  void unload();
  bool load(const char* name);
  Return enter(Identity* source, const Triplet& triplet, void* record);

  uintptr_t module_ = 0;
  Entry entry_ = nullptr;
  Identity application_ = {};  // the manager fills in a number by which it knows us
  uint16_t condition_ = 0;
};

}  // namespace tavo::twain
