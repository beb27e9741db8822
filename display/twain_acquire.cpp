#include "display/twain_acquire.h"

#include <utility>

#include "core/bitmap.h"
#include "display/parent_window.h"
#include "display/status.h"
#include "display/twain_capabilities.h"
#include "display/twain_events.h"
#include "display/twain_options.h"
#include "display/twain_session.h"
#include "display/twain_transfer.h"

namespace tavo::twain {

namespace {

constexpr uint32_t kFlagNoDialogue = 1;

// The way up to a source that works, and what becomes of its pictures.
class Acquisition {
 public:
  Acquisition(Session& session, const T_TwainOptions& options, Deliver deliver)
      : session_(session), events_(session), options_(options), deliver_(deliver) {}

  Status run(T_Window window);

 private:
  Status take_page();
  Status take_pages();
  bool has_all() const { return options_.Pages != 0 && pages_ == options_.Pages; }

  Session& session_;
  Events events_;
  const T_TwainOptions& options_;
  Deliver deliver_;
  uint32_t mechanism_ = kMechanismNative;
  int32_t pages_ = 0;
};

Status Acquisition::run(T_Window window) {
  TRY(session_.open_manager(window));
  TRY(session_.open_source(options_.SourceName));
  TRY(set_up(session_, options_));
  TRY(choose_mechanism(session_, options_.Transfer, mechanism_));
  TRY(session_.enable((options_.Flags & kFlagNoDialogue) == 0));
  Request request = Request::kNone;
  TRY(events_.wait(request));
  if (request == Request::kClose) return kCancelled;
  session_.set_ready();
  return take_pages();
}

// As long as the source has more. That the user closes it then is no failure: a picture has come.
Status Acquisition::take_pages() {
  for (;;) {
    TRY(take_page());
    if (has_all() || session_.state() != State::kReady) return kOk;
    bool is_closed = false;
    TRY(events_.look(is_closed));
    if (is_closed) return kOk;
  }
}

// The source is done with the picture before it is delivered. That it cannot end its transfer is a
// failure only for who wants more pictures.
Status Acquisition::take_page() {
  core::OwnedBitmap picture;
  const FileTarget file = {options_.FileName, options_.FileFormat};
  TRY(take_picture(session_, mechanism_, file, pages_ + 1, *picture));
  ++pages_;
  const Status ended = session_.end_transfer();
  core::release_bitmap(*picture);
  TRY(deliver_(*picture, pages_));
  return has_all() ? kOk : ended;
}

void move(BitmapHandle& from, BitmapHandle& to) {
  core::take_place(to, from);
  to.ViewPerspective = from.ViewPerspective;
  to.XResolution = from.XResolution;
  to.YResolution = from.YResolution;
}

}  // namespace

Status select(T_Window window, uint16_t& condition) {
  display::ParentWindow parent;
  TRY(parent.take(window));
  Session session;
  Status status = session.open_manager(parent.get());
  if (status.ok()) status = session.select();
  condition = session.condition();
  return status;
}

Status acquire(T_Window window, const T_TwainOptions& options, Deliver deliver,
               uint16_t& condition) {
  TRY(check(options));
  display::ParentWindow parent;
  TRY(parent.take(window));
  Session session;
  Acquisition acquisition(session, options, deliver);
  const Status status = acquisition.run(parent.get());
  session.lower_to(State::kLoaded);
  if (!status.ok()) condition = session.condition();
  return status;
}

Status acquire_one(T_Window window, BitmapHandle& bitmap, uint16_t& condition) {
  constexpr int32_t kNoSize = 0;
  TRY(core::init_bitmap(bitmap, kNoSize, kNoSize, 24));
  T_TwainOptions options = {};
  options.Size = sizeof(options);
  options.Pages = 1;
  const auto keep = [&bitmap](BitmapHandle& picture, int32_t) {
    move(picture, bitmap);
    return kOk;
  };
  return acquire(window, options, keep, condition);
}

}  // namespace tavo::twain
