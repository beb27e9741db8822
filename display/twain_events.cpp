#include "display/twain_events.h"

#include <windows.h>

#include "core/progress.h"
#include "display/status.h"

namespace tavo::twain {

Events::~Events() {
  if (is_quitting_) PostQuitMessage(quit_code_);
}

Status Events::quit(uintptr_t code) {
  is_quitting_ = true;
  quit_code_ = static_cast<int>(code);
  return kCancelled;
}

Status Events::pass(void* message, Request& request) {
  auto& msg = *static_cast<MSG*>(message);
  if (msg.message == WM_QUIT) return quit(msg.wParam);
  Event event = {&msg, 0};
  const Return answer = session_.call(kProcessEvent, &event);
  if (answer == Return::kFailure) return session_.verdict(answer, kSource);
  if (answer != Return::kSourceEvent) {
    TranslateMessage(&msg);
    DispatchMessage(&msg);
  }
  if (event.request == kTransferReady) request = Request::kTransfer;
  if (event.request == kCloseRequest || event.request == kCloseAfterSettings) {
    request = Request::kClose;
  }
  return IsWindow(session_.window()) ? kOk : kCancelled;
}

// A source may never answer: who has a status callback can end the wait.
Status Events::next(void* message) {
  constexpr DWORD kPatience = 250;  // milliseconds
  auto& msg = *static_cast<MSG*>(message);
  while (!PeekMessage(&msg, nullptr, 0, 0, PM_REMOVE)) {
    const DWORD event = MsgWaitForMultipleObjects(0, nullptr, FALSE, kPatience, QS_ALLINPUT);
    if (event == WAIT_FAILED) return kDevice;
    if (event == WAIT_TIMEOUT) TRY(core::Progress().start());
  }
  return kOk;
}

// The first message comes from here: a source without a dialogue may be ready when it has been
// enabled, and wait to be asked.
Status Events::wait(Request& request) {
  request = Request::kNone;
  PostMessage(session_.window(), WM_NULL, 0, 0);
  while (request == Request::kNone) {
    MSG msg;
    TRY(next(&msg));
    TRY(pass(&msg, request));
  }
  return kOk;
}

// Only so many, as a window may have something to do at any time.
Status Events::look(bool& is_closed) {
  constexpr int kMost = 100;
  is_closed = false;
  MSG msg;
  for (int i = 0; i < kMost && PeekMessage(&msg, nullptr, 0, 0, PM_REMOVE); ++i) {
    Request request = Request::kNone;
    TRY(pass(&msg, request));
    if (request == Request::kClose) is_closed = true;
  }
  return kOk;
}

}  // namespace tavo::twain
