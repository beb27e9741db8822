// The states of a TWAIN session, which go up and down one by one.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "display/twain_manager.h"
#include "process/twain/records.h"
#include "tavo45.h"

namespace tavo::twain {

// As TWAIN numbers them.
enum class State {
  kUnloaded = 1,
  kLoaded,
  kManagerOpen,
  kSourceOpen,
  kEnabled,
  kReady,
  kTransferring
};

// The destructor takes every step down that is left, and tells no failure of theirs.
class Session {
 public:
  Session() = default;
  ~Session() { lower_to(State::kLoaded); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Up to kManagerOpen. kUnavailable, kNoSource.
  Status open_manager(T_Window window);
  // The manager's dialogue for the default source. kCancelled, kNoSource.
  Status select();
  // The source of that name, the default one for an empty name. kNoSource.
  Status open_source(const char* name);
  // kCancelled, kNoSource.
  Status enable(bool is_shown);
  // The source has said that it is ready to transfer.
  void set_ready() { state_ = State::kReady; }
  // Asks for a picture, or a part of one: whatever the answer, the transfer is to be ended.
  Return transfer(const Triplet& triplet, void* record);
  // Back to kReady when there are further pictures, else to kEnabled. kSource.
  Status end_transfer();

  // An operation of the source that changes no state.
  Return call(const Triplet& triplet, void* record) {
    return manager_.call(&source_, triplet, record);
  }

  // kOk when the answer says that all went well; kCancelled; else `failure`, whose condition is
  // kept.
  Status verdict(Return answer, Status failure);
  // The condition code of the failure that ended the work, 0: none.
  uint16_t condition() const { return condition_; }

  State state() const { return state_; }
  T_Window window() const { return window_; }
  void lower_to(State state);

 private:
  void step_down();

  Manager manager_;
  State state_ = State::kUnloaded;
  T_Window window_ = nullptr;
  Identity source_ = {};
  UserInterface interface_ = {};
  uint16_t condition_ = 0;
};

}  // namespace tavo::twain
