#include "display/twain_session.h"

#include <cstring>

#include "display/status.h"

namespace tavo::twain {

Status Session::verdict(Return answer, Status failure) {
  if (answer == Return::kSuccess || answer == Return::kCheckStatus) return kOk;
  if (answer == Return::kCancel) return kCancelled;
  condition_ = answer == Return::kFailure ? manager_.condition() : uint16_t{0};
  return failure;
}

Status Session::open_manager(T_Window window) {
  TRY(manager_.load());
  state_ = State::kLoaded;
  window_ = window;
  TRY(verdict(manager_.call(nullptr, kOpenManager, &window), kNoSource));
  state_ = State::kManagerOpen;
  return kOk;
}

Status Session::select() {
  Identity chosen = {};
  return verdict(manager_.call(nullptr, kSelectSource, &chosen), kNoSource);
}

Status Session::open_source(const char* name) {
  std::strncpy(source_.product, name, sizeof(source_.product) - 1);
  TRY(verdict(manager_.call(nullptr, kOpenSource, &source_), kNoSource));
  state_ = State::kSourceOpen;
  return kOk;
}

Status Session::enable(bool is_shown) {
  interface_ = {is_shown, 0, window_};
  // A source that cannot do without its dialogue answers kCheckStatus.
  TRY(verdict(call(kEnableSource, &interface_), kNoSource));
  state_ = State::kEnabled;
  return kOk;
}

Return Session::transfer(const Triplet& triplet, void* record) {
  state_ = State::kTransferring;
  return call(triplet, record);
}

Status Session::end_transfer() {
  PendingTransfers pending = {};
  const Return answer = call(kEndTransfer, &pending);
  const Status status = verdict(answer, kSource);
  // After a failure nobody knows; a reset too many does no harm.
  state_ = !status.ok() || pending.count != 0 ? State::kReady : State::kEnabled;
  return status;
}

void Session::lower_to(State state) {
  const uint16_t condition = condition_;
  while (state_ > state) step_down();
  condition_ = condition;
}

void Session::step_down() {
  PendingTransfers pending = {};
  T_Window window = window_;
  switch (state_) {
    case State::kTransferring:
      static_cast<void>(end_transfer());
      return;
    case State::kReady:
      call(kResetTransfers, &pending);
      break;
    case State::kEnabled:
      call(kDisableSource, &interface_);
      break;
    case State::kSourceOpen:
      manager_.call(nullptr, kCloseSource, &source_);
      break;
    case State::kManagerOpen:
      manager_.call(nullptr, kCloseManager, &window);
      break;
    default:
      break;
  }
  state_ = static_cast<State>(static_cast<int>(state_) - 1);
}

}  // namespace tavo::twain
