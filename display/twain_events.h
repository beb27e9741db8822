// The messages of the desktop while a TWAIN source is at work: it gets every one of them first.
#pragma once

#include <cstdint>

#include "base/status.h"
#include "display/twain_session.h"

namespace tavo::twain {

enum class Request { kNone, kTransfer, kClose };

class Events {
 public:
  explicit Events(Session& session) : session_(session) {}
  // A message that ends the program is there again for its own loop.
  ~Events();
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  // Until the source asks for something. kCancelled when the program or the window ends, kSource
  // when the source fails, and what the status callback answers, which is asked meanwhile.
  Status wait(Request& request);
  // Between two pictures, without waiting: whether the user closes the source meanwhile.
  Status look(bool& is_closed);

 private:
  Status next(void* message);
  Status pass(void* message, Request& request);
  Status quit(uintptr_t code);

  Session& session_;
  bool is_quitting_ = false;
  int quit_code_ = 0;
};

}  // namespace tavo::twain
